#include "tests/modules/plain_module.hpp"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using ::testing::UnorderedElementsAre;

class Module0Test : public PlainModuleTest {
protected:
    int32_t lock(const std::string& path, int32_t flag) const {
        return module.call<int32_t>("Lock", path.c_str(), flag);
    }
    int32_t change_create_time(const std::string& path, int64_t time) const {
        return module.call<int32_t>("ChangeCreateTime", path.c_str(), time);
    }
    int32_t block_info(const std::string& path, std::vector<vfs_block_record>& blocks) const {
        return module.call<int32_t>("GetBlockInfo", path.c_str(), blocks.data(),
                                    static_cast<int32_t>(blocks.size()));
    }
    int32_t file_num(const std::string& base, int32_t directory) const {
        return module.call<int32_t>("GetFileNum", base.c_str(), directory);
    }
    int32_t block_stat(const std::string& base, int32_t directory,
                       std::vector<vfs_directory_record>& records) const {
        return module.call<int32_t>("BlockStat", base.c_str(), directory, records.data(),
                                    static_cast<int32_t>(records.size()));
    }
    static std::string name_in(const vfs_directory_record& record) {
        return reinterpret_cast<const char*>(record.Bytes) + 132;
    }

    const plain_module module = plain_module::module_0();
};

mode_t permissions(const std::string& path) {
    struct stat status = {};
    stat(path.c_str(), &status);
    return status.st_mode & 07777;
}

// --- Where paths lead ---

TEST_F(Module0Test, PathsBelowDevScsiLieBelowTheFolderDisks) {
    const scratch::working_directory here(folder.path());
    folder.write_text("disks/host03/part1/X", "on disk");
    const int32_t number = module.open("/dev/scsi/host03/part1/X");
    ASSERT_EQ(number, 3);
    char buffer[8] = {};
    EXPECT_EQ(module.read(number, buffer, 8), 7);
    EXPECT_STREQ(buffer, "on disk");
    vfs_stat_record record = {};
    EXPECT_EQ(module.stat("/dev/scsi/host03/part1/X", record), 0);
    EXPECT_EQ(record.Size, 7);
    EXPECT_EQ(module.of_path("Unlink", "/dev/scsi/host03/part1/X"), 0);
    EXPECT_FALSE(fs::exists("disks/host03/part1/X"));
}

TEST_F(Module0Test, TheWorkingDirectoryOfTheCallCounts) {
    folder.write_text("first/disks/host00/x", "1");
    folder.write_text("second/disks/host00/x", "22");
    vfs_stat_record record = {};
    {
        const scratch::working_directory here(folder.path() / "first");
        EXPECT_EQ(module.stat("/dev/scsi/host00/x", record), 0);
        EXPECT_EQ(record.Size, 1);
    }
    const scratch::working_directory here(folder.path() / "second");
    EXPECT_EQ(module.stat("/dev/scsi/host00/x", record), 0);
    EXPECT_EQ(record.Size, 2);
}

TEST_F(Module0Test, OtherPathsAreTheHosts) {
    const auto path = folder.write_text("dev/scsi/x", "abc");
    vfs_stat_record record = {};
    EXPECT_EQ(module.stat(path, record), 0) << "/dev/scsi/ counts at the start alone";
    EXPECT_EQ(module.stat("/dev/null", record), 0);
}

TEST_F(Module0Test, APathThatIsTooLongNamesNothing) {
    vfs_stat_record record = {};
    EXPECT_EQ(module.stat("/dev/scsi/" + std::string(PATH_MAX, 'a'), record), -1);
}

// --- Start and end ---

TEST_F(Module0Test, MountSucceedsWhereTheDiskIs) {
    const scratch::working_directory here(folder.path());
    fs::create_directories("disks/host00/part1");
    module.call<void>("Init", int32_t{0});
    EXPECT_EQ(module.of_path("Mount", "/dev/scsi/host00/part1"), 0);
    EXPECT_EQ(module.of_path("Mount", "/dev/scsi/host01/part1"), -1);
}

TEST_F(Module0Test, DeInitClosesWhatIsOpenAndMayComeTwice) {
    const auto path = write_file("x", "abc");
    const int before = scratch::open_descriptors();
    EXPECT_EQ(module.open(path), 3);
    EXPECT_EQ(module.open(path), 4);
    module.call<void>("DeInit");
    module.call<void>("DeInit");
    EXPECT_EQ(scratch::open_descriptors(), before);
    EXPECT_EQ(module.close(3), -1);
    EXPECT_EQ(module.open(path), 3);
}

