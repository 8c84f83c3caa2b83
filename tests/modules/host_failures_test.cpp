// What the modules make of calls that the host refuses, interrupts or does by half. The test stands between them and
// the host's own calls.
#include "tests/modules/plain_module.hpp"

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <initializer_list>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

// What the next calls of one function give: each an errno, 0 for the host's own answer.
struct script {
    std::vector<int> errors;
    int calls = 0;

    bool fails() {
        ++calls;
        if (errors.empty())
            return false;
        errno = errors.front();
        errors.erase(errors.begin());
        return errno != 0;
    }
};

script closing, opening, asking_for_status, reading, writing, writing_at, seeking, syncing, truncating;
std::vector<int> flags_of_open;

void forget_all() {
    for (script* each : {&closing, &opening, &asking_for_status, &reading, &writing, &writing_at, &seeking,
                         &syncing, &truncating})
        *each = {};
    flags_of_open.clear();
}

// The function of the C library itself: by the first of these names that it has.
template <typename Function>
Function host(std::initializer_list<const char*> names) {
    for (const char* name : names)
        if (void* const found = dlsym(RTLD_NEXT, name))
            return reinterpret_cast<Function>(found);
    return nullptr;
}

} // namespace

// These come before the C library's own, for the modules too. (For large files and late times some have another name in
// some libraries, which their declarations take care of, and not all libraries promise that they throw nothing.)
extern "C" int close(int descriptor) {
    static const auto real = host<int (*)(int)>({"close"});
    const bool fails = closing.fails();
    const int error = errno;
    const int result = real(descriptor); // which has released the descriptor all the same
    if (!fails)
        return result;
    errno = error;
    return -1;
}

extern "C" int open(const char* path, int flags, ...) {
    static const auto real = host<int (*)(const char*, int, ...)>({"open64", "open"});
    std::va_list arguments;
    va_start(arguments, flags);
    const auto mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : mode_t{0};
    va_end(arguments);
    flags_of_open.push_back(flags);
    return opening.fails() ? -1 : real(path, flags, mode);
}

extern "C" int fstat(int descriptor, struct stat* status) noexcept(noexcept(::fstat(0, status))) {
    static const auto real =
        host<int (*)(int, struct stat*)>({"__fstat64_time64", "__fstat_time64", "fstat64", "fstat"});
    return asking_for_status.fails() ? -1 : real(descriptor, status);
}

extern "C" ssize_t pread(int descriptor, void* buffer, size_t count, off_t position) {
    static const auto real = host<ssize_t (*)(int, void*, size_t, off_t)>({"pread64", "pread"});
    return reading.fails() ? -1 : real(descriptor, buffer, count, position);
}

extern "C" ssize_t write(int descriptor, const void* buffer, size_t count) {
    static const auto real = host<ssize_t (*)(int, const void*, size_t)>({"write"});
    return writing.fails() ? -1 : real(descriptor, buffer, count);
}

extern "C" ssize_t pwrite(int descriptor, const void* buffer, size_t count, off_t position) {
    static const auto real = host<ssize_t (*)(int, const void*, size_t, off_t)>({"pwrite64", "pwrite"});
    return writing_at.fails() ? -1 : real(descriptor, buffer, count, position);
}

extern "C" off_t lseek(int descriptor, off_t offset, int origin) noexcept(noexcept(::lseek(0, 0, 0))) {
    static const auto real = host<off_t (*)(int, off_t, int)>({"lseek64", "lseek"});
    return seeking.fails() ? -1 : real(descriptor, offset, origin);
}

extern "C" int fsync(int descriptor) {
    static const auto real = host<int (*)(int)>({"fsync"});
    return syncing.fails() ? -1 : real(descriptor);
}

extern "C" int ftruncate(int descriptor, off_t length) noexcept(noexcept(::ftruncate(0, 0))) {
    static const auto real = host<int (*)(int, off_t)>({"ftruncate64", "ftruncate"});
    return truncating.fails() ? -1 : real(descriptor, length);
}

