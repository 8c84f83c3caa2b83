// Directories through the public calls, over both modules.
#include "tests/libvfs/layer_test.hpp"

#include <cstdlib>
#include <cstring>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DirectoryCallsTest : public LayerTest {
protected:
    DirectoryCallsTest() {
        folder.write_text("dev/sda1/3/b", "bb");
        folder.write_text("dev/sda1/3/a", "a");
        folder.write_text("dev/sda1/20/c", "c");
        module_probe::reset();
    }
    ~DirectoryCallsTest() override {
        for (vfs_directory& directory : g_vDir)
            _vfs_CloseDir(&directory);
    }
};

std::vector<std::string> names_of(vfs_scan_entry** list, int32_t count) {
    std::vector<std::string> names;
    for (int32_t i = 0; i < count; ++i) {
        names.emplace_back(list[i]->Name);
        std::free(list[i]);
    }
    std::free(list);
    return names;
}

TEST_F(DirectoryCallsTest, NullsFailWithoutACall) {
    vfs_scan_entry** list = nullptr;
    EXPECT_EQ(vfs_OpenDir(nullptr), nullptr);
    EXPECT_EQ(vfs_ReadDir(nullptr), nullptr);
    EXPECT_EQ(vfs_CloseDir(nullptr), -1);
    EXPECT_EQ(vfs_ScanDir(nullptr, &list), -1);
    EXPECT_EQ(_vfs_OpenDir(nullptr), nullptr);
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

TEST_F(DirectoryCallsTest, Module0ListsTheFilesOfANumber) {
    void* const handle = vfs_OpenDir(disk("sda1/3").c_str());
    ASSERT_EQ(handle, &g_vDir[0]);
    EXPECT_EQ(g_vDir[0].iDirNo, 3);
    EXPECT_EQ(g_vDir[0].iUsed, 1u);
    EXPECT_EQ(g_vDir[0].iCount, 2u);
    EXPECT_EQ(g_vDir[0].iNext, 0u);
    EXPECT_THAT(module_probe::calls(), ElementsAre(call("znfs_GetFileNum", disk("sda1/"), ", 3) = 2"),
                                                   call("znfs_BlockStat", disk("sda1/"), ", 3, 2) = 2")));

    const vfs_directory_record* const records = g_vDir[0].pRecords;
    EXPECT_EQ(vfs_ReadDir(handle), &records[0]);
    EXPECT_EQ(vfs_ReadDir(handle), &records[1]);
    EXPECT_EQ(vfs_ReadDir(handle), nullptr);
    EXPECT_EQ(vfs_ReadDir(handle), nullptr);
    EXPECT_EQ(vfs_CloseDir(handle), 0);
    EXPECT_EQ(g_vDir[0].iDirNo, -1);
    EXPECT_EQ(module_probe::count(), 2) << "reading and closing are the layer's own";
}

TEST_F(DirectoryCallsTest, Module0ScansItsBlocks) {
    vfs_scan_entry** list = nullptr;
    ASSERT_EQ(vfs_ScanDir(disk("sda1").c_str(), &list), 2);
    EXPECT_THAT(names_of(list, 2), ElementsAre(disk("sda1/3"), disk("sda1/20")));
    EXPECT_THAT(module_probe::calls(), ElementsAre(call("znfs_GetUsedBlockNum", disk("sda1"), ") = 2"),
                                                   call("znfs_GetBlockInfo", disk("sda1"), ", 2) = 2")));
}

TEST_F(DirectoryCallsTest, EveryScannedBlockOpens) {
    vfs_scan_entry** list = nullptr;
    ASSERT_EQ(vfs_ScanDir(disk("sda1").c_str(), &list), 2);
    for (const std::string& name : names_of(list, 2))
        EXPECT_NE(vfs_OpenDir(name.c_str()), nullptr) << name;
}

TEST_F(DirectoryCallsTest, Module1ListsWithItsOwnOperations) {
    write_plain("y", "");
    write_plain("x", "");
    vfs_scan_entry** list = nullptr;
    ASSERT_EQ(vfs_ScanDir(folder.path().c_str(), &list), 3);
    EXPECT_THAT(names_of(list, 3), ElementsAre("dev", "x", "y"));
    void* const handle = vfs_OpenDir(folder.path().c_str());
    ASSERT_NE(handle, nullptr);
    int32_t first_word = 0;
    std::memcpy(&first_word, handle, sizeof first_word);
    EXPECT_EQ(first_word, -1);
    EXPECT_EQ(vfs_CloseDir(handle), 0);
    EXPECT_THAT(module_probe::calls(),
                ElementsAre(call("sznfs_ScanDir", folder.path(), ") = 3"),
                            call("sznfs_OpenDir", folder.path(), ") = handle"), "sznfs_CloseDir() = 0"));
}

TEST_F(DirectoryCallsTest, TheFirstWordOfAHandleDecidesWhoClosesIt) {
    void* const handle = vfs_OpenDir(disk("sda1/3").c_str());
    ASSERT_EQ(vfs_CloseDir(handle), 0);
    module_probe::reset();
    EXPECT_EQ(vfs_CloseDir(handle), -1) << "a closed handle begins with -1, so it goes to module 1";
    EXPECT_THAT(module_probe::calls(), ElementsAre("sznfs_CloseDir() = -1"));
}

TEST_F(DirectoryCallsTest, ResultsOfModule1ArePassedOnUnchanged) {
    vfs_scan_entry** list = nullptr;
    int32_t handle_of_1 = -1;
    module_probe::fail("ScanDir", 1, -44);
    module_probe::fail("OpenDir", 1);
    module_probe::fail("CloseDir", 1, 55);
    EXPECT_EQ(vfs_ScanDir("/tmp", &list), -44);
    EXPECT_EQ(vfs_OpenDir("/tmp"), nullptr);
    EXPECT_EQ(vfs_CloseDir(&handle_of_1), 55);
}

TEST_F(DirectoryCallsTest, AModuleThatIsNotLoadedFailsWithoutACall) {
    vfs_scan_entry** list = nullptr;
    int32_t handle_of_0 = 3;
    int32_t handle_of_1 = -1;
    for (vfs_mount_entry& entry : g_stvfsmnt.Entries)
        entry.iState = 0;
    EXPECT_EQ(vfs_OpenDir("/tmp"), nullptr);
    EXPECT_EQ(vfs_OpenDir(disk("sda1/3").c_str()), nullptr);
    EXPECT_EQ(vfs_ReadDir(&handle_of_0), nullptr);
    EXPECT_EQ(vfs_ReadDir(&handle_of_1), nullptr);
    EXPECT_EQ(vfs_CloseDir(&handle_of_0), -1);
    EXPECT_EQ(vfs_CloseDir(&handle_of_1), -1);
    EXPECT_EQ(vfs_ScanDir("/tmp", &list), -1);
    EXPECT_EQ(vfs_ScanDir(disk("sda1").c_str(), &list), -1);
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

} // namespace
