#include "file_op/file_copy.h"

#include "tests/file_op/recording_fixture.hpp"

#include <cerrno>

namespace {

using recording::put_u32;

bytes numbered(size_t size) {
    bytes content(size);
    for (size_t i = 0; i < size; ++i)
        content[i] = static_cast<uint8_t>(i * 7 + i / 251);
    return content;
}

class FileCopyTest : public RecordingTest {
protected:
    std::string to_ = folder_.file("to");

    std::string from(const bytes& content) const { return folder_.write("from", content); }
    bytes copy() const { return scratch::read_file(to_); }
};

// --- segments ---

TEST_F(FileCopyTest, SegmentIsCopiedInBlocksOf64KiB) {
    const bytes content = numbered(100'000);
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, from(content).c_str(), 0, 100'000), 100'000);
    EXPECT_EQ(copy(), content);
    EXPECT_EQ(short_calls(),
              (call_log{"Stat(from) = 0", "Open(0, to, 65) = 3", "Open(0, from, 0) = 4",
                        "Read(4, 65536) = 65536", "Write(3, 65536) = 65536", "Read(4, 34464) = 34464",
                        "Write(3, 34464) = 34464", "Close(4) = 0", "fsync(3) = 0", "Close(3) = 0"}));
}

TEST_F(FileCopyTest, RangeGoesIntoAFileThatIsThere) {
    folder_.write("to", bytes(20, 0xEE));
    const bytes content = numbered(100);
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 5, from(content).c_str(), 90, 10), 10);
    bytes expected(20, 0xEE);
    std::copy(content.begin() + 90, content.end(), expected.begin() + 5);
    EXPECT_EQ(copy(), expected);
    EXPECT_EQ(short_calls(), (call_log{"Stat(from) = 0", "Open(0, to, 65) = 3", "Open(0, from, 0) = 4",
                                       "Seek(4, 90, 0) = 90", "Seek(3, 5, 0) = 5", "Read(4, 10) = 10",
                                       "Write(3, 10) = 10", "Close(4) = 0", "fsync(3) = 0", "Close(3) = 0"}));
}

TEST_F(FileCopyTest, BadArgumentsTouchNothing) {
    const std::string source = from(numbered(100));
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, source.c_str(), 0, 0), -1);
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, source.c_str(), 0, -1), -1);
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), -1, source.c_str(), 0, 1), -1);
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, source.c_str(), -1, 1), -1);
    EXPECT_EQ(module_probe::count(), 0);
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, source.c_str(), 0, 101), -1);
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, source.c_str(), 100, 1), -1);
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, source.c_str(), INT32_MAX, INT32_MAX), -1);
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, folder_.file("missing").c_str(), 0, 1), -1);
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, nullptr, 0, 1), -1);
    EXPECT_EQ(rec_CopyFileSegment(nullptr, 0, source.c_str(), 0, 1), -1);
    EXPECT_FALSE(std::filesystem::exists(to_));
}

TEST_F(FileCopyTest, FilesThatCannotBeOpened) {
    const std::string source = from(numbered(100));
    EXPECT_EQ(rec_CopyFileSegment(folder_.file("no/to").c_str(), 0, source.c_str(), 0, 1), -1);
    module_probe::reset();
    module_probe::fail("Open", 2);
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, source.c_str(), 0, 1), -1);
    EXPECT_EQ(short_calls(), (call_log{"Stat(from) = 0", "Open(0, to, 65) = 3", "Open(0, from, 0) = -1",
                                       "fsync(3) = 0", "Close(3) = 0"}));
}

TEST_F(FileCopyTest, OffsetThatCannotBeReachedCopiesNothing) {
    const std::string source = from(numbered(100));
    for (int nth = 1; nth <= 2; ++nth) {
        folder_.write("to", bytes(20, 0xEE));
        module_probe::reset();
        module_probe::fail("Seek", nth);
        EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 5, source.c_str(), 5, 10), -1);
        EXPECT_EQ(copy(), bytes(20, 0xEE));
    }
}

