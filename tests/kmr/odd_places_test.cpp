// Names, folders, descriptors and terminals that are out of the ordinary.
#include "tests/kmr/program.hpp"
#include "tests/support/watched_terminal.hpp"

#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using kmr_test::workplace;
using ::testing::EndsWith;
using ::testing::HasSubstr;

class OddPlacesTest : public testing::Test {
protected:
    workplace place_;
};

TEST_F(OddPlacesTest, AFolderMayEndInASlash) {
    place_.compose("d/a.kmr");
    EXPECT_THAT(place_.kmr({"check", "d/"}).out, HasSubstr("  d/a.kmr\n"));
}

// Behind "--" there are names alone, "--" and "--db=" among them.
TEST_F(OddPlacesTest, NamesThatLookLikeOptions) {
    place_.compose("--");
    place_.compose("--db=");
    place_.compose("[ab");
    const auto run = place_.kmr({"check", "[ab", "--", "--", "--db="});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("3 files: 3 sound"));
}

TEST_F(OddPlacesTest, NamesOfControlCharacters) {
    place_.compose("\x02");
    place_.compose("\x03");
    const auto run = place_.kmr({"check", "\x02", "\x03"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("2 files: 2 sound"));
}

// The path of a folder so deep below is longer than any may be: it stands in the list as what cannot be read.
TEST_F(OddPlacesTest, AFolderBelowAPathThatIsTooLong) {
    place_.compose("d/a.kmr");
    int at = open(place_.folder().file("d").c_str(), O_DIRECTORY | O_RDONLY);
    const std::string name(200, 'x');
    for (int depth = 0; depth < PATH_MAX / 200 + 1; ++depth) {
        ASSERT_EQ(mkdirat(at, name.c_str(), 0755), 0);
        const int next = openat(at, name.c_str(), O_DIRECTORY | O_RDONLY);
        close(at);
        at = next;
    }
    close(at);
    const auto run = place_.kmr({"check", place_.folder().file("d")});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, EndsWith("x: File name too long\n"));
    EXPECT_THAT(run.out, HasSubstr("2 files: 1 sound, 1 unreadable"));
}

TEST_F(OddPlacesTest, AClosedStandardInputIsNobodys) {
    place_.compose("a.kmr");
    EXPECT_EQ(place_.shell("\"$1\" check a.kmr <&-").status, 0);
    EXPECT_EQ(place_.shell("\"$1\" check a.kmr 2>&-").status, 0);
}

// Whatever a name leads to can be read; but what is to be written is told apart from the recording by a name.
TEST_F(OddPlacesTest, ARecordingWithoutANameIsReadAndMakesNoFile) {
    place_.compose("a.kmr");
    const std::string nameless = "exec 3<a.kmr; rm a.kmr; \"$1\" ";
    for (const std::string command : {"copy /dev/fd/3 b.kmr", "extract /dev/fd/3 -o b.raw",
                                      "report /dev/fd/3 -o b.html", "plot /dev/fd/3 -o b.svg"}) {
        place_.compose("a.kmr");
        const auto run = place_.shell(nameless + command);
        EXPECT_EQ(run.status, 2) << command;
        EXPECT_EQ(run.err, "kmr: /dev/fd/3: No such file or directory\n") << command;
        EXPECT_TRUE(std::filesystem::is_empty(place_.folder().path())) << command;
    }
    for (const std::string command : {"check /dev/fd/3", "extract /dev/fd/3 -o -", "plot /dev/fd/3 -o -"}) {
        place_.compose("a.kmr");
        const auto run = place_.shell(nameless + command + " | wc -c; exit ${PIPESTATUS[0]}");
        EXPECT_EQ(run.status, 0) << command << run.err;
        EXPECT_NE(run.out, "0\n") << command;
    }
}

TEST_F(OddPlacesTest, AFrameThatTheFileEndsInIsARow) {
    place_.compose("a.kmr", {"--no-index"});
    const auto size = std::filesystem::file_size(place_.folder().path() / "a.kmr");
    std::filesystem::resize_file(place_.folder().path() / "a.kmr", size - 10);
    const auto torn = place_.kmr({"frames", "--format", "csv", "a.kmr"});
    EXPECT_THAT(torn.out, HasSubstr("\n10,"));
    EXPECT_THAT(torn.out, EndsWith(",damaged\n"));
    std::filesystem::resize_file(place_.folder().path() / "a.kmr", size - 60); // of the header of 32 too
    EXPECT_THAT(place_.kmr({"frames", "--format", "csv", "a.kmr"}).out, EndsWith(",ordinary\n"));
}

TEST_F(OddPlacesTest, AMergeTellsOfEachThatIsNone) {
    place_.compose("a.kmr");
    ASSERT_EQ(place_.kmr({"check", "--db", "good.db", "a.kmr"}).status, 0);
    place_.folder().write_text("none.db", "no database");
    const auto run = place_.kmr({"merge", "all.db", "none.db", "good.db"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kmr: none.db: not a database\n");
    EXPECT_EQ(run.out, "good.db: 1 taken over\n");
}

TEST_F(OddPlacesTest, AMergeTellsThingsInTheirOrder) {
    place_.compose("a.kmr");
    ASSERT_EQ(place_.kmr({"check", "--db", "good.db", "a.kmr"}).status, 0);
    EXPECT_EQ(place_.shell("\"$1\" merge all.db good.db none.db 2>&1").out,
              "good.db: 1 taken over\nkmr: none.db: No such file or directory\n");
}

TEST_F(OddPlacesTest, AMergeOfNothingMakesNothing) {
    EXPECT_EQ(place_.kmr({"merge", "all.db", "missing.db"}).status, 2);
    EXPECT_FALSE(std::filesystem::exists(place_.folder().path() / "all.db"));
}

// --- a terminal for standard error, or for both ---

TEST_F(OddPlacesTest, SomebodyWatchesTheMessages) {
    place_.compose("a.kmr");
    const watched_terminal watched;
    for (const std::string command : {"check", "show"}) {
        const auto run =
            place_.shell("\"$1\" \"$2\" a.kmr missing.kmr /dev/null 2>\"$3\"", {command, watched.name()});
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(watched.shown(), "kmr: missing.kmr: No such file or directory\r\n"
                                   "kmr: /dev/null: not a regular file\r\n");
    }
}

TEST_F(OddPlacesTest, ATerminalHasColorsUnlessItIsDumb) {
    place_.compose("a.kmr");
    const watched_terminal watched;
    const auto first_word = [&](const std::string& before) {
        place_.shell(before + " \"$1\" check a.kmr >\"$2\"", {watched.name()});
        const std::string text = watched.shown();
        return text.substr(0, text.find(' '));
    };
    EXPECT_EQ(first_word("env -u NO_COLOR TERM=dumb"), "sound");
    EXPECT_EQ(first_word("env -u NO_COLOR TERM=xterm"), "\x1b[32msound\x1b[0m");
    EXPECT_EQ(first_word("env -u NO_COLOR -u TERM"), "\x1b[32msound\x1b[0m");
    EXPECT_EQ(first_word("env NO_COLOR=1 TERM=xterm"), "sound");
}

} // namespace
