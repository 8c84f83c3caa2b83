// -o: a recording copied into a file of the host, and the source that must survive it.
#include "tests/program/viewer.hpp"

#include <gmock/gmock.h>

namespace fs = std::filesystem;

namespace {

using recording::bytes;

bytes of_size(size_t size) {
    bytes content(size);
    for (size_t i = 0; i < size; ++i)
        content[i] = static_cast<uint8_t>(i * 7 + i / 251);
    return content;
}

class CopyOutTest : public ::testing::Test {
protected:
    CopyOutTest() { place.folder().write("in.kmr", content); }

    bytes written(const std::string& name) const { return scratch::read_file(place.path() / name); }

    void expect_refused(const viewer::arguments& words, const std::string& target) {
        EXPECT_EQ(place.report(words), "fopen " + target + " error\n");
        EXPECT_EQ(written("in.kmr"), content);
    }

    const bytes content = of_size(10000);
    viewer::place place;
};

TEST_F(CopyOutTest, PrintsTheSizeAndNothingElse) {
    EXPECT_EQ(place.report({"-f", "in.kmr", "-oout.kmr"}), "file size=10000\n");
    EXPECT_EQ(written("out.kmr"), content);
    EXPECT_EQ(written("in.kmr"), content);
    EXPECT_FALSE(place.has("EndFrame"));
}

TEST_F(CopyOutTest, OfEverySizeAroundABlock) {
    for (const size_t size : {0U, 1U, 4095U, 4096U, 4097U, 8192U}) {
        place.folder().write("in.kmr", of_size(size));
        EXPECT_EQ(place.report({"-f", "in.kmr", "-oout.kmr"}), "file size=" + std::to_string(size) + "\n");
        EXPECT_EQ(written("out.kmr"), of_size(size));
    }
}

TEST_F(CopyOutTest, ReplacesALongerFile) {
    place.folder().write("out.kmr", of_size(20000));
    EXPECT_EQ(place.report({"-oout.kmr", "-f", "in.kmr", "-a"}), "file size=10000\n");
    EXPECT_EQ(written("out.kmr"), content);
}

TEST_F(CopyOutTest, IsWhatAQueryWithoutACommaAsksFor) {
    EXPECT_EQ(place.report({"-f", "in.kmr", "-q", "abc"}), "file size=10000\n");
    EXPECT_EQ(written("abc"), content);
    EXPECT_EQ(place.report({"-f", "in.kmr", "-q", "n", "-oout.kmr"}), "file size=10000\n");
    EXPECT_FALSE(place.has("n"));
    EXPECT_TRUE(place.has("out.kmr"));
}

TEST_F(CopyOutTest, CutsAnOutputNameBehind128Characters) {
    const std::string name(128, 'o');
    EXPECT_EQ(place.report({"-f", "in.kmr", "-o" + name + "xyz"}), "file size=10000\n");
    EXPECT_EQ(written(name), content);
}

TEST_F(CopyOutTest, PrintsNothingAndMakesNothingWithoutARecording) {
    EXPECT_EQ(place.report({"-f", "missing.kmr", "-oout.kmr"}), "");
    EXPECT_EQ(place.report({"-oout.kmr"}), "");
    EXPECT_EQ(place.report({"-o"}), "");
    EXPECT_FALSE(place.has("out.kmr"));
}

TEST_F(CopyOutTest, DoesNotTouchTheTargetWhenThereIsNoRecording) {
    place.folder().write_text("out.kmr", "kept");
    EXPECT_EQ(place.report({"-f", "missing.kmr", "-oout.kmr"}), "");
    EXPECT_EQ(place.text_of("out.kmr"), "kept");
}

TEST_F(CopyOutTest, NamesATargetThatCannotBeMade) {
    fs::create_directory(place.path() / "folder");
    expect_refused({"-f", "in.kmr", "-omissing/out.kmr"}, "missing/out.kmr");
    expect_refused({"-f", "in.kmr", "-ofolder"}, "folder");
}

TEST_F(CopyOutTest, ReportsAFullDiskAtTheBlockThatDidNotFit) {
    EXPECT_EQ(place.report({"-f", "in.kmr", "-o/dev/full"}), "fwrite error. iLen=4096 iRet=0\nfile size=0\n");
    place.folder().write("in.kmr", of_size(100));
    EXPECT_EQ(place.report({"-f", "in.kmr", "-o/dev/full"}), "fwrite error. iLen=100 iRet=0\nfile size=0\n");
}

TEST_F(CopyOutTest, NeverTruncatesTheRecordingItself) {
    expect_refused({"-f", "in.kmr", "-o"}, "in.kmr");
    expect_refused({"-f", "in.kmr", "-o", "out.kmr"}, "in.kmr");
    EXPECT_FALSE(place.has("out.kmr"));
    expect_refused({"-f", "in.kmr", "-oin.kmr"}, "in.kmr");
    expect_refused({"-f", "in.kmr", "-o./in.kmr"}, "./in.kmr");
    expect_refused({"-f", "in.kmr", "-q", ""}, "in.kmr");
    const std::string full_path = (place.path() / "in.kmr").string();
    expect_refused({"-f", "in.kmr", "-o" + full_path}, full_path);
}

TEST_F(CopyOutTest, NeverTruncatesTheRecordingUnderAnotherName) {
    fs::create_symlink("in.kmr", place.path() / "symlink.kmr");
    fs::create_hard_link(place.path() / "in.kmr", place.path() / "hardlink.kmr");
    expect_refused({"-f", "in.kmr", "-osymlink.kmr"}, "symlink.kmr");
    expect_refused({"-f", "in.kmr", "-ohardlink.kmr"}, "hardlink.kmr");
    expect_refused({"-f", "symlink.kmr", "-oin.kmr"}, "in.kmr");
    expect_refused({"-f", "hardlink.kmr", "-osymlink.kmr"}, "symlink.kmr");
}

TEST_F(CopyOutTest, NeverTruncatesARecordingThatADiskHolds) {
    const std::string name = "H5100020150102030405I000000";
    const std::string on_disk = "disks/host05/part1/" + name;
    place.folder().write(on_disk, content);
    EXPECT_EQ(place.report({"-f", name, "-o" + on_disk}), "fopen " + on_disk + " error\n");
    EXPECT_EQ(written(on_disk), content);
    EXPECT_EQ(place.report({"-f", name, "-o"}), "file size=10000\n");
    EXPECT_EQ(written(name), content);
    EXPECT_EQ(written(on_disk), content);
}

TEST_F(CopyOutTest, FollowsALinkToANewFile) {
    fs::create_symlink("new.kmr", place.path() / "out.kmr");
    EXPECT_EQ(place.report({"-f", "in.kmr", "-oout.kmr"}), "file size=10000\n");
    EXPECT_EQ(written("new.kmr"), content);
}

} // namespace
