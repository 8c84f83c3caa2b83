// The layer's own directories for module 0.
#include "tests/libvfs/scripted_module_0.hpp"

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;

class DirectoriesTest : public ::testing::Test {
protected:
    DirectoriesTest() {
        vfs_Init();
        script = {};
        script.file_count = 2;
        script.block_stat_result = 2;
    }
    ~DirectoriesTest() override {
        for (vfs_directory& directory : g_vDir)
            _vfs_CloseDir(&directory);
    }

    static void expect_all_free() {
        for (const vfs_directory& directory : g_vDir) {
            EXPECT_EQ(directory.iDirNo, -1);
            EXPECT_EQ(directory.iUsed, 0u);
            EXPECT_EQ(directory.pRecords, nullptr);
        }
    }

    // What GetFileNum is asked for a path; empty when the path is refused before.
    static std::string asked_for(const std::string& path) {
        script.calls.clear();
        void* const handle = _vfs_OpenDir(path.c_str());
        if (handle != nullptr)
            _vfs_CloseDir(handle);
        return script.calls.empty() ? "" : script.calls.front();
    }
};

TEST_F(DirectoriesTest, AreSixteenEntriesInGivenOrder) {
    EXPECT_EQ(std::size(g_vDir), 16u);
    EXPECT_EQ(offsetof(vfs_directory, iDirNo), 0u);
    EXPECT_EQ(offsetof(vfs_directory, iUsed), 4u);
    EXPECT_EQ(offsetof(vfs_directory, iCount), 8u);
    EXPECT_EQ(offsetof(vfs_directory, iNext), 12u);
    EXPECT_EQ(offsetof(vfs_directory, pRecords), 16u);
    EXPECT_EQ(sizeof(vfs_directory_record), 232u);
}

// --- Paths ---

TEST_F(DirectoriesTest, ThePathEndsWithTheNumber) {
    EXPECT_EQ(asked_for("/dev/sda1/3"), "GetFileNum /dev/sda1/ 3");
    EXPECT_EQ(asked_for("/dev/scsi/host03/part1/20150102"), "GetFileNum /dev/scsi/host03/part1/ 20150102");
}

TEST_F(DirectoriesTest, ALastComponentThatIsNoNumberIs0) {
    EXPECT_EQ(asked_for("/dev/sda1/abc"), "GetFileNum /dev/sda1/ 0");
    EXPECT_EQ(asked_for("/dev/sda1/"), "GetFileNum /dev/sda1/ 0");
    EXPECT_EQ(asked_for("/dev/sda1/12abc"), "GetFileNum /dev/sda1/ 12");
    EXPECT_EQ(asked_for("/dev/sda1/ 7"), "GetFileNum /dev/sda1/ 7");
    EXPECT_EQ(asked_for("/dev/sda1/-4"), "GetFileNum /dev/sda1/ -4");
}

TEST_F(DirectoriesTest, WhatStandsBeforeTheFirstSlashIsDropped) {
    EXPECT_EQ(asked_for("disk/dev/sda1/3"), "GetFileNum /dev/sda1/ 3");
    EXPECT_EQ(asked_for("disk/3"), "GetFileNum / 3");
    EXPECT_EQ(asked_for("3"), "GetFileNum / 3");
    EXPECT_EQ(asked_for(""), "GetFileNum / 0");
    EXPECT_EQ(asked_for("/3"), "GetFileNum / 3");
}

TEST_F(DirectoriesTest, EmptyComponentsStay) {
    EXPECT_EQ(asked_for("/dev//3"), "GetFileNum /dev// 3");
}

TEST_F(DirectoriesTest, SevenSlashesAreTheMost) {
    EXPECT_EQ(asked_for("/a/b/c/d/e/f/3"), "GetFileNum /a/b/c/d/e/f/ 3");
    EXPECT_EQ(asked_for("/a/b/c/d/e/f/g/3"), "");
    EXPECT_EQ(asked_for("/a/b/c/d/e/f/3/"), "");
    EXPECT_EQ(asked_for("/a/b/c/d/e/f/g/h/3"), "");
}

TEST_F(DirectoriesTest, AComponentHasAtMost63Characters) {
    const std::string longest(63, 'a');
    const std::string too_long(64, 'a');
    EXPECT_EQ(asked_for("/" + longest + "/3"), "GetFileNum /" + longest + "/ 3");
    EXPECT_EQ(asked_for(longest + "/3"), "GetFileNum / 3");
    EXPECT_EQ(asked_for("/" + too_long + "/3"), "");
    EXPECT_EQ(asked_for(too_long + "/3"), "");
    EXPECT_EQ(asked_for("/dev/" + too_long), "");
    EXPECT_EQ(asked_for("/dev/" + std::string(62, '0') + "5"), "GetFileNum /dev/ 5");
}

TEST_F(DirectoriesTest, TheBasePathHasAtMost255Characters) {
    const std::string of_63 = std::string(63, 'a') + "/";
    const std::string base_of_255 = "/" + of_63 + of_63 + of_63 + std::string(61, 'b') + "/";
    ASSERT_EQ(base_of_255.size(), 255u);
    EXPECT_EQ(asked_for(base_of_255 + "3"), "GetFileNum " + base_of_255 + " 3");
    const std::string base_of_256 = "/" + of_63 + of_63 + of_63 + std::string(62, 'b') + "/";
    EXPECT_EQ(asked_for(base_of_256 + "3"), "");
}

