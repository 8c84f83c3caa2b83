#include "tests/libvfs/layer_test.hpp"

#include <cstring>
#include <dlfcn.h>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MountTableTest : public LayerTest {};

// The slots as addresses, slot 1 first.
std::vector<const void*> slots_of(const vfs_module_operations& operations) {
    std::vector<const void*> slots(22);
    std::memcpy(slots.data(), reinterpret_cast<const char*>(&operations) + sizeof(void*), sizeof(void*) * 22);
    return slots;
}

template <typename Function>
const void* address(Function* function) {
    return reinterpret_cast<const void*>(function);
}

const void* symbol(const char* library, const char* name) {
    void* const handle = dlopen(library, RTLD_NOW);
    return handle == nullptr ? nullptr : dlsym(handle, name);
}

const void* of_0(const char* name) {
    return symbol("./lib/libznfs.so", name);
}
const void* of_1(const char* name) {
    return symbol("./lib/libsznfs.so", name);
}

TEST_F(MountTableTest, NamesTheTwoLibrariesInZeroFilledFields) {
    const char expected[2][32] = {"libznfs.so", "libsznfs.so"};
    EXPECT_EQ(sizeof g_cSoName, 64u);
    EXPECT_EQ(std::memcmp(g_cSoName, expected, sizeof expected), 0);
}

TEST_F(MountTableTest, HoldsTwoLoadedEntriesAfterInit) {
    EXPECT_EQ(g_stvfsmnt.iMntNum, 2u);
    for (uint32_t module = 0; module < 2; ++module) {
        const vfs_mount_entry& entry = g_stvfsmnt.Entries[module];
        EXPECT_EQ(entry.iState, 1u);
        EXPECT_EQ(std::memcmp(entry.cName, g_cSoName[module], sizeof entry.cName), 0);
        EXPECT_EQ(entry.Operations.iIndex, module);
    }
}

TEST_F(MountTableTest, InitReturnsZero) {
    EXPECT_EQ(vfs_Init(), 0);
}

