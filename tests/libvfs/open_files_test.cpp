#include "tests/libvfs/layer_test.hpp"

#include <cstdio>
#include <fcntl.h>
#include <sys/resource.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class OpenFilesTest : public LayerTest {
protected:
    // Opens a new file of module 1 that holds `content`, with an empty log behind it.
    int32_t open_plain(const std::string& content, int32_t flags = O_RDWR) {
        const auto path = write_plain(std::string("file") + std::to_string(++files), content);
        const int32_t fd = vfs_Open(0, path.c_str(), flags);
        module_probe::reset();
        return fd;
    }
    int32_t open_disk(const std::string& content) {
        const auto path = write_disk(std::string("file") + std::to_string(++files), content);
        const int32_t fd = vfs_Open(0, path.c_str(), O_RDWR);
        module_probe::reset();
        return fd;
    }

    int files = 0;
};

void allow_many_host_files() {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

void expect_free(const vfs_file& entry) {
    EXPECT_EQ(entry.iFd, 0);
    EXPECT_EQ(entry.iMdlFd, 0);
    EXPECT_EQ(entry.pMdlOps, nullptr);
}

// --- Opening ---

TEST_F(OpenFilesTest, TheTableHas1025EntriesOfDescriptorNumberAndOperations) {
    EXPECT_EQ(std::size(g_stvfile), 1025u);
    EXPECT_EQ(offsetof(vfs_file, iMdlFd), 4u);
    EXPECT_EQ(offsetof(vfs_file, pMdlOps), 8u);
}

TEST_F(OpenFilesTest, OpenRoutesByPathAndPassesSelectorAndFlagsOn) {
    const auto plain_file = write_plain("x", "abc");
    const auto disk_file = write_disk("x", "abc");
    EXPECT_EQ(vfs_Open(0, plain_file.c_str(), 2), 1);
    EXPECT_EQ(vfs_Open(0, disk_file.c_str(), 0), 2);
    EXPECT_EQ(vfs_Open(-7, plain_file.c_str(), 0), 3);
    EXPECT_THAT(module_probe::calls(), ElementsAre(open_call("sznfs_Open", 0, plain_file, "2) = 3"),
                                                   open_call("znfs_Open", 0, disk_file, "0) = 3"),
                                                   open_call("znfs_Open", -7, plain_file, "0) = 4")));
}

TEST_F(OpenFilesTest, AnOpenEntryHoldsDescriptorModuleNumberAndOperations) {
    const auto path = write_disk("x", "abc");
    const auto other = write_plain("y", "abc");
    vfs_Open(0, other.c_str(), 0);
    ASSERT_EQ(vfs_Open(0, path.c_str(), 0), 2);
    EXPECT_EQ(g_stvfile[2].iFd, 2);
    EXPECT_EQ(g_stvfile[2].iMdlFd, 3);
    EXPECT_EQ(g_stvfile[2].pMdlOps, &g_stvfsmnt.Entries[0].Operations);
    EXPECT_EQ(g_stvfile[1].pMdlOps, &g_stvfsmnt.Entries[1].Operations);
    EXPECT_EQ(g_stvfile[2].pMdlOps->iIndex, 0u);
}

TEST_F(OpenFilesTest, TheLowestFreeDescriptorIsGivenFirst) {
    const auto path = write_plain("x", "abc");
    EXPECT_EQ(vfs_Open(0, path.c_str(), 0), 1);
    EXPECT_EQ(vfs_Open(0, path.c_str(), 0), 2);
    EXPECT_EQ(vfs_Open(0, path.c_str(), 0), 3);
    EXPECT_EQ(vfs_Close(1), 0);
    EXPECT_EQ(vfs_Open(0, path.c_str(), 0), 1);
    EXPECT_EQ(vfs_Open(0, path.c_str(), 0), 4);
}

TEST_F(OpenFilesTest, NullPathWithSelector0FailsWithoutACall) {
    EXPECT_EQ(vfs_Open(0, nullptr, 0), -1);
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

TEST_F(OpenFilesTest, NullPathWithASelectorIsModule0sBusiness) {
    EXPECT_EQ(vfs_Open(1, nullptr, 0), -1);
    EXPECT_THAT(module_probe::calls(), ElementsAre("znfs_Open(1, null, 0) = -1"));
    expect_free(g_stvfile[1]);
}

TEST_F(OpenFilesTest, AFailedOpenGivesMinus1WhateverTheModuleSaidAndFreesTheEntry) {
    const auto path = write_plain("x", "abc");
    module_probe::fail("Open", 1, -5);
    EXPECT_EQ(vfs_Open(0, path.c_str(), 0), -1);
    expect_free(g_stvfile[1]);
    EXPECT_EQ(vfs_Open(0, path.c_str(), 0), 1);
}

TEST_F(OpenFilesTest, ModuleNumber0IsAGoodOpen) {
    module_probe::fail("Open", 1, 0);
    EXPECT_EQ(vfs_Open(0, "/tmp/x", 0), 1);
    EXPECT_EQ(g_stvfile[1].iMdlFd, 0);
    EXPECT_EQ(iIsValidFd(1), 0);
    module_probe::fail("Close", 1, 0);
    EXPECT_EQ(vfs_Close(1), 0);
    EXPECT_EQ(module_probe::calls().back(), "sznfs_Close(0) = 0");
}

TEST_F(OpenFilesTest, AModuleThatIsNotLoadedGives0AndLeavesTheTableAlone) {
    const auto path = write_plain("x", "abc");
    for (const uint32_t state : {0u, 2u}) {
        g_stvfsmnt.Entries[1].iState = state;
        EXPECT_EQ(vfs_Open(0, path.c_str(), 0), 0);
        expect_free(g_stvfile[1]);
    }
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

TEST_F(OpenFilesTest, A1025thOpenFailsWithoutACallAndChangesNoEntry) {
    allow_many_host_files();
    const auto path = write_plain("x", "abc");
    for (int32_t fd = 1; fd <= 1024; ++fd)
        ASSERT_EQ(vfs_Open(0, path.c_str(), 0), fd);
    module_probe::reset();
    EXPECT_EQ(vfs_Open(0, path.c_str(), 0), -1);
    EXPECT_EQ(vfs_fopen(0, path.c_str(), "r"), nullptr);
    EXPECT_THAT(module_probe::calls(), IsEmpty());
    for (int32_t fd = 1; fd <= 1024; ++fd) {
        EXPECT_EQ(g_stvfile[fd].iFd, fd);
        EXPECT_EQ(g_stvfile[fd].iMdlFd, fd + 2);
    }
    expect_free(g_stvfile[0]);

    EXPECT_EQ(vfs_Close(1024), 0);
    EXPECT_EQ(vfs_Open(0, path.c_str(), 0), 1024);
}

// --- Descriptor calls ---

TEST_F(OpenFilesTest, EveryDescriptorCallReachesTheModuleWithTheModulesOwnNumber) {
    open_disk("other");
    const int32_t fd = open_plain("hello world");
    ASSERT_EQ(fd, 2);
    char buffer[16] = {};
    EXPECT_EQ(vfs_Read(fd, buffer, 5), 5);
    EXPECT_STREQ(buffer, "hello");
    EXPECT_EQ(vfs_Write(fd, "XY", 2), 2);
    EXPECT_EQ(vfs_Seek(fd, -1, SEEK_CUR), 6);
    EXPECT_EQ(vfs_Tell(fd), 6);
    EXPECT_EQ(vfs_Eof(fd), 0);
    EXPECT_EQ(vfs_fsync(fd), 0);
    EXPECT_EQ(vfs_error(fd), 0);
    EXPECT_EQ(vfs_ftruncate(fd, 0x100000001), 0);
    EXPECT_EQ(vfs_fcntl(fd, 77, 5), -1);
    EXPECT_EQ(vfs_Close(fd), 0);
    EXPECT_THAT(module_probe::calls(),
                ElementsAre("sznfs_Read(3, 5) = 5", "sznfs_Write(3, 2) = 2", "sznfs_Seek(3, -1, 1) = 6",
                            "sznfs_Tell(3) = 6", "sznfs_Eof(3) = 0", "sznfs_fsync(3) = 0",
                            "sznfs_error(3) = 0", "sznfs_ftruncate(3, 4294967297) = 0",
                            "sznfs_fcntl(3, 77, 5) = -1", "sznfs_Close(3) = 0"));
}

TEST_F(OpenFilesTest, ResultsOfTheModuleArePassedOnUnchanged) {
    const int32_t fd = open_plain("hello");
    char buffer[16] = {};
    for (const char* operation :
         {"Read", "Write", "Tell", "Eof", "fsync", "error", "fcntl", "ftruncate", "Close"})
        module_probe::fail(operation, 1, -1234);
    EXPECT_EQ(vfs_Read(fd, buffer, 1), -1234);
    EXPECT_EQ(vfs_Write(fd, buffer, 1), -1234);
    EXPECT_EQ(vfs_Tell(fd), -1234);
    EXPECT_EQ(vfs_Eof(fd), -1234);
    EXPECT_EQ(vfs_fsync(fd), -1234);
    EXPECT_EQ(vfs_error(fd), -1234);
    EXPECT_EQ(vfs_fcntl(fd, 1, 1), -1234);
    EXPECT_EQ(vfs_ftruncate(fd, 1), -1234);
    EXPECT_EQ(vfs_Close(fd), -1234);
    module_probe::fail("Seek", 1, -0x500000000);
    EXPECT_EQ(vfs_Seek(fd, 0, SEEK_SET), -0x500000000);
}

TEST_F(OpenFilesTest, TheSeekOffsetIsWidenedWithItsSign) {
    const int32_t fd = open_plain("hello");
    EXPECT_EQ(vfs_Seek(fd, INT32_MAX, SEEK_SET), 0x7FFFFFFF);
    EXPECT_EQ(vfs_Seek(fd, INT32_MAX, SEEK_CUR), 0xFFFFFFFE) << "64-bit result";
    EXPECT_EQ(vfs_Seek(fd, INT32_MIN, SEEK_CUR), 0x7FFFFFFE);
    EXPECT_EQ(module_probe::calls().back(), "sznfs_Seek(3, -2147483648, 1) = 2147483646");
}

TEST_F(OpenFilesTest, FcntlOfModule0IsTheLayersOwnAndGives1) {
    const int32_t fd = open_disk("hello");
    EXPECT_EQ(vfs_fcntl(fd, 3, 4), 1);
    EXPECT_EQ(_vfs_fcntl(-1, 0, 0), 1);
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

TEST_F(OpenFilesTest, ABadDescriptorGivesMinus1WithoutACall) {
    open_plain("hello");
    char buffer[4];
    for (const int32_t fd : {0, -1, 2, 1024, 1025, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(vfs_Read(fd, buffer, 4), -1);
        EXPECT_EQ(vfs_Write(fd, buffer, 4), -1);
        EXPECT_EQ(vfs_Seek(fd, 0, SEEK_SET), int64_t{-1});
        EXPECT_EQ(vfs_Tell(fd), -1);
        EXPECT_EQ(vfs_Eof(fd), -1);
        EXPECT_EQ(vfs_fsync(fd), -1);
        EXPECT_EQ(vfs_error(fd), -1);
        EXPECT_EQ(vfs_fcntl(fd, 0, 0), -1);
        EXPECT_EQ(vfs_ftruncate(fd, 0), -1);
        EXPECT_EQ(vfs_Close(fd), -1);
        EXPECT_EQ(vfs_UpdataePreRecPtr(fd, 1, 2), -1);
        EXPECT_EQ(iIsValidFd(fd), -1);
    }
    EXPECT_THAT(module_probe::calls(), IsEmpty());
}

TEST_F(OpenFilesTest, TheHighestDescriptorIsServed) {
    allow_many_host_files();
    const auto path = write_plain("x", "abc");
    for (int32_t fd = 1; fd <= 1024; ++fd)
        ASSERT_EQ(vfs_Open(0, path.c_str(), 0), fd);
    char buffer[4];
    EXPECT_EQ(vfs_Read(1024, buffer, 4), 3);
    EXPECT_EQ(vfs_Read(1025, buffer, 4), -1);
}

// --- Closing ---

TEST_F(OpenFilesTest, CloseFreesTheEntry) {
    const int32_t fd = open_plain("hello");
    EXPECT_EQ(iIsValidFd(fd), 0);
    EXPECT_EQ(vfs_Close(fd), 0);
    EXPECT_EQ(iIsValidFd(fd), -1);
    expect_free(g_stvfile[fd]);
    EXPECT_EQ(vfs_Close(fd), -1);
    EXPECT_THAT(module_probe::calls(), ElementsAre("sznfs_Close(3) = 0"));
}

TEST_F(OpenFilesTest, AFailedCloseKeepsTheDescriptorOpen) {
    const int32_t fd = open_plain("hello");
    for (const int32_t result : {-1, 5}) {
        module_probe::fail("Close", 1, result);
        EXPECT_EQ(vfs_Close(fd), result);
        EXPECT_EQ(iIsValidFd(fd), 0);
        EXPECT_EQ(g_stvfile[fd].iFd, fd);
    }
    char buffer[5];
    EXPECT_EQ(vfs_Read(fd, buffer, 5), 5);
    EXPECT_EQ(vfs_Close(fd), 0);
    EXPECT_EQ(iIsValidFd(fd), -1);
}

TEST_F(OpenFilesTest, NoHostDescriptorIsLeftBehind) {
    const int before = scratch::open_descriptors();
    const auto path = write_plain("x", "abc");
    vfs_Open(0, path.c_str(), 0);
    vfs_Open(0, plain("missing").c_str(), 0);
    vfs_Open(0, folder.path().c_str(), 0);
    EXPECT_EQ(scratch::open_descriptors(), before + 1);
    vfs_Close(1);
    EXPECT_EQ(scratch::open_descriptors(), before);
}

TEST_F(OpenFilesTest, TheLockIsFreeDuringAndAfterEveryCall) {
    const int32_t fd = open_plain("hello");
    char buffer[4];
    vfs_Read(fd, buffer, 1);
    vfs_Read(0, buffer, 1);
    vfs_Close(fd);
    iIsValidFd(fd);
    EXPECT_EQ(pthread_mutex_trylock(&vfs_fd_tLock), 0);
    pthread_mutex_unlock(&vfs_fd_tLock);
}

} // namespace
