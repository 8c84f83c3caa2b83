// The help text, and everything that asks for it and nothing else.
#include "tests/program/viewer.hpp"

#include <gmock/gmock.h>

using ::testing::HasSubstr;

namespace {

const std::string help = "kmr_viewer: version 1.0.0\n"
                         "-f KMR file name\n"
                         "-a all detail output\n"
                         "-s sampe info\n"
                         "-t Virtual Frame info\n"
                         "-i Only I frame info\n"
                         "-u UserData info\n"
                         "-o Output file. e.g.:-o/dbg/a.kmr\n";

class HelpTextTest : public ::testing::TestWithParam<viewer::arguments> {
protected:
    viewer::place place;
};

INSTANTIATE_TEST_SUITE_P(
    AskedFor, HelpTextTest,
    ::testing::Values(viewer::arguments{"-h"}, viewer::arguments{"-a", "-f", "sound.kmr", "-h"},
                      viewer::arguments{"-ha"}, viewer::arguments{"x", "-h"},
                      viewer::arguments{"-oout", "-f", "sound.kmr", "-h"},
                      viewer::arguments{"-f", std::string(128, 'n')},
                      viewer::arguments{"-f", std::string(5000, 'n'), "-oout"},
                      viewer::arguments{"-q", std::string(128, '1')},
                      viewer::arguments{"-q", std::string(64, '1') + "," + std::string(63, '2')}));

TEST_P(HelpTextTest, IsAllThatIsPrinted) {
    place.folder().write("sound.kmr", recording::sound({{}}));
    EXPECT_EQ(place.report(GetParam()), help);
    EXPECT_FALSE(place.has("EndFrame"));
    EXPECT_FALSE(place.has("out"));
}

class BadOptionTest : public HelpTextTest {};

INSTANTIATE_TEST_SUITE_P(UnknownOrWithoutItsArgument, BadOptionTest,
                         ::testing::Values(viewer::arguments{"-z"}, viewer::arguments{"-a", "-z", "-s"},
                                           viewer::arguments{"--help"}, viewer::arguments{"-f"},
                                           viewer::arguments{"-a", "-q"}, viewer::arguments{"-?"}));

TEST_P(BadOptionTest, AsksForTheHelpText) {
    const run::result result = place.run(GetParam());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, help);
    EXPECT_THAT(result.err, ::testing::StartsWith(KMR_VIEWER));
}

TEST(HelpTest, OfAnAnalysisIsNotPrintedForMissingFramesAlone) {
    const viewer::place place;
    EXPECT_THAT(place.report({"-f", "x", "-mm"}), ::testing::Not(HasSubstr("version")));
    EXPECT_THAT(place.report({"-f", "x", "-m", "-u"}), HasSubstr(help));
}

// A small libc stops reading options at the first word that is none; the report must not depend on it.
TEST(WordsThatAreNoOptionsTest, ArePassedOverByEveryLibc) {
    const viewer::place place;
    place.folder().write("sound.kmr", recording::sound({{}}));
    const viewer::arguments words{"first", "-f", "sound.kmr", "second", "-s", "-", "-i", "third"};
    const std::string report = place.report(words);
    EXPECT_THAT(report, HasSubstr("parameters is 5 \n"));
    EXPECT_EQ(place.report(words, {"TZ=UTC0", "POSIXLY_CORRECT=1"}), report);
}

TEST(WordsBehindTwoDashesTest, AreNoOptions) {
    const viewer::place place;
    EXPECT_THAT(place.report({"-s", "--", "-h", "-a"}), HasSubstr("parameters is 1 \n"));
}

TEST(NameOf127CharactersTest, IsTaken) {
    const viewer::place place;
    const std::string name(127, 'n');
    place.folder().write(name, recording::sound({{}}));
    const std::string report = place.report({"-f", name, "-s"});
    EXPECT_THAT(report, HasSubstr("\tFile Name  " + name + " \n\n"));
    EXPECT_THAT(report, HasSubstr("Well done :)\n"));
}

} // namespace