namespace {

class HostFailuresTest : public BothModulesTest {
protected:
    HostFailuresTest() { forget_all(); }
    ~HostFailuresTest() override { forget_all(); }

    std::string read_text(int32_t number, uint32_t count) const {
        std::string text(count, '?');
        const int32_t got = module.read(number, text.data(), count);
        return got < 0 ? "failed" : text.substr(0, static_cast<size_t>(got));
    }
};

INSTANTIATE_TEST_SUITE_P(Modules, HostFailuresTest, ::testing::Values(0, 1));

TEST_P(HostFailuresTest, AFileWhoseCloseFailedKeepsItsNumberUntilTheSecond) {
    const auto path = write_file("x", "abc");
    const int32_t number = module.open(path);
    closing.errors = {EIO};
    EXPECT_EQ(module.close(number), -1);
    EXPECT_EQ(module.of_file("error", number), EIO);
    EXPECT_EQ(module.open(path), number + 1) << "the number is still taken";
    const int closed = closing.calls;
    EXPECT_EQ(module.close(number), 0);
    EXPECT_EQ(closing.calls, closed) << "what the host has released may be another file by now";
    EXPECT_EQ(module.close(number), -1);
    EXPECT_EQ(module.open(path), number);
}

TEST_P(HostFailuresTest, NothingCanBeDoneWithAFileWhoseCloseFailed) {
    const int32_t number = module.open(write_file("x", "abc"), O_RDWR);
    EXPECT_EQ(read_text(number, 1), "a");
    closing.errors = {EIO};
    EXPECT_EQ(module.close(number), -1);
    EXPECT_EQ(read_text(number, 1), "failed") << "what was read ahead is gone too";
    EXPECT_EQ(module.of_file("Eof", number), -1);
    EXPECT_EQ(module.of_file("error", number), EBADF);
    EXPECT_EQ(module.write(number, "x", 1), -1);
    EXPECT_EQ(module.of_file("fsync", number), -1);
    EXPECT_EQ(module.close(number), 0);
}

TEST_P(HostFailuresTest, AnInterruptedCloseHasClosed) {
    const int32_t number = module.open(write_file("x", "abc"));
    closing = {};
    closing.errors = {EINTR};
    EXPECT_EQ(module.close(number), 0);
    EXPECT_EQ(module.close(number), -1);
    EXPECT_EQ(closing.calls, 1);
}

TEST_P(HostFailuresTest, AFileThatCannotBeLookedAtIsClosedAgain) {
    const auto path = write_file("x", "abc");
    closing = {};
    asking_for_status.errors = {EIO};
    EXPECT_EQ(module.open(path), -1);
    EXPECT_EQ(closing.calls, 1);
}

TEST_P(HostFailuresTest, WhatASignalInterruptsIsDoneAgain) {
    const auto path = write_file("x", "0123456789");
    opening.errors = {EINTR, EINTR};
    const int32_t number = module.open(path, O_RDWR);
    ASSERT_EQ(number, 3);
    reading.errors = {EINTR, EINTR};
    EXPECT_EQ(read_text(number, 4), "0123");
    writing_at.errors = {EINTR, EINTR};
    EXPECT_EQ(module.write(number, "AB", 2), 2);
    syncing.errors = {EINTR, EINTR};
    EXPECT_EQ(module.of_file("fsync", number), 0);
    truncating.errors = {EINTR, EINTR};
    EXPECT_EQ(module.call<int32_t>("ftruncate", number, int64_t{7}), 0);
    EXPECT_EQ(module.of_file("error", number), 0);
    EXPECT_EQ(scratch::read_text(path), "0123AB6");

    const int32_t appending = module.open(path, O_WRONLY | O_APPEND);
    writing.errors = {EINTR, EINTR};
    EXPECT_EQ(module.write(appending, "C", 1), 1);
    EXPECT_EQ(scratch::read_text(path), "0123AB6C");
}

TEST_P(HostFailuresTest, AnyOtherFailureIsToldAtOnce) {
    const int32_t number = module.open(write_file("x", "0123456789"), O_RDWR);
    const auto expect_told = [&](script& host_call, int error, int64_t result) {
        EXPECT_EQ(result, -1);
        EXPECT_EQ(module.of_file("error", number), error);
        EXPECT_EQ(host_call.calls, 1);
    };
    writing_at.errors = {ENOSPC};
    expect_told(writing_at, ENOSPC, module.write(number, "AB", 2));
    syncing.errors = {EIO};
    expect_told(syncing, EIO, module.of_file("fsync", number));
    truncating.errors = {EFBIG};
    expect_told(truncating, EFBIG, module.call<int32_t>("ftruncate", number, int64_t{7}));
    EXPECT_EQ(module.of_file("Tell", number), 0);
    EXPECT_EQ(scratch::read_text(file("x")), "0123456789");
}

// The second attempt asks for no more than was wanted: what cannot be read ahead keeps nobody from that.
TEST_P(HostFailuresTest, AReadThatFailsTwiceFailsAndLeavesThePosition) {
    const int32_t number = module.open(write_file("x", "0123456789"));
    module.seek(number, 2, SEEK_SET);
    reading.errors = {EIO, EIO};
    EXPECT_EQ(read_text(number, 4), "failed");
    EXPECT_EQ(module.of_file("error", number), EIO);
    EXPECT_EQ(module.of_file("Tell", number), 2);
    EXPECT_EQ(read_text(number, 4), "2345") << "nothing of the failed read is left";
    EXPECT_EQ(module.of_file("Tell", number), 6);
}

TEST_P(HostFailuresTest, AReadWhoseReadAheadFailsIsServedAllTheSame) {
    const int32_t number = module.open(write_file("x", "0123456789"));
    reading.errors = {EIO};
    EXPECT_EQ(read_text(number, 4), "0123");
    EXPECT_EQ(reading.calls, 2);
    EXPECT_EQ(module.of_file("error", number), 0);
    EXPECT_EQ(read_text(number, 4), "4567");
}

TEST_P(HostFailuresTest, TheEndIsNotToldWithoutTheSize) {
    const int32_t number = module.open(write_file("x", "0123456789"));
    module.seek(number, 10, SEEK_SET);
    asking_for_status.errors = {EIO};
    EXPECT_EQ(module.of_file("Eof", number), -1);
    EXPECT_EQ(module.of_file("error", number), EIO);
    EXPECT_EQ(module.of_file("Eof", number), 1);

    asking_for_status.errors = {EOVERFLOW};
    EXPECT_EQ(module.seek(number, -4, SEEK_END), -1);
    EXPECT_EQ(module.of_file("error", number), EOVERFLOW);
    EXPECT_EQ(module.of_file("Tell", number), 10);
}

TEST_P(HostFailuresTest, AppendingKeepsThePositionWhereTheEndIsNotKnown) {
    const int32_t number = module.open(write_file("x", "0123456789"), O_RDWR | O_APPEND);
    module.seek(number, 4, SEEK_SET);
    seeking = {};
    writing.errors = {ENOSPC};
    EXPECT_EQ(module.write(number, "AB", 2), -1);
    EXPECT_EQ(module.of_file("error", number), ENOSPC);
    EXPECT_EQ(module.of_file("Tell", number), 4);
    EXPECT_EQ(seeking.calls, 0) << "nothing was written, so nothing has moved";
    seeking.errors = {EIO};
    EXPECT_EQ(module.write(number, "AB", 2), 2);
    EXPECT_EQ(module.of_file("Tell", number), 4);
    EXPECT_EQ(module.write(number, "C", 1), 1);
    EXPECT_EQ(module.of_file("Tell", number), 13);
}

// --- Opening without a trace ---

TEST_P(HostFailuresTest, AFileOfSomebodyElseIsOpenedWithATrace) {
    const auto path = write_file("x", "abc");
    opening.errors = {EPERM, EINTR};
    ASSERT_EQ(module.open(path), 3);
    ASSERT_EQ(flags_of_open.size(), 3U);
    EXPECT_EQ(flags_of_open[0] & O_NOATIME, O_NOATIME);
    EXPECT_EQ(flags_of_open[1] & O_NOATIME, 0);
    EXPECT_EQ(flags_of_open[2] & O_NOATIME, 0);
    EXPECT_EQ(flags_of_open[0] & ~O_NOATIME, flags_of_open[1]);
    EXPECT_EQ(read_text(3, 3), "abc");
}

TEST_P(HostFailuresTest, OtherRefusalsOfAnOpenAreFinal) {
    const auto path = write_file("x", "abc");
    opening.errors = {EACCES};
    EXPECT_EQ(module.open(path), -1);
    EXPECT_EQ(flags_of_open.size(), 1U);
    opening.errors = {EPERM, EPERM};
    EXPECT_EQ(module.open(path), -1);
    EXPECT_EQ(flags_of_open.size(), 3U);
}

// --- The start time of a recording ---

TEST_P(HostFailuresTest, AHeaderThatCannotBeReadHasNoStartTime) {
    const auto path = folder.write("dev/x", recording::file_header(1));
    vfs_stat_record record = {};
    reading.errors = {EIO};
    EXPECT_EQ(module.stat(path, record), 0);
    EXPECT_EQ(record.StartTime, 0U);
    opening.errors = {EACCES};
    EXPECT_EQ(module.stat(path, record), 0);
    EXPECT_EQ(record.StartTime, 0U);
    reading.errors = {EINTR};
    closing = {};
    EXPECT_EQ(module.stat(path, record), 0);
    EXPECT_NE(record.StartTime, 0U);
    EXPECT_EQ(closing.calls, 1) << "looking leaves nothing open";
}

class StartTimeFailuresTest : public PlainModuleTest {
protected:
    StartTimeFailuresTest() { forget_all(); }
    ~StartTimeFailuresTest() override { forget_all(); }