// --- Locking and changing recordings ---

TEST_F(Module0Test, ALockedFileCannotBeWritten) {
    const auto path = write_file("x", "abc");
    fs::permissions(path, fs::perms{0664});
    EXPECT_EQ(lock(path, 1), 0);
    EXPECT_EQ(permissions(path), 0444u);
    EXPECT_EQ(lock(path, 0), 0);
    EXPECT_EQ(permissions(path), 0644u) << "the owner may write again";
    EXPECT_EQ(lock(file("missing"), 1), -1);
    EXPECT_EQ(scratch::read_text(path), "abc");
}

class Module0TimesTest : public Module0Test {
protected:
    Module0TimesTest() {
        setenv("TZ", "CET-1", 1);
        tzset();
    }
    ~Module0TimesTest() override {
        unsetenv("TZ");
        tzset();
    }
};

TEST_F(Module0TimesTest, ChangeCreateTimeChangesTheStartTimeAndNothingElse) {
    recording::bytes content = recording::sound({recording::frame{}});
    const auto path = folder.write("dev/x", content);
    const vfs_times times = {1000000001, 1000000002};
    ASSERT_EQ(module.call<int32_t>("ChangeTime", path.c_str(), &times), 0);
    EXPECT_EQ(change_create_time(path, 1456761599), 0); // 2016-02-29 16:59:59 in CET

    vfs_stat_record record = {};
    ASSERT_EQ(module.stat(path, record), 0);
    EXPECT_EQ(record.StartTime, 1456761599u);
    EXPECT_EQ(record.AccessTime, 1000000001u);
    EXPECT_EQ(record.ModifyTime, 1000000002u);

    const uint16_t date[] = {2016, 2, 29, 16, 59, 59};
    for (size_t i = 0; i < std::size(date); ++i)
        recording::put_u16(content, 10 + 2 * i, date[i]);
    EXPECT_EQ(scratch::read_file(path), content);
}

TEST_F(Module0TimesTest, ChangeCreateTimeRefusesTimesThatTheHeaderCannotHold) {
    const recording::bytes content = recording::file_header(1);
    const auto path = folder.write("dev/x", content);
    for (const int64_t time : {int64_t{-90000}, int64_t{4291747200}, INT64_MAX, INT64_MIN})
        EXPECT_EQ(change_create_time(path, time), -1) << time;
    EXPECT_EQ(scratch::read_file(path), content);
}

TEST_F(Module0TimesTest, ChangeCreateTimeRefusesWhatIsNoRecording) {
    const auto path = write_file("x", std::string(100, 'x'));
    EXPECT_EQ(change_create_time(path, 1456761599), -1);
    EXPECT_EQ(scratch::read_text(path), std::string(100, 'x'));
    EXPECT_EQ(change_create_time(file("missing"), 1456761599), -1);
    EXPECT_EQ(change_create_time(folder.path(), 1456761599), -1);
}

TEST_F(Module0Test, ChangeRecTypeKeepsNothing) {
    const auto path = write_file("x", "abc");
    EXPECT_EQ(module.call<int32_t>("ChangeRecType", path.c_str(), int32_t{5}, int32_t{6}), 0);
    EXPECT_EQ(module.call<int32_t>("ChangeRecType", file("missing").c_str(), int32_t{5}, int32_t{6}), -1);
    EXPECT_EQ(scratch::read_text(path), "abc");
}

TEST_F(Module0Test, UpdataePreRecPtrWantsAnOpenFileAndKeepsNothing) {
    const auto path = write_file("x", "abc");
    const int32_t number = module.open(path);
    EXPECT_EQ(module.call<int32_t>("UpdataePreRecPtr", number, int32_t{5}, int32_t{6}), 0);
    EXPECT_EQ(module.call<int32_t>("UpdataePreRecPtr", int32_t{9}, int32_t{5}, int32_t{6}), -1);
    EXPECT_EQ(scratch::read_text(path), "abc");
}

// --- Blocks and numbered directories ---

