// What the layer asks of the dynamic loader at start. The loader's two functions are replaced for this program (see
// its link options), so no module is ever opened.
#include "libvfs/vfs.h"

#include <gmock/gmock.h>

#include <dlfcn.h>
#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;

std::vector<std::string> requests;
std::string library_that_is_missing;
char loaded_library; // its address stands for a library's handle

} // namespace

extern "C" {

void* __wrap_dlopen(const char* library, int flags);
void* __wrap_dlsym(void* handle, const char* symbol);
void* __wrap___dlsym_time64(void* handle, const char* symbol);

void* __wrap_dlopen(const char* library, int flags) {
    requests.push_back(std::string(library) + " " + std::to_string(flags));
    return library == library_that_is_missing ? nullptr : &loaded_library;
}

void* __wrap_dlsym(void* handle, const char* symbol) {
    requests.push_back(handle == &loaded_library ? symbol : "unknown handle");
    return nullptr;
}

// The name that a libc may give dlsym where time_t has 64 bits on a 32-bit machine.
void* __wrap___dlsym_time64(void* handle, const char* symbol) {
    return __wrap_dlsym(handle, symbol);
}

} // extern "C"

namespace {

class LookupOrderTest : public ::testing::Test {
protected:
    LookupOrderTest() {
        requests.clear();
        library_that_is_missing.clear();
    }
};

TEST_F(LookupOrderTest, BothModulesAreOpenedAndSearchedInAFixedOrder) {
    vfs_Init();
    EXPECT_THAT(requests,
                ElementsAre("./lib/libznfs.so 2", "znfs_Open", "znfs_Read", "znfs_Seek", "znfs_Close",
                            "znfs_Eof", "znfs_SetUsrParam", "znfs_Stat", "znfs_Tell", "znfs_Unlink",
                            "znfs_ChangeTime", "znfs_Write", "znfs_fsync", "znfs_ftruncate", "znfs_Statfs",
                            "znfs_Format", "znfs_error", "./lib/libsznfs.so 2", "sznfs_Open", "sznfs_Read",
                            "sznfs_Rename", "sznfs_fcntl", "sznfs_Seek", "sznfs_Close", "sznfs_Eof",
                            "sznfs_SetUsrParam", "sznfs_Stat", "sznfs_Tell", "sznfs_Unlink",
                            "sznfs_ChangeTime", "sznfs_Write", "sznfs_fsync", "sznfs_ftruncate",
                            "sznfs_Statfs", "sznfs_Format", "sznfs_error", "sznfs_ScanDir", "sznfs_OpenDir",
                            "sznfs_CloseDir"));
}

TEST_F(LookupOrderTest, SymbolsThatAreNotFoundDoNotKeepAModuleFromBeingLoaded) {
    vfs_Init();
    EXPECT_EQ(g_stvfsmnt.Entries[0].iState, 1u);
    EXPECT_EQ(g_stvfsmnt.Entries[1].iState, 1u);
    EXPECT_EQ(g_stvfsmnt.Entries[0].Operations.Open, nullptr);
    EXPECT_EQ(g_stvfsmnt.Entries[0].Operations.Rename, _vfs_rename);
    EXPECT_EQ(g_stvfsmnt.Entries[1].Operations.Rename, nullptr);
    EXPECT_EQ(g_handle, &loaded_library);
}

TEST_F(LookupOrderTest, NothingIsSearchedInALibraryThatCannotBeOpened) {
    library_that_is_missing = "./lib/libsznfs.so";
    vfs_Init();
    EXPECT_EQ(requests.back(), "./lib/libsznfs.so 2");
    EXPECT_EQ(g_handle, nullptr);
    EXPECT_EQ(g_stvfsmnt.Entries[0].iState, 1u);
    EXPECT_EQ(g_stvfsmnt.Entries[1].iState, 0u);
}

TEST_F(LookupOrderTest, AMissingFirstModuleDoesNotKeepTheSecondFromBeingLoaded) {
    library_that_is_missing = "./lib/libznfs.so";
    vfs_Init();
    ASSERT_GE(requests.size(), 3u);
    EXPECT_EQ(requests[0], "./lib/libznfs.so 2");
    EXPECT_EQ(requests[1], "./lib/libsznfs.so 2");
    EXPECT_EQ(requests[2], "sznfs_Open");
    EXPECT_EQ(g_handle, &loaded_library);
    EXPECT_EQ(g_stvfsmnt.Entries[0].iState, 0u);
    EXPECT_EQ(g_stvfsmnt.Entries[1].iState, 1u);
}

} // namespace