TEST_F(FileCopyTest, FailedOrEmptyReadEndsTheCopy) {
    const std::string source = from(numbered(100'000));
    for (const int64_t result : {0, -1}) {
        module_probe::reset();
        module_probe::fail("Read", 2, result);
        EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, source.c_str(), 0, 100'000), 65'536);
    }
    module_probe::reset();
    module_probe::fail("Read", 1);
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, source.c_str(), 0, 100'000), 0);
}

TEST_F(FileCopyTest, ShortReadIsCountedAndTheCopyGoesOn) {
    const bytes content = numbered(100'000);
    const std::string source = from(content);
    module_probe::cut("Read", 1, 1000);
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, source.c_str(), 0, 100'000), 100'000);
    EXPECT_EQ(copy(), content);
}

TEST_F(FileCopyTest, BlockWrittenInPartIsNotCounted) {
    const std::string source = from(numbered(100'000));
    module_probe::cut("Write", 2, 34'463);
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, source.c_str(), 0, 100'000), 65'536);
    module_probe::reset();
    module_probe::fail("Write", 1);
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, source.c_str(), 0, 100'000), 0);
}

// An interrupted module, a full one: told by errno, which the probe leaves alone.
int interruptions = 0;
decltype(vfs_module_operations::Read) module_read;
decltype(vfs_module_operations::Write) module_write;

int32_t interrupted_read(int32_t file, void* buffer, uint32_t count) {
    errno = EINTR;
    return interruptions-- > 0 ? -1 : module_read(file, buffer, count);
}
int32_t interrupted_write(int32_t file, const void* buffer, uint32_t count) {
    errno = EINTR;
    return interruptions-- > 0 ? -1 : module_write(file, buffer, count);
}
int32_t full_write(int32_t file, const void* buffer, uint32_t count) {
    const int32_t written = module_write(file, buffer, count);
    errno = ENOSPC;
    return written;
}

class DisturbedCopyTest : public FileCopyTest {
protected:
    void SetUp() override {
        FileCopyTest::SetUp();
        module_read = operations_.Read;
        module_write = operations_.Write;
    }
    void TearDown() override {
        operations_.Read = module_read;
        operations_.Write = module_write;
        FileCopyTest::TearDown();
    }
    vfs_module_operations& operations_ = g_stvfsmnt.Entries[1].Operations;
};

TEST_F(DisturbedCopyTest, InterruptedCallsAreMadeAgain) {
    const bytes content = numbered(100);
    const std::string source = from(content);
    operations_.Read = interrupted_read;
    interruptions = 3;
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, source.c_str(), 0, 100), 100);
    EXPECT_EQ(copy(), content);
    operations_.Read = module_read;
    operations_.Write = interrupted_write;
    interruptions = 3;
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, source.c_str(), 0, 50), 50);
}

TEST_F(DisturbedCopyTest, FullDiskEndsTheCopyEvenBehindAWholeBlock) {
    operations_.Write = full_write;
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, from(numbered(100)).c_str(), 0, 100), 0);
}

TEST_F(DisturbedCopyTest, OldErrnoMeansNothing) {
    errno = ENOSPC;
    EXPECT_EQ(rec_CopyFileSegment(to_.c_str(), 0, from(numbered(100)).c_str(), 0, 100), 100);
}

// --- the file header ---

TEST_F(FileCopyTest, FileHeadIsTheFirst88Bytes) {
    folder_.write("to", bytes(100, 0xEE));
    EXPECT_EQ(rec_DuplicateFileHead(to_.c_str(), from(numbered(200)).c_str()), 88);
    bytes expected = part(numbered(200), 0, 88);
    recording::append(expected, bytes(12, 0xEE));
    EXPECT_EQ(copy(), expected);
    EXPECT_EQ(rec_DuplicateFileHead(to_.c_str(), from(numbered(87)).c_str()), -1);
}

class HeadFrameNumberTest : public RecordingTest {
protected:
    // The file after the call, which is made on a stream of the given mode.
    intptr_t write(int32_t number, int32_t first, int32_t last, const char* mode = "w+") {
        vfs_file* const stream = vfs_fopen(0, path_.c_str(), mode);
        module_probe::reset();
        const intptr_t result = rec_WriteHeadFrmNum(stream, number, first, last);
        calls_ = short_calls();
        vfs_fclose(stream);
        return result;
    }

    bytes before_ = numbered(100);
    std::string path_ = put_recording(before_);
    call_log calls_;
};

TEST_F(HeadFrameNumberTest, EachFlagHasItsField) {
    bytes expected = before_;
    put_u32(expected, 60, 1234);
    EXPECT_EQ(write(1234, 1, 0), 1);
    EXPECT_EQ(scratch::read_file(path_), expected);
    put_u32(expected, 84, 5678);
    EXPECT_EQ(write(5678, 0, 1), 1);
    EXPECT_EQ(scratch::read_file(path_), expected);
    put_u32(expected, 60, 0);
    put_u32(expected, 84, 0);
    EXPECT_EQ(write(0, -1, 2), 1);
    EXPECT_EQ(scratch::read_file(path_), expected);
    EXPECT_EQ(calls_,
              (call_log{"Seek(3, 0, 0) = 0", "Read(3, 88) = 88", "Seek(3, 0, 0) = 0", "Write(3, 88) = 88"}));
}