// --- Opening ---

TEST_F(DirectoriesTest, OpenFillsTheFirstFreeEntry) {
    EXPECT_EQ(_vfs_OpenDir("/dev/sda1/3"), &g_vDir[0]);
    EXPECT_EQ(_vfs_OpenDir("/dev/sda1/4"), &g_vDir[1]);
    EXPECT_EQ(g_vDir[1].iDirNo, 4);
    EXPECT_EQ(g_vDir[1].iUsed, 1u);
    EXPECT_EQ(g_vDir[1].iCount, 2u);
    EXPECT_EQ(g_vDir[1].iNext, 0u);
    EXPECT_THAT(script.calls, ElementsAre("GetFileNum /dev/sda1/ 3", "BlockStat /dev/sda1/ 3 2",
                                          "GetFileNum /dev/sda1/ 4", "BlockStat /dev/sda1/ 4 2"));
    EXPECT_EQ(_vfs_CloseDir(&g_vDir[0]), 0);
    EXPECT_EQ(_vfs_OpenDir("/dev/sda1/5"), &g_vDir[0]);
}

TEST_F(DirectoriesTest, ADirectoryWithoutFilesDoesNotOpen) {
    for (const int32_t count : {0, -1}) {
        script.file_count = count;
        EXPECT_EQ(_vfs_OpenDir("/dev/sda1/3"), nullptr);
    }
    EXPECT_THAT(script.calls, ElementsAre("GetFileNum /dev/sda1/ 3", "GetFileNum /dev/sda1/ 3"));
    expect_all_free();
}

TEST_F(DirectoriesTest, AFailedBlockStatDoesNotOpen) {
    script.block_stat_result = -1;
    EXPECT_EQ(_vfs_OpenDir("/dev/sda1/3"), nullptr);
    expect_all_free();
}

TEST_F(DirectoriesTest, TheCountIsWhatBlockStatDelivered) {
    script.file_count = 5;
    script.block_stat_result = 1;
    void* const handle = _vfs_OpenDir("/dev/sda1/3");
    EXPECT_EQ(g_vDir[0].iCount, 1u);
    EXPECT_NE(_vfs_ReadDir(handle), nullptr);
    EXPECT_EQ(_vfs_ReadDir(handle), nullptr);
}

TEST_F(DirectoriesTest, NothingDeliveredIsAnEmptyDirectory) {
    script.block_stat_result = 0;
    void* const handle = _vfs_OpenDir("/dev/sda1/3");
    EXPECT_EQ(handle, &g_vDir[0]);
    EXPECT_EQ(_vfs_ReadDir(handle), nullptr);
}

TEST_F(DirectoriesTest, A17thOpenFails) {
    for (vfs_directory& directory : g_vDir)
        ASSERT_EQ(_vfs_OpenDir("/dev/sda1/3"), &directory);
    EXPECT_EQ(_vfs_OpenDir("/dev/sda1/3"), nullptr);
    EXPECT_EQ(_vfs_CloseDir(&g_vDir[9]), 0);
    EXPECT_EQ(_vfs_OpenDir("/dev/sda1/3"), &g_vDir[9]);
}

// --- Reading and closing ---

TEST_F(DirectoriesTest, ReadGivesTheRecordsInOrderAndThenNullAgainAndAgain) {
    void* const handle = _vfs_OpenDir("/dev/sda1/3");
    const auto* const first = static_cast<const vfs_directory_record*>(_vfs_ReadDir(handle));
    const auto* const second = static_cast<const vfs_directory_record*>(_vfs_ReadDir(handle));
    ASSERT_NE(first, nullptr);
    ASSERT_EQ(second, first + 1);
    EXPECT_EQ(first->Bytes[0], 1);
    EXPECT_EQ(first->Bytes[231], 1);
    EXPECT_EQ(second->Bytes[0], 2);
    EXPECT_EQ(g_vDir[0].iNext, 2u);
    EXPECT_EQ(_vfs_ReadDir(handle), nullptr);
    EXPECT_EQ(_vfs_ReadDir(handle), nullptr);
    EXPECT_EQ(g_vDir[0].iNext, 2u);
}

TEST_F(DirectoriesTest, CloseFreesTheEntryAndClosingTwiceIsHarmless) {
    void* const handle = _vfs_OpenDir("/dev/sda1/3");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(_vfs_CloseDir(handle), 0);
        EXPECT_EQ(g_vDir[0].iDirNo, -1);
        EXPECT_EQ(g_vDir[0].iUsed, 0u);
        EXPECT_EQ(g_vDir[0].iCount, 0u);
        EXPECT_EQ(g_vDir[0].iNext, 0u);
        EXPECT_EQ(g_vDir[0].pRecords, nullptr);
    }
    EXPECT_EQ(_vfs_ReadDir(handle), nullptr);
}

TEST_F(DirectoriesTest, NoEntrysLockStaysHeld) {
    void* const handle = _vfs_OpenDir("/dev/sda1/3");
    _vfs_ReadDir(handle);
    for (vfs_directory& directory : g_vDir) {
        EXPECT_EQ(pthread_mutex_trylock(&directory.tLock), 0);
        pthread_mutex_unlock(&directory.tLock);
    }
}

} // namespace
