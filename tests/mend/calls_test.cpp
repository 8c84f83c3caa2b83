// The machine's own files, whose calls are refused, interrupted and done by half.
#include "mend/plain_disk.hpp"
#include "tests/support/scratch.hpp"

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int by_half = -1;
constexpr int nothing = -2;

// What the next calls of each give: an errno, 0 for the system's own answer, or one of the above.
std::vector<int> opening, reading, writing, syncing, asking;
int flags_of_last_open = 0;

int next(std::vector<int>& answers) {
    if (answers.empty())
        return 0;
    const int answer = answers.front();
    answers.erase(answers.begin());
    return answer;
}

template <typename Result, typename Call>
Result answered(std::vector<int>& answers, size_t length, Call call) {
    const int answer = next(answers);
    if (answer > 0) {
        errno = answer;
        return -1;
    }
    if (answer == nothing)
        return 0;
    return call(answer == by_half ? length / 2 : length);
}

} // namespace

// The linker leads the disk's calls of these here.
extern "C" int __real_open64(const char* path, int flags, ...);
extern "C" int __wrap_open64(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    flags_of_last_open = flags;
    return answered<int>(opening, 0, [&](size_t) { return __real_open64(path, flags, mode); });
}
extern "C" ssize_t __real_pread64(int descriptor, void* into, size_t length, off_t at);
extern "C" ssize_t __wrap_pread64(int descriptor, void* into, size_t length, off_t at) {
    return answered<ssize_t>(reading, length,
                             [&](size_t part) { return __real_pread64(descriptor, into, part, at); });
}
extern "C" ssize_t __real_pwrite64(int descriptor, const void* from, size_t length, off_t at);
extern "C" ssize_t __wrap_pwrite64(int descriptor, const void* from, size_t length, off_t at) {
    return answered<ssize_t>(writing, length,
                             [&](size_t part) { return __real_pwrite64(descriptor, from, part, at); });
}
extern "C" int __real_fsync(int descriptor);
extern "C" int __wrap_fsync(int descriptor) {
    return answered<int>(syncing, 0, [&](size_t) { return __real_fsync(descriptor); });
}
extern "C" int __real_fstat64(int descriptor, struct stat* into);
extern "C" int __wrap_fstat64(int descriptor, struct stat* into) {
    return answered<int>(asking, 0, [&](size_t) { return __real_fstat64(descriptor, into); });
}

namespace {

using kmr::mend::open_mode;
using recording::bytes;

class CallsTest : public ::testing::Test {
protected:
    CallsTest() {
        for (std::vector<int>* each : {&opening, &reading, &writing, &syncing, &asking})
            each->clear();
        file_ = disk_.open(path_, open_mode::change).file;
    }

    scratch::folder folder_;
    std::string path_ = folder_.write("r.kmr", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
    kmr::mend::plain_disk disk_;
    std::unique_ptr<kmr::mend::open_file> file_;
};

TEST_F(CallsTest, AReadIsWholeThoughItIsInterruptedAndCut) {
    bytes into(6);
    reading = {EINTR, by_half, EINTR, by_half};
    const auto read = file_->read_at(2, into);
    EXPECT_EQ(read.count, 6U);
    EXPECT_EQ(read.error, 0);
    EXPECT_EQ(into, (bytes{2, 3, 4, 5, 6, 7}));
}

TEST_F(CallsTest, AReadEndsWithTheFileOrFails) {
    bytes into(20);
    EXPECT_EQ(file_->read_at(4, into).count, 6U);
    reading = {by_half, EIO};
    const auto read = file_->read_at(0, into);
    EXPECT_EQ(read.count, 0U);
    EXPECT_EQ(read.error, EIO);
}

TEST_F(CallsTest, AWriteIsWholeThoughItIsInterruptedAndCut) {
    writing = {EINTR, by_half, by_half, EINTR};
    EXPECT_EQ(file_->write_at(1, bytes{11, 12, 13, 14}), 0);
    EXPECT_EQ(scratch::read_file(path_), (bytes{0, 11, 12, 13, 14, 5, 6, 7, 8, 9}));
}

TEST_F(CallsTest, AWriteThatIsNotTakenFails) {
    writing = {by_half, ENOSPC};
    EXPECT_EQ(file_->write_at(0, bytes{1, 1}), ENOSPC);
    writing = {nothing};
    EXPECT_EQ(file_->write_at(0, bytes{1, 1}), EIO);
}

TEST_F(CallsTest, WhatTheSystemRefusesIsTold) {
    syncing = {EINTR, EIO};
    EXPECT_EQ(file_->sync(), EIO);
    kmr::mend::file_facts facts;
    asking = {EIO};
    EXPECT_EQ(file_->look(facts), EIO);
    opening = {EMFILE};
    EXPECT_EQ(disk_.open(path_, open_mode::read).error, EMFILE);
    EXPECT_EQ(disk_.look(folder_.file("none"), facts), ENOENT);
}

// The system grants it to the owner of a file alone; others open it all the same.
TEST_F(CallsTest, TheAccessTimeIsKeptWhereTheSystemGrantsIt) {
    EXPECT_NE(flags_of_last_open & O_NOATIME, 0);
    opening = {EPERM};
    EXPECT_EQ(disk_.open(path_, open_mode::read).error, 0);
    EXPECT_EQ(flags_of_last_open & O_NOATIME, 0);
}

TEST_F(CallsTest, AFolderIsSyncedWhereItCanBe) {
    EXPECT_EQ(disk_.sync_folder(path_), 0);
    EXPECT_EQ(disk_.sync_folder(folder_.file("none/r.kmr")), ENOENT);
    syncing = {EINVAL}; // some file systems cannot
    EXPECT_EQ(disk_.sync_folder(path_), 0);
    syncing = {EIO};
    EXPECT_EQ(disk_.sync_folder(path_), EIO);
}

} // namespace
