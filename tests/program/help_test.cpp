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

class help_text : public ::testing::TestWithParam<viewer::arguments> {
protected:
    viewer::place place;
};

INSTANTIATE_TEST_SUITE_P(
    asked_for, help_text,
    ::testing::Values(viewer::arguments{"-h"}, viewer::arguments{"-a", "-f", "sound.kmr", "-h"},
                      viewer::arguments{"-ha"}, viewer::arguments{"x", "-h"},
                      viewer::arguments{"-oout", "-f", "sound.kmr", "-h"},
                      viewer::arguments{"-f", std::string(128, 'n')},
                      viewer::arguments{"-f", std::string(5000, 'n'), "-oout"},
                      viewer::arguments{"-q", std::string(128, '1')},
                      viewer::arguments{"-q", std::string(64, '1') + "," + std::string(63, '2')}));

TEST_P(help_text, is_all_that_is_printed) {
    place.folder().write("sound.kmr", recording::sound({{}}));
    EXPECT_EQ(place.report(GetParam()), help);
    EXPECT_FALSE(place.has("EndFrame"));
    EXPECT_FALSE(place.has("out"));
}

class bad_option : public help_text {};

INSTANTIATE_TEST_SUITE_P(unknown_or_without_its_argument, bad_option,
                         ::testing::Values(viewer::arguments{"-z"}, viewer::arguments{"-a", "-z", "-s"},
                                           viewer::arguments{"--help"}, viewer::arguments{"-f"},
                                           viewer::arguments{"-a", "-q"}, viewer::arguments{"-?"}));

TEST_P(bad_option, asks_for_the_help_text) {
    const run::result result = place.run(GetParam());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, help);
    EXPECT_THAT(result.err, ::testing::StartsWith(KMR_VIEWER));
}

TEST(help, of_an_analysis_is_not_printed_for_missing_frames_alone) {
    const viewer::place place;
    EXPECT_THAT(place.report({"-f", "x", "-mm"}), ::testing::Not(HasSubstr("version")));
    EXPECT_THAT(place.report({"-f", "x", "-m", "-u"}), HasSubstr(help));
}

// A small libc stops reading options at the first word that is none; the report must not depend on it.
TEST(words_that_are_no_options, are_passed_over_by_every_libc) {
    const viewer::place place;
    place.folder().write("sound.kmr", recording::sound({{}}));
    const viewer::arguments words{"first", "-f", "sound.kmr", "second", "-s", "-", "-i", "third"};
    const std::string report = place.report(words);
    EXPECT_THAT(report, HasSubstr("parameters is 5 \n"));
    EXPECT_EQ(place.report(words, {"TZ=UTC0", "POSIXLY_CORRECT=1"}), report);
}

TEST(words_behind_two_dashes, are_no_options) {
    const viewer::place place;
    EXPECT_THAT(place.report({"-s", "--", "-h", "-a"}), HasSubstr("parameters is 1 \n"));
}

TEST(name_of_127_characters, is_taken) {
    const viewer::place place;
    const std::string name(127, 'n');
    place.folder().write(name, recording::sound({{}}));
    const std::string report = place.report({"-f", name, "-s"});
    EXPECT_THAT(report, HasSubstr("\tFile Name  " + name + " \n\n"));
    EXPECT_THAT(report, HasSubstr("Well done :)\n"));
}

} // namespace