    int32_t change(const std::string& path) const {
        return plain_module::module_0().call<int32_t>("ChangeCreateTime", path.c_str(), int64_t{1456761599});
    }
};

TEST_F(StartTimeFailuresTest, ADateThatCannotBeWrittenIsRefused) {
    const recording::bytes content = recording::file_header(1);
    const auto path = folder.write("dev/x", content);
    asking_for_status.errors = {EIO};
    EXPECT_EQ(change(path), -1);
    reading.errors = {EIO};
    EXPECT_EQ(change(path), -1);
    opening.errors = {EACCES};
    EXPECT_EQ(change(path), -1);
    writing_at.errors = {ENOSPC};
    EXPECT_EQ(change(path), -1);
    EXPECT_EQ(scratch::read_file(path), content);
    writing_at = {};
    writing_at.errors = {EINTR};
    EXPECT_EQ(change(path), 0);
    EXPECT_EQ(writing_at.calls, 2);
    EXPECT_NE(scratch::read_file(path), content);
}

// Standard input may have been closed: its number goes to the next file that is opened.
TEST_F(StartTimeFailuresTest, AFileWithTheLowestNumberIsClosedToo) {
    const auto path = folder.write("dev/x", recording::file_header(1));
    const int kept = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    const int32_t changed = change(path);
    const bool left_open = fcntl(STDIN_FILENO, F_GETFD) != -1;
    if (kept >= 0) {
        dup2(kept, STDIN_FILENO);
        close(kept);
    }
    EXPECT_EQ(changed, 0);
    EXPECT_FALSE(left_open);
}

} // namespace
