#include "tests/modules/plain_module.hpp"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

namespace {

class PlainFilesTest : public BothModulesTest {
protected:
    std::string read_text(int32_t number, uint32_t count) const {
        std::string text(count, '?');
        const int32_t got = module.read(number, text.data(), count);
        return got < 0 ? "failed" : text.substr(0, static_cast<size_t>(got));
    }
};

INSTANTIATE_TEST_SUITE_P(Modules, PlainFilesTest, ::testing::Values(0, 1));

TEST_P(PlainFilesTest, NumbersStartAt3AndTheLowestFreeOneIsGiven) {
    const auto path = write_file("x", "abc");
    EXPECT_EQ(module.open(path), 3);
    EXPECT_EQ(module.open(path), 4);
    EXPECT_EQ(module.open(path), 5);
    EXPECT_EQ(module.close(4), 0);
    EXPECT_EQ(module.open(path), 4);
}

TEST_P(PlainFilesTest, TheSelectorIsIgnored) {
    const auto path = write_file("x", "abc");
    EXPECT_EQ(module.call<int32_t>("Open", int32_t{99}, path.c_str(), int32_t{0}), 3);
}

TEST_P(PlainFilesTest, WhatIsNoFileDoesNotOpen) {
    const int before = scratch::open_descriptors();
    EXPECT_EQ(module.open(file("missing")), -1);
    EXPECT_EQ(module.open(""), -1);
    EXPECT_EQ(module.call<int32_t>("Open", int32_t{0}, static_cast<const char*>(nullptr), int32_t{0}), -1);
    EXPECT_EQ(module.open(folder.path()), -1) << "a directory";
    EXPECT_EQ(module.open(folder.path(), O_CREAT), -1);
    EXPECT_EQ(module.open("/dev/" + std::string(5000, 'a')), -1);
    EXPECT_EQ(scratch::open_descriptors(), before);
}

TEST_P(PlainFilesTest, APipeIsRefusedAtOnce) {
    std::filesystem::create_directory(folder.path() / "dev");
    ASSERT_EQ(mkfifo(file("pipe").c_str(), 0666), 0);
    EXPECT_EQ(module.open(file("pipe"), O_RDONLY), -1);
    EXPECT_EQ(module.open(file("pipe"), O_WRONLY), -1);
    EXPECT_EQ(module.open(file("pipe"), O_RDWR), -1);
}

TEST_P(PlainFilesTest, ADeviceThatHasPositionsIsAFile) {
    const int32_t number = module.open("/dev/zero");
    ASSERT_GE(number, 3);
    EXPECT_EQ(read_text(number, 3), std::string(3, '\0'));
}

TEST_P(PlainFilesTest, NewFilesGetMode666LessTheUmask) {
    write_file("x", "");
    const mode_t before = umask(027);
    const int32_t number = module.open(file("new"), O_WRONLY | O_CREAT);
    umask(before);
    ASSERT_EQ(number, 3);
    struct stat status = {};
    ASSERT_EQ(stat(file("new").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
}

TEST_P(PlainFilesTest, OpenFilesAreNotPassedOnToOtherPrograms) {
    const auto path = write_file("x", "abc");
    const int before = scratch::open_descriptors();
    ASSERT_EQ(module.open(path), 3);
    ASSERT_EQ(scratch::open_descriptors(), before + 1);
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        if (std::filesystem::read_symlink(entry.path(), ignored) == path) {
            EXPECT_NE(fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC, 0);
        }
    }
}

TEST_P(PlainFilesTest, ReadMovesThePositionAndStopsAtTheEnd) {
    const int32_t number = module.open(write_file("x", "0123456789"));
    EXPECT_EQ(read_text(number, 4), "0123");
    EXPECT_EQ(module.of_file("Tell", number), 4);
    EXPECT_EQ(module.of_file("Eof", number), 0);
    EXPECT_EQ(read_text(number, 100), "456789");
    EXPECT_EQ(module.of_file("Eof", number), 1);
    EXPECT_EQ(read_text(number, 1), "");
    EXPECT_EQ(module.of_file("Tell", number), 10);
}

TEST_P(PlainFilesTest, WriteMovesThePosition) {
    const int32_t number = module.open(write_file("x", "0123456789"), O_RDWR);
    EXPECT_EQ(module.seek(number, 2, SEEK_SET), 2);
    EXPECT_EQ(module.write(number, "AB", 2), 2);
    EXPECT_EQ(read_text(number, 2), "45");
    EXPECT_EQ(module.write(number, "", 0), 0);
    EXPECT_EQ(module.close(number), 0);
    EXPECT_EQ(scratch::read_text(file("x")), "01AB456789");
}

TEST_P(PlainFilesTest, AWriteOfOneByteMovesThePosition) {
    const auto path = write_file("x", "abc");
    const int32_t number = module.open(path, O_RDWR);
    EXPECT_EQ(module.write(number, "1", 1), 1);
    EXPECT_EQ(module.write(number, "2", 1), 1);
    EXPECT_EQ(read_text(number, 9), "c");
}

TEST_P(PlainFilesTest, AppendedBytesGoToTheEndAndThePositionFollows) {
    const int32_t number = module.open(write_file("x", "0123456789"), O_RDWR | O_APPEND);
    EXPECT_EQ(module.of_file("Tell", number), 0);
    EXPECT_EQ(read_text(number, 2), "01");
    EXPECT_EQ(module.write(number, "AB", 2), 2);
    EXPECT_EQ(module.of_file("Tell", number), 12);
    EXPECT_EQ(module.seek(number, 0, SEEK_SET), 0);
    EXPECT_EQ(module.write(number, "C", 1), 1);
    EXPECT_EQ(module.of_file("Tell", number), 13);
    EXPECT_EQ(scratch::read_text(file("x")), "0123456789ABC");
}

TEST_P(PlainFilesTest, SeekFromEveryOrigin) {
    const int32_t number = module.open(write_file("x", "0123456789"));
    EXPECT_EQ(module.seek(number, 4, SEEK_SET), 4);
    EXPECT_EQ(module.seek(number, 3, SEEK_CUR), 7);
    EXPECT_EQ(module.seek(number, -7, SEEK_CUR), 0);
    EXPECT_EQ(module.seek(number, -1, SEEK_END), 9);
    EXPECT_EQ(read_text(number, 5), "9");
    EXPECT_EQ(module.seek(number, 5, SEEK_END), 15) << "behind the end";
    EXPECT_EQ(module.of_file("Eof", number), 1);
    EXPECT_EQ(read_text(number, 5), "");
}

TEST_P(PlainFilesTest, ARefusedSeekLeavesThePosition) {
    const int32_t number = module.open(write_file("x", "0123456789"));
    EXPECT_EQ(module.seek(number, 4, SEEK_SET), 4);
    EXPECT_EQ(module.seek(number, -1, SEEK_SET), -1);
    EXPECT_EQ(module.seek(number, -5, SEEK_CUR), -1);
    EXPECT_EQ(module.seek(number, -11, SEEK_END), -1);
    EXPECT_EQ(module.seek(number, INT64_MAX, SEEK_CUR), -1) << "would overflow";
    EXPECT_EQ(module.seek(number, INT64_MIN, SEEK_END), -1);
    EXPECT_EQ(module.seek(number, 0, 3), -1);
    EXPECT_EQ(module.seek(number, 0, -1), -1);
    EXPECT_EQ(module.of_file("error", number), EINVAL);
    EXPECT_EQ(module.of_file("Tell", number), 4);
}

TEST_P(PlainFilesTest, PositionsBeyond4GiBAreServed) {
    const int32_t number = module.open(write_file("x", ""), O_RDWR);
    EXPECT_EQ(module.seek(number, 0x123456789, SEEK_SET), 0x123456789);
    EXPECT_EQ(module.write(number, "far", 3), 3);
    EXPECT_EQ(module.seek(number, 0, SEEK_END), 0x12345678C);
    EXPECT_EQ(module.of_file("Tell", number), 0x2345678C) << "the low 32 bits";
    EXPECT_EQ(module.seek(number, -3, SEEK_CUR), 0x123456789);
    EXPECT_EQ(read_text(number, 3), "far");
}

TEST_P(PlainFilesTest, TellBeyond2GiBIsNegative) {
    const int32_t number = module.open(write_file("x", ""));
    EXPECT_EQ(module.seek(number, 0xC0000000, SEEK_SET), 0xC0000000);
    EXPECT_EQ(module.of_file("Tell", number), -0x40000000);
}

TEST_P(PlainFilesTest, EofFollowsAGrowingFile) {
    const auto path = write_file("x", "abc");
    const int32_t reader = module.open(path);
    const int32_t writer = module.open(path, O_WRONLY | O_APPEND);
    read_text(reader, 3);
    EXPECT_EQ(module.of_file("Eof", reader), 1);
    EXPECT_EQ(module.write(writer, "d", 1), 1);
    EXPECT_EQ(module.of_file("Eof", reader), 0);
    EXPECT_EQ(read_text(reader, 3), "d");
}

TEST_P(PlainFilesTest, AnEmptyFileIsAtItsEnd) {
    EXPECT_EQ(module.of_file("Eof", module.open(write_file("x", ""))), 1);
}

TEST_P(PlainFilesTest, FilesHaveAPositionEach) {
    const auto path = write_file("x", "0123456789");
    const int32_t first = module.open(path);
    const int32_t second = module.open(path);
    EXPECT_EQ(read_text(first, 3), "012");
    EXPECT_EQ(read_text(second, 2), "01");
    EXPECT_EQ(read_text(first, 3), "345");
}

TEST_P(PlainFilesTest, TruncateSetsTheLengthAndKeepsThePosition) {
    const int32_t number = module.open(write_file("x", "0123456789"), O_RDWR);
    module.seek(number, 6, SEEK_SET);
    EXPECT_EQ(module.call<int32_t>("ftruncate", number, int64_t{4}), 0);
    EXPECT_EQ(scratch::read_text(file("x")), "0123");
    EXPECT_EQ(module.of_file("Tell", number), 6);
    EXPECT_EQ(module.call<int32_t>("ftruncate", number, int64_t{0x100000000}), 0);
    EXPECT_EQ(std::filesystem::file_size(file("x")), 0x100000000u);
    EXPECT_EQ(module.call<int32_t>("ftruncate", number, int64_t{-1}), -1);
}

TEST_P(PlainFilesTest, SyncReports0) {
    const int32_t number = module.open(write_file("x", "abc"), O_RDWR);
    EXPECT_EQ(module.of_file("fsync", number), 0);
}

TEST_P(PlainFilesTest, ErrorTellsTheLastFailureOfEachFile) {
    const auto path = write_file("x", "abc");
    const int32_t read_only = module.open(path);
    const int32_t untouched = module.open(path);
    EXPECT_EQ(module.of_file("error", read_only), 0);
    EXPECT_EQ(module.write(read_only, "x", 1), -1);
    EXPECT_EQ(module.of_file("error", read_only), EBADF);
    EXPECT_EQ(read_text(read_only, 3), "abc");
    EXPECT_EQ(module.of_file("error", read_only), EBADF) << "a success does not clear it";
    EXPECT_EQ(module.of_file("error", untouched), 0);
    EXPECT_EQ(scratch::read_text(path), "abc");
}

TEST_P(PlainFilesTest, ABadBufferFailsQuietly) {
    const int32_t number = module.open(write_file("x", "abc"), O_RDWR);
    EXPECT_EQ(module.read(number, nullptr, 3), -1);
    EXPECT_EQ(module.of_file("Tell", number), 0);
}

TEST_P(PlainFilesTest, NumbersThatAreNotOpenAreRefused) {
    const int32_t closed = module.open(write_file("x", "abc"));
    ASSERT_EQ(module.close(closed), 0);
    char buffer[4];
    for (const int32_t number : {closed, 0, 1, 2, -1, 1026, 1027, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(module.read(number, buffer, 1), -1);
        EXPECT_EQ(module.write(number, buffer, 1), -1);
        EXPECT_EQ(module.seek(number, 0, SEEK_SET), -1);
        EXPECT_EQ(module.of_file("Tell", number), -1);
        EXPECT_EQ(module.of_file("Eof", number), -1);
        EXPECT_EQ(module.of_file("fsync", number), -1);
        EXPECT_EQ(module.of_file("error", number), -1);
        EXPECT_EQ(module.call<int32_t>("ftruncate", number, int64_t{0}), -1);
        EXPECT_EQ(module.close(number), -1);
    }
}

TEST_P(PlainFilesTest, A1025thFileIsRefused) {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    const auto path = write_file("x", "abc");
    for (int32_t number = 3; number < 1027; ++number)
        ASSERT_EQ(module.open(path), number);
    const int before = scratch::open_descriptors();
    EXPECT_EQ(module.open(path), -1);
    EXPECT_EQ(scratch::open_descriptors(), before);
    for (int32_t number = 3; number < 1027; ++number)
        EXPECT_EQ(module.close(number), 0);
}

TEST_P(PlainFilesTest, ThreadsUseDifferentFilesAtOnce) {
    std::atomic<int> mistakes = 0;
    const auto use_a_file = [&](int thread) {
        const std::string content(100, static_cast<char>('a' + thread));
        const auto path = write_file(std::to_string(thread), content);
        for (int round = 0; round < 100; ++round) {
            const int32_t number = module.open(path, O_RDWR);
            mistakes += number < 0 || module.seek(number, 10, SEEK_SET) != 10 ||
                        read_text(number, 200) != content.substr(10) ||
                        module.seek(number, -1, SEEK_END) != 99 ||
                        module.write(number, content.data(), 1) != 1 || module.close(number) != 0;
        }
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back(use_a_file, thread);
    for (std::thread& each : threads)
        each.join();
    EXPECT_EQ(mistakes, 0);
}

} // namespace
