// The layer over modules that sleep and refuse, started anew for every test; nothing may be open or misdirected behind it.
#pragma once

#include "libvfs/vfs.h"
#include "tests/fakes/restless_module.hpp"
#include "tests/support/crowd.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

class ThreadsAtTheLimitTest : public testing::Test {
protected:
    static constexpr int thread_count = 8;

    void SetUp() override {
        restless_module::reset();
        vfs_Init();
    }

    void TearDown() override {
        EXPECT_EQ(open_descriptors(), 0);
        EXPECT_EQ(restless_module::open_files(), 0);
        EXPECT_EQ(restless_module::misdirected_calls(), 0);
    }

    // The file of that number; module 0 serves the odd ones.
    static std::string file(uint32_t number) {
        return (number % 2 != 0 ? "/dev/sda1/" : "/mnt/") + std::to_string(number);
    }
    static int32_t open(uint32_t number) { return vfs_Open(0, file(number).c_str(), 0); }

    // Whether this is a descriptor of the file of that number.
    static bool is_of(int32_t fd, uint32_t number) {
        uint32_t found = 0;
        return vfs_Read(fd, &found, sizeof found) == static_cast<int32_t>(sizeof found) && found == number;
    }

    static int open_descriptors() {
        int count = 0;
        for (int32_t fd = 1; fd <= VFS_MAX_FILES; ++fd)
            count += iIsValidFd(fd) == 0;
        return count;
    }

    // Opens so many files, which get the descriptors from 1 on.
    static void open_first(int32_t count) {
        for (int32_t fd = 1; fd <= count; ++fd)
            ASSERT_EQ(open(static_cast<uint32_t>(fd)), fd);
    }
    static void close_all() {
        for (int32_t fd = 1; fd <= VFS_MAX_FILES; ++fd)
            vfs_Close(fd);
    }
};
