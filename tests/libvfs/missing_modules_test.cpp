// The layer where a module's library is missing. Every test runs in a child process, because a process never forgets
// a library that it has once found in ./lib, whatever its working directory becomes.
#include "libvfs/vfs.h"
#include "tests/support/scratch.hpp"

#include <gmock/gmock.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Starts with nothing in ./lib of an own working directory.
class MissingModulesTest : public ::testing::Test {
protected:
    MissingModulesTest() {
        std::filesystem::create_directory(folder.path() / "lib");
        std::filesystem::create_directory(folder.path() / "dev");
        plain_file = folder.write_text("x", "abc");
        disk_file = folder.write_text("dev/x", "abc");
    }

    void provide(const std::string& library) const {
        std::filesystem::copy(std::filesystem::path(MODULE_FOLDER) / library,
                              folder.path() / "lib" / library);
    }

    // Runs the expectations in a child process after vfs_Init; their failures are printed there and counted here.
    void after_init(const std::function<void()>& expectations) const {
        const pid_t child = fork();
        if (child == 0) {
            if (chdir(folder.path().c_str()) != 0)
                _exit(1);
            vfs_Init();
            expectations();
            std::fflush(stdout);
            _exit(HasFailure() ? 1 : 0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
    }

    scratch::folder folder;
    std::string plain_file;
    std::string disk_file;
    vfs_stat_record record = {};
    vfs_times times = {1, 2};
    vfs_scan_entry** list = nullptr;
};

TEST_F(MissingModulesTest, WithoutModule1OnlyItsPathsFail) {
    provide("libznfs.so");
    after_init([this] {
        EXPECT_EQ(g_handle, nullptr);
        EXPECT_EQ(g_stvfsmnt.iMntNum, 2u);
        EXPECT_EQ(g_stvfsmnt.Entries[0].iState, 1u);
        EXPECT_EQ(g_stvfsmnt.Entries[1].iState, 0u);
        EXPECT_STREQ(g_stvfsmnt.Entries[1].cName, "libsznfs.so");
        EXPECT_EQ(g_stvfsmnt.Entries[1].Operations.iIndex, 1u);

        EXPECT_EQ(vfs_Open(0, plain_file.c_str(), 0), 0);
        EXPECT_EQ(vfs_fopen(0, plain_file.c_str(), "rb"), nullptr);
        EXPECT_EQ(vfs_Stat(plain_file.c_str(), &record), -1);
        EXPECT_EQ(vfs_Rename(plain_file.c_str(), plain_file.c_str()), -1);
        EXPECT_EQ(vfs_Rename(plain_file.c_str(), disk_file.c_str()), -1);

        EXPECT_EQ(vfs_Open(0, disk_file.c_str(), 0), 1);
        EXPECT_EQ(vfs_Stat(disk_file.c_str(), &record), 0);
        EXPECT_EQ(vfs_Open(9, plain_file.c_str(), 0), 2) << "the selector sends it to module 0";
    });
}

TEST_F(MissingModulesTest, WithoutModule0ItsPathsDoNotFallBackToModule1) {
    provide("libsznfs.so");
    after_init([this] {
        EXPECT_NE(g_handle, nullptr);
        EXPECT_EQ(g_stvfsmnt.Entries[0].iState, 0u);
        EXPECT_EQ(g_stvfsmnt.Entries[0].Operations.Rename, nullptr);
        EXPECT_EQ(g_stvfsmnt.Entries[1].iState, 1u);

        EXPECT_EQ(vfs_Open(0, disk_file.c_str(), 0), 0);
        EXPECT_EQ(vfs_Open(1, plain_file.c_str(), 0), 0);
        EXPECT_EQ(vfs_Stat(disk_file.c_str(), &record), -1);
        EXPECT_EQ(vfs_Rename("/dev/a/123456789012345678901N", "/dev/a/123456789012345678901L"), -1);
        EXPECT_EQ(vfs_OpenDir("/dev/sda1/3"), nullptr);
        EXPECT_EQ(vfs_ScanDir("/dev/sda1", &list), -1);
        int32_t handle_of_0 = 3;
        EXPECT_EQ(vfs_ReadDir(&handle_of_0), nullptr);
        EXPECT_EQ(vfs_CloseDir(&handle_of_0), -1);

        EXPECT_EQ(vfs_Open(0, plain_file.c_str(), 0), 1);
    });
}

TEST_F(MissingModulesTest, WithoutAnyModuleEveryOperationFailsQuietly) {
    after_init([this] {
        EXPECT_EQ(g_handle, nullptr);
        EXPECT_EQ(g_stvfsmnt.Entries[0].iState, 0u);
        EXPECT_EQ(g_stvfsmnt.Entries[1].iState, 0u);
        for (const std::string& path : {plain_file, disk_file}) {
            EXPECT_EQ(vfs_Open(0, path.c_str(), 0), 0);
            EXPECT_EQ(vfs_fopen(0, path.c_str(), "r"), nullptr);
            EXPECT_EQ(vfs_Stat(path.c_str(), &record), -1);
            EXPECT_EQ(vfs_Unlink(path.c_str()), -1);
            EXPECT_EQ(vfs_Statfs(path.c_str(), nullptr), -1);
            EXPECT_EQ(vfs_Format(path.c_str()), -1);
            EXPECT_EQ(vfs_utimes(path.c_str(), &times), -1);
            EXPECT_EQ(vfs_SetUsrParam(path.c_str(), 1, 1), -1);
            EXPECT_EQ(vfs_Rename(path.c_str(), path.c_str()), -1);
            EXPECT_EQ(vfs_OpenDir(path.c_str()), nullptr);
            EXPECT_EQ(vfs_ScanDir(path.c_str(), &list), -1);
        }
        int32_t handle_of_1 = -1;
        EXPECT_EQ(vfs_ReadDir(&handle_of_1), nullptr);
        EXPECT_EQ(vfs_CloseDir(&handle_of_1), -1);
        EXPECT_EQ(vfs_DeInit(), 0);
    });
    EXPECT_TRUE(std::filesystem::exists(plain_file));
}

// The three specials call module 0 directly, by the program's own link to it.
TEST_F(MissingModulesTest, TheSpecialsOfModule0NeedNoMountEntry) {
    provide("libsznfs.so");
    after_init([this] {
        EXPECT_EQ(vfs_ChangeRecType(plain_file.c_str(), 1, 0), 0);
        EXPECT_EQ(vfs_ChangeCreateTime(plain_file.c_str(), 5), -1) << "no recording";
        EXPECT_EQ(vfs_ChangeRecType(folder.file("missing").c_str(), 1, 0), -1);
    });
}

TEST_F(MissingModulesTest, ALibraryThatIsNoLibraryIsNotLoaded) {
    folder.write_text("lib/libznfs.so", "not a library");
    provide("libsznfs.so");
    after_init([] {
        EXPECT_EQ(g_stvfsmnt.Entries[0].iState, 0u);
        EXPECT_EQ(g_stvfsmnt.Entries[1].iState, 1u);
    });
}

} // namespace