TEST_F(Module0Test, UsedBlocksAreTheFoldersWithANumberForAName) {
    for (const char* name :
         {"0", "3", "20150102", "2147483647", "2147483648", "03", "-1", "+1", "1x", "x", " 1"})
        write_file(std::string("part/") + name + "/file", "");
    write_file("part/3/second", "");
    fs::create_directory(file("part/3/subfolder"));
    write_file("part/7", "a file, no folder");
    EXPECT_EQ(module.of_path("GetUsedBlockNum", file("part")), 4);

    std::vector<vfs_block_record> blocks(4);
    ASSERT_EQ(block_info(file("part"), blocks), 4);
    std::vector<std::vector<uint32_t>> found;
    for (const vfs_block_record& block : blocks) {
        std::vector<uint32_t> words(6);
        std::memcpy(words.data(), &block, sizeof block);
        found.push_back(words);
    }
    // Number, files, sort key.
    EXPECT_THAT(found, UnorderedElementsAre(std::vector<uint32_t>{0, 1, 0, 0, 0, 0},
                                            std::vector<uint32_t>{3, 2, 3, 0, 0, 0},
                                            std::vector<uint32_t>{20150102, 1, 20150102, 0, 0, 0},
                                            std::vector<uint32_t>{2147483647, 1, 2147483647, 0, 0, 0}));
}

TEST_F(Module0Test, BlockInfoFillsNoMoreThanAskedFor) {
    for (const char* name : {"1", "2", "3"})
        write_file(std::string("part/") + name + "/file", "");
    std::vector<vfs_block_record> blocks(2);
    EXPECT_EQ(block_info(file("part"), blocks), 2);
    std::vector<vfs_block_record> none;
    EXPECT_EQ(block_info(file("part"), none), 0);
}

TEST_F(Module0Test, APartitionThatIsNotThereHasNoBlocks) {
    std::vector<vfs_block_record> blocks(2);
    EXPECT_EQ(module.of_path("GetUsedBlockNum", file("part")), -1);
    EXPECT_EQ(block_info(file("part"), blocks), -1);
    write_file("empty/file", "");
    EXPECT_EQ(module.of_path("GetUsedBlockNum", file("empty")), 0);
}

TEST_F(Module0Test, ANumberedDirectoryListsItsFilesInOrderOfTheirNames) {
    folder.write("dev/part/20150102/b", recording::file_header(1));
    write_file("part/20150102/a", "abc");
    fs::create_directory(file("part/20150102/subfolder"));
    EXPECT_EQ(file_num(file("part/"), 20150102), 2);

    std::vector<vfs_directory_record> records(2);
    ASSERT_EQ(block_stat(file("part/"), 20150102, records), 2);
    EXPECT_EQ(name_in(records[0]), "a");
    EXPECT_EQ(name_in(records[1]), "b");

    // A record is what Stat says, and the name behind it.
    for (const vfs_directory_record& record : records) {
        vfs_stat_record expected = {};
        ASSERT_EQ(module.stat(file("part/20150102/" + name_in(record)), expected), 0);
        EXPECT_EQ(std::memcmp(&record, &expected, 132), 0);
    }
    vfs_stat_record first = {};
    std::memcpy(&first, &records[0], sizeof first);
    EXPECT_EQ(first.Size, 3);
}

TEST_F(Module0Test, NamesInADirectoryRecordHaveAtMost99Characters) {
    write_file("part/1/" + std::string(120, 'n'), "");
    std::vector<vfs_directory_record> records(1);
    ASSERT_EQ(block_stat(file("part/"), 1, records), 1);
    EXPECT_EQ(name_in(records[0]), std::string(99, 'n'));
    EXPECT_EQ(records[0].Bytes[231], 0);
}

TEST_F(Module0Test, BlockStatFillsNoMoreThanAskedFor) {
    write_file("part/1/a", "");
    write_file("part/1/b", "");
    std::vector<vfs_directory_record> records(1);
    EXPECT_EQ(block_stat(file("part/"), 1, records), 1);
    EXPECT_EQ(name_in(records[0]), "a");
}

TEST_F(Module0Test, ADirectoryThatIsNotThereIsRefused) {
    std::vector<vfs_directory_record> records(1);
    EXPECT_EQ(file_num(file("part/"), 1), -1);
    EXPECT_EQ(block_stat(file("part/"), 1, records), -1);
    EXPECT_EQ(module.call<int32_t>("GetFileNum", static_cast<const char*>(nullptr), int32_t{1}), -1);
    EXPECT_EQ(file_num("/dev/" + std::string(5000, 'a') + "/", 1), -1);
}

TEST_F(Module0Test, NumberedDirectoriesOfADiskLieBelowTheFolderDisks) {
    const scratch::working_directory here(folder.path());
    folder.write_text("disks/host03/part1/20150102/x", "");
    EXPECT_EQ(module.of_path("GetUsedBlockNum", "/dev/scsi/host03/part1"), 1);
    EXPECT_EQ(file_num("/dev/scsi/host03/part1/", 20150102), 1);
}

} // namespace