TEST_F(HeadFrameNumberTest, WithoutFlagsTheSameHeaderIsWritten) {
    EXPECT_EQ(write(7, 0, 0), 1);
    EXPECT_EQ(calls_.size(), 4u);
    EXPECT_EQ(scratch::read_file(path_), before_);
}

TEST_F(HeadFrameNumberTest, NegativeNumberReturnsTheStream) {
    vfs_file* const stream = vfs_fopen(0, path_.c_str(), "w+");
    module_probe::reset();
    EXPECT_EQ(rec_WriteHeadFrmNum(stream, -1, 1, 1), reinterpret_cast<intptr_t>(stream));
    EXPECT_EQ(rec_WriteHeadFrmNum(nullptr, 5, 1, 1), 0);
    EXPECT_EQ(module_probe::count(), 0);
    vfs_fclose(stream);
}

TEST_F(HeadFrameNumberTest, FailureOfAnyStepGivesMinusOneAndLeavesTheHeader) {
    EXPECT_EQ(write(1, 1, 1, "r"), -1); // cannot write
    EXPECT_EQ(write(1, 1, 1, "w"), -1); // cannot read
    for (const char* operation : {"Seek", "Read", "Write"}) {
        vfs_file* const stream = vfs_fopen(0, path_.c_str(), "w+");
        module_probe::fail(operation, 1);
        EXPECT_EQ(rec_WriteHeadFrmNum(stream, 1, 1, 1), -1);
        vfs_fclose(stream);
    }
    vfs_file* const stream = vfs_fopen(0, path_.c_str(), "w+");
    module_probe::fail("Seek", 2);
    EXPECT_EQ(rec_WriteHeadFrmNum(stream, 1, 1, 1), -1);
    vfs_fclose(stream);
    EXPECT_EQ(scratch::read_file(path_), before_);
}

TEST_F(HeadFrameNumberTest, ShortHeaderIsNotFilledUp) {
    put_recording(bytes(87, 1));
    EXPECT_EQ(write(1, 1, 1), -1);
    EXPECT_EQ(scratch::read_file(path_), bytes(87, 1));
}

TEST_F(HeadFrameNumberTest, HeaderCutShortKeepsEveryOtherField) {
    for (uint32_t size = 0; size < 88; ++size) {
        put_recording(before_);
        vfs_file* const stream = vfs_fopen(0, path_.c_str(), "w+");
        module_probe::cut("Write", 1, size);
        EXPECT_EQ(rec_WriteHeadFrmNum(stream, 0x01020304, 1, 1), -1);
        vfs_fclose(stream);
        bytes after = scratch::read_file(path_);
        ASSERT_EQ(after.size(), before_.size());
        std::copy_n(before_.begin() + 60, 4, after.begin() + 60);
        std::copy_n(before_.begin() + 84, 4, after.begin() + 84);
        EXPECT_EQ(after, before_);
    }
}

// --- size ---

class FileSizeTest : public RecordingTest {
protected:
    uint32_t size_ = 77;
    int32_t ask(const std::string& name) { return rec_GetFileSize(name.c_str(), &size_); }
};

TEST_F(FileSizeTest, FullPathIsAskedAsItIs) {
    EXPECT_EQ(ask(put_recording(bytes(1234, 0))), 0);
    EXPECT_EQ(size_, 1234u);
    EXPECT_EQ(short_calls(), (call_log{"Stat(rec) = 0"}));
    const std::string long_name = "mnt/" + std::string(150, 'x');
    EXPECT_EQ(ask(put(long_name, bytes(99, 0))), 0);
    EXPECT_EQ(size_, 99u);
}

TEST_F(FileSizeTest, ShortNameIsLookedForOnEveryDisk) {
    write_on_disk("23", "H0000120150102030405C000001", bytes(55, 0));
    EXPECT_EQ(ask("H0000120150102030405C000001"), 0);
    EXPECT_EQ(size_, 55u);
}

TEST_F(FileSizeTest, FileThatIsNotFound) {
    EXPECT_EQ(ask(folder_.file("mnt/missing")), -1);
    EXPECT_EQ(ask("H0000120150102030405C000001"), -1);
    EXPECT_EQ(ask(""), -1);
    EXPECT_EQ(ask(folder_.write("rec", bytes(5, 0))), -1); // not below "/mnt/"
    EXPECT_EQ(rec_GetFileSize(nullptr, &size_), -1);
    EXPECT_EQ(rec_GetFileSize("x", nullptr), -1);
    EXPECT_EQ(size_, 77u);
}

TEST_F(FileSizeTest, OnlyTheLow32BitsAreTold) {
    const std::string path = put_recording({});
    ASSERT_EQ(truncate(path.c_str(), 0x1'0000'0005), 0);
    EXPECT_EQ(ask(path), 0);
    EXPECT_EQ(size_, 5u);
}

} // namespace