TEST_F(MountTableTest, InitCallsNoModule) {
    vfs_Init();
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

TEST_F(MountTableTest, FillsTheSlotsOfModule0) {
    EXPECT_THAT(slots_of(g_stvfsmnt.Entries[0].Operations),
                ElementsAre(of_0("znfs_Open"), of_0("znfs_Read"), of_0("znfs_Write"), of_0("znfs_Seek"),
                            of_0("znfs_Tell"), of_0("znfs_Eof"), of_0("znfs_Close"), of_0("znfs_Unlink"),
                            of_0("znfs_Stat"), address(_vfs_rename), of_0("znfs_ChangeTime"),
                            of_0("znfs_SetUsrParam"), of_0("znfs_fsync"), address(_vfs_fcntl),
                            of_0("znfs_ftruncate"), of_0("znfs_Format"), of_0("znfs_Statfs"),
                            address(_vfs_ScanDir), address(_vfs_OpenDir), address(_vfs_ReadDir),
                            address(_vfs_CloseDir), of_0("znfs_error")));
}

TEST_F(MountTableTest, FillsTheSlotsOfModule1ExceptReadDir) {
    ASSERT_NE(of_1("sznfs_ReadDir"), nullptr) << "the module exports it, and it must not be taken";
    EXPECT_THAT(slots_of(g_stvfsmnt.Entries[1].Operations),
                ElementsAre(of_1("sznfs_Open"), of_1("sznfs_Read"), of_1("sznfs_Write"), of_1("sznfs_Seek"),
                            of_1("sznfs_Tell"), of_1("sznfs_Eof"), of_1("sznfs_Close"), of_1("sznfs_Unlink"),
                            of_1("sznfs_Stat"), of_1("sznfs_Rename"), of_1("sznfs_ChangeTime"),
                            of_1("sznfs_SetUsrParam"), of_1("sznfs_fsync"), of_1("sznfs_fcntl"),
                            of_1("sznfs_ftruncate"), of_1("sznfs_Format"), of_1("sznfs_Statfs"),
                            of_1("sznfs_ScanDir"), of_1("sznfs_OpenDir"), nullptr, of_1("sznfs_CloseDir"),
                            of_1("sznfs_error")));
}

TEST_F(MountTableTest, KeepsTheHandleOfTheModuleLoadedLast) {
    void* const module_1 = dlopen("./lib/libsznfs.so", RTLD_NOW | RTLD_NOLOAD);
    EXPECT_NE(g_handle, nullptr);
    EXPECT_EQ(g_handle, module_1);
}

TEST_F(MountTableTest, InitMakesEveryDirectoryHandleFree) {
    for (vfs_directory& directory : g_vDir)
        directory.iDirNo = 7, directory.iUsed = 1, directory.iCount = 2, directory.iNext = 1;
    vfs_Init();
    for (vfs_directory& directory : g_vDir) {
        EXPECT_EQ(directory.iDirNo, -1);
        EXPECT_EQ(directory.iUsed, 0u);
        EXPECT_EQ(directory.iCount, 0u);
        EXPECT_EQ(directory.iNext, 0u);
        EXPECT_EQ(directory.pRecords, nullptr);
        EXPECT_EQ(pthread_mutex_trylock(&directory.tLock), 0);
        pthread_mutex_unlock(&directory.tLock);
    }
}

TEST_F(MountTableTest, InitClearsTheTableOfOpenFiles) {
    for (vfs_file& entry : g_stvfile)
        entry = {5, 6, &g_stvfsmnt.Entries[0].Operations};
    vfs_Init();
    for (const vfs_file& entry : g_stvfile) {
        EXPECT_EQ(entry.iFd, 0);
        EXPECT_EQ(entry.iMdlFd, 0);
        EXPECT_EQ(entry.pMdlOps, nullptr);
    }
}

TEST_F(MountTableTest, TheModuleOfAPathIsFoundByASubstring) {
    EXPECT_EQ(vfs_iCheckfs(nullptr), -1);
    EXPECT_EQ(vfs_iCheckfs("/dev/sda1/a"), 0);
    EXPECT_EQ(vfs_iCheckfs("/mnt/dev/x"), 0);
    EXPECT_EQ(vfs_iCheckfs("dev/x"), 1);
    EXPECT_EQ(vfs_iCheckfs("/dev"), 1);
    EXPECT_EQ(vfs_iCheckfs("/DEV/x"), 1);
    EXPECT_EQ(vfs_iCheckfs("/tmp/a"), 1);
    EXPECT_EQ(vfs_iCheckfs(""), 1);
}

TEST_F(MountTableTest, DeInitLeavesEverythingInPlace) {
    const auto path = write_plain("x", "abc");
    EXPECT_EQ(vfs_DeInit(), 0);
    EXPECT_EQ(g_stvfsmnt.Entries[0].iState, 1u);
    EXPECT_EQ(vfs_Open(0, path.c_str(), 0), 1);
}

TEST_F(MountTableTest, ASymbolThatTheModuleLacksLeavesItsSlotNull) {
    vfs_mount_entry entry = {};
    entry.Operations.iIndex = 1;
    std::strcpy(entry.cName, "libsparse.so");
    const scratch::working_directory sparse(SPARSE_MODULE_FOLDER);
    EXPECT_EQ(vfs_LoadInitMdl(&entry), 0);
    EXPECT_EQ(entry.iState, 1u);
    EXPECT_NE(entry.Operations.Open, nullptr);
    EXPECT_NE(entry.Operations.error, nullptr);
    EXPECT_EQ(entry.Operations.Read, nullptr);
    EXPECT_EQ(entry.Operations.Rename, nullptr);
    EXPECT_EQ(entry.Operations.ReadDir, nullptr) << "exported, and still not looked up";
    EXPECT_EQ(entry.Operations.CloseDir, nullptr);
}

TEST_F(MountTableTest, TheLayersOwnOperationsServeModule0WhateverTheLibraryExports) {
    vfs_mount_entry entry = {};
    std::strcpy(entry.cName, "libsparse.so");
    const scratch::working_directory sparse(SPARSE_MODULE_FOLDER);
    EXPECT_EQ(vfs_LoadInitMdl(&entry), 0);
    EXPECT_EQ(entry.Operations.Open, nullptr) << "the library has no znfs_Open";
    EXPECT_EQ(entry.Operations.Rename, _vfs_rename);
    EXPECT_EQ(entry.Operations.fcntl, _vfs_fcntl);
    EXPECT_EQ(entry.Operations.ScanDir, _vfs_ScanDir);
    EXPECT_EQ(entry.Operations.OpenDir, _vfs_OpenDir);
    EXPECT_EQ(entry.Operations.ReadDir, _vfs_ReadDir);
    EXPECT_EQ(entry.Operations.CloseDir, _vfs_CloseDir);
}

TEST_F(MountTableTest, ALibraryThatCannotBeOpenedLeavesTheEntryUnloaded) {
    vfs_mount_entry entry = {};
    std::strcpy(entry.cName, "libmissing.so");
    EXPECT_EQ(vfs_LoadInitMdl(&entry), -1);
    EXPECT_EQ(entry.iState, 0u);
    EXPECT_EQ(entry.Operations.Open, nullptr);
    EXPECT_EQ(entry.Operations.Rename, nullptr);
    EXPECT_EQ(g_handle, nullptr);
}

TEST_F(MountTableTest, BeforeInitEveryOperationFails) {
    g_stvfsmnt = {};
    const auto plain_file = write_plain("x", "abc");
    EXPECT_EQ(vfs_Open(0, plain_file.c_str(), 0), 0);
    EXPECT_EQ(vfs_Unlink(plain_file.c_str()), -1);
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

} // namespace
