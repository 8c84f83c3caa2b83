// kmr ls: which files it lists, in which order, and what it says of them.
#include "tests/scan/compose.hpp"
#include "tests/support/run_program.hpp"
#include "tests/support/scratch.hpp"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

using recording::bytes;

class LsTest : public testing::Test {
protected:
    run::result ls(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "ls");
        return run::program(KMR, arguments, {.directory = folder.path(), .environment = {"TZ=CET-1"}});
    }

    scratch::folder folder = {};
};

// The second of its index later than the usual start.
bytes starting_at(uint32_t seconds_later) {
    const scan_test::frames all = scan_test::sound_frames(10);
    auto index = scan_test::records_for(all);
    for (auto& record : index)
        record.time += seconds_later;
    index.front().tag = "gate";
    return scan_test::recording_of(all, index);
}

TEST_F(LsTest, SortsByStart) {
    folder.write("a", starting_at(7200));
    folder.write("b", starting_at(3600));
    folder.write("c",
                 scan_test::without_index(scan_test::sound_frames(10))); // its header says 03:04:05, local
    const run::result result = ls({"."});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out,
              "start                               length           size  records  tags  type path\n"
              "2015-01-02T03:04:05.000+01:00            -           1160        -     -   -   ./c\n"
              "2015-01-02T05:04:05.000+01:00  0:00:00.360           1372        2     1   -   ./b\n"
              "2015-01-02T06:04:05.000+01:00  0:00:00.360           1372        2     1   -   ./a\n");
}

// The clock leaps by 100 hours between the two frames that have records.
TEST_F(LsTest, KeepsColumnsApartWhateverTheLength) {
    scan_test::frames all = scan_test::sound_frames(10);
    for (size_t each = 5; each < all.size(); ++each)
        all[each].time_stamp += 360000000;
    folder.write("a", scan_test::recording_of(all, scan_test::records_for(all)));
    EXPECT_NE(ls({"a"}).out.find("+01:00 100:00:00.360  "), std::string::npos) << ls({"a"}).out;
}

TEST_F(LsTest, TellsItInJson) {
    folder.write("H0000020150102030405L000000", starting_at(0));
    EXPECT_EQ(ls({"--json", "--utc", "."}).out,
              "{\"schema\":\"kmr.ls/1\",\"path\":\"./H0000020150102030405L000000\","
              "\"name\":\"H0000020150102030405L000000\",\"size\":1372,\"type\":\"L\","
              "\"start\":\"2015-01-02T03:04:05.000+00:00\",\"duration_ms\":360,\"records\":2,\"tags\":1}\n");
}

TEST_F(LsTest, PassesOverWhatIsNoRecordingInFolders) {
    folder.write_text("note.txt", "no recording");
    folder.write("empty", {});
    const run::result result = ls({"."});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
}

TEST_F(LsTest, SaysThatANamedFileIsNone) {
    folder.write_text("note.txt", "no recording");
    folder.write("sound.kmr", starting_at(0));
    const run::result result = ls({"note.txt", "sound.kmr"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "kmr: note.txt: not a recording\n");
    EXPECT_NE(result.out.find("sound.kmr"), result.out.npos);
}

TEST_F(LsTest, SaysWhatCannotBeRead) {
    folder.write("sound.kmr", starting_at(0));
    std::filesystem::create_directory(folder.file("folder"));
    const run::result result = ls({"missing.kmr", "/dev/null", "sound.kmr"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "kmr: missing.kmr: No such file or directory\n"
                          "kmr: /dev/null: not a regular file\n");
    EXPECT_NE(result.out.find("sound.kmr"), result.out.npos);
}

} // namespace
