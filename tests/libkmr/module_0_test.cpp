// What a program calls of module 0 reaches the module that the library has loaded.
#include "libvfs/vfs.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace {

const std::string folder_of_module = NOTED_MODULE_FOLDER;

class LoadedModule0Test : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(chdir(folder_of_module.c_str()), 0);
        vfs_Init();
        void* const module = dlopen((folder_of_module + "/lib/libznfs.so").c_str(), RTLD_NOW | RTLD_NOLOAD);
        ASSERT_NE(module, nullptr);
        noted_ = static_cast<const char*>(dlsym(module, "noted"));
        ASSERT_NE(noted_, nullptr);
        result_ = znfs_Mount("first");
        // A program may go elsewhere: the module stays the one that was loaded.
        ASSERT_EQ(chdir("/"), 0);
    }

    // The call gave what the module gave, which counts up.
    void expect_call(const char* call, int32_t result) {
        EXPECT_EQ(result, ++result_);
        EXPECT_STREQ(noted_, call);
    }

    const char* noted_ = nullptr;
    int32_t result_ = 0;
};

TEST_F(LoadedModule0Test, IsPreparedMountedAndReleased) {
    znfs_Init(5);
    EXPECT_STREQ(noted_, "Init 5");
    znfs_DeInit();
    EXPECT_STREQ(noted_, "DeInit");
    result_ += 2;
    expect_call("Mount /dev/scsi/host00/part1", znfs_Mount("/dev/scsi/host00/part1"));
}

TEST_F(LoadedModule0Test, ChangesRecordings) {
    expect_call("ChangeCreateTime a 4294967296", znfs_ChangeCreateTime("a", int64_t{1} << 32));
    expect_call("ChangeRecType b 2 3", znfs_ChangeRecType("b", 2, 3));
    expect_call("UpdataePreRecPtr 4 5 6", znfs_UpdataePreRecPtr(4, 5, 6));
    expect_call("Lock c 1", znfs_Lock("c", 1));
}

TEST_F(LoadedModule0Test, ListsBlocksAndFiles) {
    vfs_block_record block = {};
    vfs_directory_record record = {};
    expect_call("GetUsedBlockNum a", znfs_GetUsedBlockNum("a"));
    expect_call("GetBlockInfo b 1", znfs_GetBlockInfo("b", &block, 1));
    EXPECT_EQ(block.BlockNo, 7U);
    expect_call("GetFileNum c/ 3", znfs_GetFileNum("c/", 3));
    expect_call("BlockStat d/ 3 1", znfs_BlockStat("d/", 3, &record, 1));
    EXPECT_EQ(record.Bytes[0], 9);
}

TEST_F(LoadedModule0Test, ServesTheLayersOwnCalls) {
    expect_call("ChangeCreateTime r 12", vfs_ChangeCreateTime("r", 12));
    expect_call("ChangeRecType r 63 1", vfs_ChangeRecType("r", 63, 1));
}

} // namespace
