// This source sees the platform's records as a program without feature macros does.
#undef _FILE_OFFSET_BITS
#undef _TIME_BITS

#include "tests/support/scratch.hpp"
#include "tests/vfslist16a/index_bytes.hpp"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using recording::bytes;

struct guarded_record {
    struct stat64 record;
    unsigned char behind[64];
};

class MyStatTest : public testing::Test {
protected:
    MyStatTest() { std::memset(&guarded_, 0xA5, sizeof guarded_); }
    ~MyStatTest() override {
        for (const unsigned char guard : guarded_.behind)
            EXPECT_EQ(guard, 0xA5);
    }

    scratch::folder folder_;
    guarded_record guarded_;
};

TEST_F(MyStatTest, GivesTheHostsRecord) {
    const std::string path = folder_.write("some", bytes(1234, 0));
    EXPECT_EQ(my_stat(path.c_str(), &guarded_.record), 0);
    struct stat64 expected = {};
    ASSERT_EQ(stat64(path.c_str(), &expected), 0);
    EXPECT_EQ(guarded_.record.st_size, 1234);
    EXPECT_EQ(guarded_.record.st_dev, expected.st_dev);
    EXPECT_EQ(guarded_.record.st_ino, expected.st_ino);
    EXPECT_EQ(guarded_.record.st_mode, expected.st_mode);
    EXPECT_EQ(guarded_.record.st_nlink, expected.st_nlink);
    EXPECT_EQ(guarded_.record.st_uid, expected.st_uid);
    EXPECT_EQ(guarded_.record.st_gid, expected.st_gid);
    EXPECT_EQ(guarded_.record.st_rdev, expected.st_rdev);
    EXPECT_EQ(guarded_.record.st_blksize, expected.st_blksize);
    EXPECT_EQ(guarded_.record.st_blocks, expected.st_blocks);
    EXPECT_EQ(guarded_.record.st_atim.tv_sec, expected.st_atim.tv_sec);
    EXPECT_EQ(guarded_.record.st_mtim.tv_sec, expected.st_mtim.tv_sec);
    EXPECT_EQ(guarded_.record.st_mtim.tv_nsec, expected.st_mtim.tv_nsec);
    EXPECT_EQ(guarded_.record.st_ctim.tv_sec, expected.st_ctim.tv_sec);
}

TEST_F(MyStatTest, OfAMissingFileFails) {
    EXPECT_EQ(my_stat(folder_.file("none").c_str(), &guarded_.record), -1);
}

TEST_F(MyStatTest, LeavesNoFileOpen) {
    const std::string path = folder_.write("some", bytes(1, 0));
    const int before = scratch::open_descriptors();
    my_stat(path.c_str(), &guarded_.record);
    my_stat(folder_.file("none").c_str(), &guarded_.record);
    EXPECT_EQ(scratch::open_descriptors(), before);
}

// A date is never told wrong: where it does not fit the record, there is none.
TEST_F(MyStatTest, OfADateBeyond2038NeedsTheRoomForIt) {
    const std::string path = folder_.write("some", bytes(1, 0));
    index_bytes::date_beyond_2038(path);
    errno = 0;
    const int32_t result = my_stat(path.c_str(), &guarded_.record);
    if (sizeof guarded_.record.st_mtim.tv_sec > 4) {
        EXPECT_EQ(result, 0);
        EXPECT_EQ(guarded_.record.st_mtim.tv_sec, static_cast<time_t>(2208988800));
    } else {
        EXPECT_EQ(result, -1);
        EXPECT_EQ(errno, EOVERFLOW);
    }
}

} // namespace
