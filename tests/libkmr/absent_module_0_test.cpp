// Where no module 0 was loaded, what a program calls of it is refused. The working directory of this program has no lib.
#include "libvfs/vfs.h"

#include <gtest/gtest.h>

namespace {

TEST(AbsentModule0Test, RefusesEveryCall) {
    EXPECT_EQ(vfs_Init(), 0);
    vfs_block_record block = {};
    vfs_directory_record record = {};
    znfs_Init(0);
    EXPECT_EQ(znfs_Mount("a"), -1);
    EXPECT_EQ(znfs_ChangeCreateTime("a", 1), -1);
    EXPECT_EQ(znfs_ChangeRecType("a", 1, 1), -1);
    EXPECT_EQ(znfs_UpdataePreRecPtr(1, 1, 1), -1);
    EXPECT_EQ(znfs_Lock("a", 1), -1);
    EXPECT_EQ(znfs_GetUsedBlockNum("a"), -1);
    EXPECT_EQ(znfs_GetBlockInfo("a", &block, 1), -1);
    EXPECT_EQ(znfs_GetFileNum("a", 1), -1);
    EXPECT_EQ(znfs_BlockStat("a", 1, &record, 1), -1);
    znfs_DeInit();
    EXPECT_EQ(vfs_ChangeCreateTime("a", 1), -1);
}

} // namespace
