// The longest paths that the host takes, and folders without any files.
#include "tests/modules/plain_module.hpp"

#include <climits>

namespace {

constexpr size_t longest_path = PATH_MAX - 1;

class PathLimitsTest : public PlainModuleTest {
protected:
    // `front` and `back` with as many '/' in between as make a path of that length; the host takes them for one.
    static std::string padded(const std::string& front, const std::string& back, size_t length) {
        return front + std::string(length - front.size() - back.size(), '/') + back;
    }
    bool is_there(const std::string& path) const {
        vfs_stat_record record = {};
        return module.stat(path, record) == 0;
    }

    const plain_module module = plain_module::module_0();
};

TEST_F(PathLimitsTest, APathIsTakenWholeOrNotAtAll) {
    write_file("x", "");
    EXPECT_TRUE(is_there(padded(file(""), "x", longest_path)));
    EXPECT_FALSE(is_there(padded(file(""), "xy", longest_path + 1))) << "cut, it would be the file x";
}

// "/dev/scsi/" becomes "disks/", four characters less.
TEST_F(PathLimitsTest, OfADiskTheLengthOnTheHostCounts) {
    const scratch::working_directory here(folder.path());
    folder.write_text("disks/host03/x", "");
    EXPECT_TRUE(is_there(padded("/dev/scsi/host03/", "x", longest_path + 4)));
    EXPECT_FALSE(is_there(padded("/dev/scsi/host03/", "xy", longest_path + 5)));
}

TEST_F(PathLimitsTest, ABlockWhosePathIsTooLongIsNone) {
    write_file("part/1/file", "");
    write_file("part/12/file", "");
    EXPECT_EQ(module.of_path("GetUsedBlockNum", padded(file("part"), "", longest_path - 3)), 2);
    EXPECT_EQ(module.of_path("GetUsedBlockNum", padded(file("part"), "", longest_path - 2)), 1);
    EXPECT_EQ(module.of_path("GetUsedBlockNum", padded(file("part"), "", longest_path - 1)), 0);
}

TEST_F(PathLimitsTest, ADirectoryWhosePathIsTooLongIsNone) {
    const auto files = [this](size_t length, int32_t directory) {
        return module.call<int32_t>("GetFileNum", padded(file("part"), "", length).c_str(), directory);
    };
    write_file("part/1/a", "");
    write_file("part/12/a", "");
    write_file("part/12/b", "");
    EXPECT_EQ(files(longest_path - 4, 12), 2) << "\"12/a\" makes it the longest path";
    EXPECT_EQ(files(longest_path - 3, 12), 0) << "the path of the directory fits, those of its files do not";
    EXPECT_EQ(files(longest_path - 1, 12), -1);
    EXPECT_EQ(files(longest_path - 1, 1), 0);
}

TEST_F(PathLimitsTest, ADirectoryWithoutFilesHasNone) {
    std::filesystem::create_directories(file("part/7/folder"));
    std::filesystem::create_directories(file("part/8"));
    const std::string base = file("part/");
    vfs_directory_record record;
    for (const int32_t directory : {7, 8}) {
        EXPECT_EQ(module.call<int32_t>("GetFileNum", base.c_str(), directory), 0);
        EXPECT_EQ(module.call<int32_t>("BlockStat", base.c_str(), directory, &record, int32_t{1}), 0);
    }
    vfs_block_record block;
    EXPECT_EQ(module.call<int32_t>("GetBlockInfo", file("part/7").c_str(), &block, int32_t{1}), 0);
    EXPECT_EQ(module.call<int32_t>("GetBlockInfo", file("part/8").c_str(), &block, int32_t{1}), 0);
    EXPECT_EQ(module.of_path("GetUsedBlockNum", file("part/8")), 0);
}

} // namespace
