// What the host is asked about a recording, and answers that it gives when somebody else is at work on the same path.
#include "scan/file_source.hpp"
#include "tests/support/scratch.hpp"

#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <vector>

namespace {

struct advice {
    off_t offset, length;
    int what;
    bool operator==(const advice&) const = default;
};

int fails_with = 0;         // errno of every fstat
bool became_a_pipe = false; // since its path was looked at
bool was_a_file = false;    // when its path was looked at
std::vector<advice> advised;

} // namespace

// The linker leads the library's calls here.
extern "C" int __real_fstat64(int descriptor, struct stat* into);
extern "C" int __wrap_fstat64(int descriptor, struct stat* into) {
    if (fails_with != 0) {
        errno = fails_with;
        return -1;
    }
    const int result = __real_fstat64(descriptor, into);
    if (became_a_pipe)
        into->st_mode = S_IFIFO | 0600;
    return result;
}

extern "C" int __real_stat64(const char* path, struct stat* into);
extern "C" int __wrap_stat64(const char* path, struct stat* into) {
    const int result = __real_stat64(path, into);
    if (was_a_file)
        into->st_mode = S_IFREG | 0600;
    return result;
}

extern "C" int __wrap_posix_fadvise64(int /*descriptor*/, off_t offset, off_t length, int what) {
    advised.push_back({offset, length, what});
    return 0;
}

namespace {

namespace scan = kmr::scan;

class HostCallsTest : public testing::Test {
protected:
    ~HostCallsTest() override {
        fails_with = 0;
        became_a_pipe = false;
        was_a_file = false;
        advised.clear();
    }
    scratch::folder folder_;
};

TEST_F(HostCallsTest, WhatIsNoFileAnyMoreIsRefused) {
    const std::string path = folder_.write("a", {5, 6, 7});
    const int before = scratch::open_descriptors();
    became_a_pipe = true;
    const auto opened = scan::file_source::open(path.c_str());
    EXPECT_EQ(opened.status, scan::open_status::not_a_file);
    EXPECT_EQ(opened.error, 0);
    EXPECT_EQ(opened.source, nullptr);
    EXPECT_EQ(scratch::open_descriptors(), before);
}

// Nobody will ever write to it: an open that waited would wait for ever.
TEST_F(HostCallsTest, APipeThatTookAFilesPlaceIsNotWaitedFor) {
    const std::string path = folder_.file("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    was_a_file = true;
    EXPECT_EQ(scan::file_source::open(path.c_str()).status, scan::open_status::not_a_file);
}

TEST_F(HostCallsTest, WhatTheHostKnowsNothingOfIsRefused) {
    const std::string path = folder_.write("a", {5, 6, 7});
    const int before = scratch::open_descriptors();
    fails_with = EIO;
    const auto opened = scan::file_source::open(path.c_str());
    EXPECT_EQ(opened.status, scan::open_status::failed);
    EXPECT_EQ(opened.error, EIO);
    EXPECT_EQ(opened.source, nullptr);
    EXPECT_EQ(scratch::open_descriptors(), before);
}

// A short one is read in advance anyway.
TEST_F(HostCallsTest, ALongFileIsSaidToBeReadFromEndToEnd) {
    const std::string path = folder_.write("short", recording::bytes(131'072, 1));
    ASSERT_EQ(scan::file_source::open(path.c_str()).status, scan::open_status::opened);
    EXPECT_THAT(advised, testing::IsEmpty());
    const std::string long_path = folder_.write("long", recording::bytes(131'073, 1));
    ASSERT_EQ(scan::file_source::open(long_path.c_str()).status, scan::open_status::opened);
    EXPECT_THAT(advised, testing::ElementsAre(advice{0, 0, POSIX_FADV_SEQUENTIAL}));
}

} // namespace
