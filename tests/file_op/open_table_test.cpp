#include "file_op/open_table.h"

#include "file_op/common/rec_status.h"
#include "tests/file_op/layer_fixture.hpp"

#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

constexpr char short_name[] = "H2cdef20150102opqrstCvwxyz0";
constexpr char full_path[] = "/dev/scsi/host02/part1/H2cdef20150102opqrstCvwxyz0";

std::string quoted(const std::string& text) {
    return '"' + text + '"';
}

bool is_unlocked() {
    if (pthread_mutex_trylock(&g_tFileLock) != 0)
        return false;
    pthread_mutex_unlock(&g_tFileLock);
    return true;
}

int entries_in_use() {
    int count = 0;
    for (const rec_open_entry& entry : tOpenFile)
        count += entry.uiInUse != 0;
    return count;
}

class OpenTableTest : public LayerTest {
protected:
    void TearDown() override {
        EXPECT_TRUE(is_unlocked());
        EXPECT_EQ(entries_in_use(), 0);
        LayerTest::TearDown();
    }

    int open(vfs_file*& handle, const std::string& name) {
        stat_ = {};
        return rec_OpenFile(&handle, name.c_str(), &stat_);
    }

    // A handle that shows whether it was written to.
    vfs_file* const untouched_ = &g_stvfile[0];
    vfs_stat_record stat_ = {};
};

TEST_F(OpenTableTest, StateBeforeTheFirstOpen) {
    // The first test of the program: nothing has been opened yet.
    EXPECT_EQ(bOpenFirst, 1);
    EXPECT_EQ(g_iStopCopyFlag, 0);
    EXPECT_EQ(std::size(tOpenFile), 50u);
    EXPECT_EQ(sizeof tOpenFile[0].cPath, 128u);
    EXPECT_EQ(std::size(tOpenFile[0].uiState), 11u);
    EXPECT_EQ(std::size(tOpenFile[0].uiWords), 2u);
    EXPECT_EQ(rec_SetBuf(untouched_, 100), 1099);
}

TEST_F(OpenTableTest, FirstOpenClearsTheTable) {
    bOpenFirst = 1;
    std::memset(static_cast<void*>(tOpenFile), 0xEE, sizeof tOpenFile);
    vfs_file* handle = untouched_;
    EXPECT_EQ(open(handle, ""), 1010); // even when it fails
    EXPECT_EQ(handle, untouched_);
    EXPECT_EQ(bOpenFirst, 0);
    for (const rec_open_entry& entry : tOpenFile) {
        rec_open_entry cleared;
        std::memset(static_cast<void*>(&cleared), 0, sizeof cleared);
        EXPECT_EQ(entry.uiInUse, 0u);
        EXPECT_EQ(std::memcmp(entry.cPath, cleared.cPath, sizeof entry.cPath), 0);
        EXPECT_EQ(entry.pHandle, nullptr);
        EXPECT_EQ(std::memcmp(entry.uiState, cleared.uiState, sizeof entry.uiState), 0);
        EXPECT_EQ(entry.pFrameBuf, nullptr);
        EXPECT_EQ(entry.uiWords[0], 0u);
        EXPECT_EQ(entry.uiWords[1], 0u);
        EXPECT_EQ(entry.pWorkBuf, nullptr);
        EXPECT_EQ(entry.uiBorrowed, 0u);
    }
    // A second one does not: the table is in use by now.
    tOpenFile[49].uiState[3] = 7;
    EXPECT_EQ(open(handle, ""), 1010);
    EXPECT_EQ(tOpenFile[49].uiState[3], 7u);
    tOpenFile[49].uiState[3] = 0;
}

TEST_F(OpenTableTest, OpensAFullPathAsItStands) {
    const std::string path = folder_.write("recording", recording::bytes(200, 1));
    vfs_file* handle = nullptr;
    EXPECT_EQ(open(handle, path), 1001);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(stat_.Size, 200);
    EXPECT_EQ(tOpenFile[0].uiInUse, 1u);
    EXPECT_EQ(tOpenFile[0].pHandle, handle);
    EXPECT_EQ(tOpenFile[0].cPath, path);
    EXPECT_EQ(rec_CloseFile(&handle), 1001);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(module_probe::calls(),
              (call_log{"sznfs_Stat(" + quoted(path) + ") = 0", "sznfs_Open(0, " + quoted(path) + ", 0) = 3",
                        "sznfs_Close(3) = 0"}));
}

TEST_F(OpenTableTest, OpensAShortNameOnItsDisk) {
    write_on_disk("02", short_name, recording::bytes(99, 1));
    vfs_file* handle = nullptr;
    EXPECT_EQ(open(handle, short_name), 1001);
    EXPECT_EQ(stat_.Size, 99);
    EXPECT_STREQ(tOpenFile[0].cPath, full_path);
    EXPECT_EQ(module_probe::calls(), (call_log{"sznfs_Stat(" + quoted(short_name) + ") = -1",
                                               "znfs_Stat(" + quoted(full_path) + ") = 0",
                                               "znfs_Open(0, " + quoted(full_path) + ", 0) = 3"}));
    EXPECT_EQ(rec_CloseFile(&handle), 1001);
}

TEST_F(OpenTableTest, OpensAShortNameWhereverTheDiskWent) {
    write_on_disk("00", "H2cdef20150102opqrstLvwxyz0");
    const std::string found = "/dev/scsi/host00/part1/H2cdef20150102opqrstLvwxyz0";
    vfs_file* handle = nullptr;
    EXPECT_EQ(open(handle, short_name), 1001);
    EXPECT_EQ(tOpenFile[0].cPath, found);
    EXPECT_EQ(module_probe::calls().back(), "znfs_Open(0, " + quoted(found) + ", 0) = 3");
    EXPECT_EQ(rec_CloseFile(&handle), 1001);
}

TEST_F(OpenTableTest, HostFileOfThatShortNameWins) {
    write_on_disk("02", short_name, recording::bytes(99, 1));
    folder_.write(short_name, recording::bytes(11, 1));
    vfs_file* handle = nullptr;
    EXPECT_EQ(open(handle, short_name), 1001);
    EXPECT_EQ(stat_.Size, 11);
    EXPECT_STREQ(tOpenFile[0].cPath, short_name);
    EXPECT_EQ(rec_CloseFile(&handle), 1001);
}

TEST_F(OpenTableTest, StatRecordIsOptional) {
    write_on_disk("03", short_name);
    vfs_file* handle = nullptr;
    EXPECT_EQ(rec_OpenFile(&handle, short_name, nullptr), 1001);
    EXPECT_EQ(rec_CloseFile(&handle), 1001);
}

TEST_F(OpenTableTest, NameThatCannotBeCompleted) {
    vfs_file* handle = untouched_;
    EXPECT_EQ(open(handle, "no name"), 1010);
    EXPECT_EQ(open(handle, std::string(short_name) + "x"), 1010);
    EXPECT_EQ(rec_OpenFile(&handle, nullptr, &stat_), 1010);
    EXPECT_EQ(handle, untouched_);
}

TEST_F(OpenTableTest, NameThatIsNotFound) {
    vfs_file* handle = untouched_;
    EXPECT_EQ(open(handle, short_name), 1026);
    EXPECT_EQ(open(handle, "H2cdef20150102opqrstBvw.jpg"), -1); // the file system's own result
    module_probe::fail("Stat", 25, -9);
    EXPECT_EQ(open(handle, "H2cdef20150102opqrstBvw.jpg"), -9);
    EXPECT_EQ(handle, untouched_);
}

TEST_F(OpenTableTest, NameWhosePathHasNoDisk) {
    vfs_file* handle = untouched_;
    EXPECT_EQ(open(handle, "Ua1def20150102opqrstIvwxyz0"), 1099);
    EXPECT_EQ(open(handle, "Nb2def20150102opqrstIvwxyz0"), 1099);
    EXPECT_EQ(open(handle, "Hocdef20150102opqrstIvwxyz0"), 1099); // disk 24: the path is "/" and the name
    // An unusable long name completes to nothing.
    EXPECT_EQ(open(handle, "/no/such/recording/on/this/machine"), 1099);
    EXPECT_EQ(module_probe::calls(), (call_log{"sznfs_Stat(\"Ua1def20150102opqrstIvwxyz0\") = -1",
                                               "sznfs_Stat(\"Nb2def20150102opqrstIvwxyz0\") = -1",
                                               "sznfs_Stat(\"Hocdef20150102opqrstIvwxyz0\") = -1",
                                               "sznfs_Stat(\"/no/such/recording/on/this/machine\") = -1"}));
    EXPECT_EQ(handle, untouched_);
}

TEST_F(OpenTableTest, FileThatCannotBeOpenedLeavesANullHandle) {
    write_on_disk("02", short_name);
    module_probe::fail("Open", 1, -5);
    vfs_file* handle = untouched_;
    EXPECT_EQ(open(handle, short_name), 1099);
    EXPECT_EQ(handle, nullptr);
}

TEST_F(OpenTableTest, EveryModuleCallMayFail) {
    write_on_disk("03", short_name);
    // Stat of the name, of disk 02 twice, 00 twice, 01 twice, of disk 03 with L and with C; Open.
    const int expected[] = {1001, 1001, 1001, 1001, 1001, 1001, 1001, 1001, 1026, 1099};
    for (int nth = 1; nth <= 10; ++nth) {
        module_probe::reset();
        module_probe::fail("*", nth);
        vfs_file* handle = untouched_;
        EXPECT_EQ(open(handle, short_name), expected[nth - 1]) << nth;
        EXPECT_TRUE(is_unlocked());
        if (expected[nth - 1] == 1001) {
            EXPECT_EQ(rec_CloseFile(&handle), 1001);
        }
        EXPECT_EQ(layer_descriptors(), 0) << nth;
        EXPECT_EQ(entries_in_use(), 0) << nth;
    }
}

TEST_F(OpenTableTest, LongPathIsCutInTheEntryOnly) {
    const std::string name(200, 'p');
    folder_.write(name, {});
    vfs_file* handle = nullptr;
    EXPECT_EQ(open(handle, name), 1001);
    EXPECT_EQ(tOpenFile[0].cPath, std::string(127, 'p'));
    EXPECT_EQ(rec_CloseFile(&handle), 1001);
}

TEST_F(OpenTableTest, FiftyFilesAndNotOneMore) {
    const std::string path = folder_.write("recording", {});
    vfs_file* handles[50];
    for (int i = 0; i < 50; ++i) {
        ASSERT_EQ(open(handles[i], path), 1001) << i;
        EXPECT_EQ(tOpenFile[i].pHandle, handles[i]);
    }
    module_probe::reset();
    vfs_file* one_more = untouched_;
    EXPECT_EQ(open(one_more, path), 1099);
    EXPECT_EQ(one_more, nullptr);
    EXPECT_EQ(module_probe::calls(),
              (call_log{"sznfs_Stat(" + quoted(path) + ") = 0", "sznfs_Open(0, " + quoted(path) + ", 0) = 53",
                        "sznfs_Close(53) = 0"}));
    EXPECT_EQ(layer_descriptors(), 50);

    // The lowest free entry is taken again.
    EXPECT_EQ(rec_CloseFile(&handles[17]), 1001);
    EXPECT_EQ(rec_CloseFile(&handles[3]), 1001);
    EXPECT_EQ(open(handles[3], path), 1001);
    EXPECT_EQ(tOpenFile[3].pHandle, handles[3]);
    EXPECT_EQ(tOpenFile[17].uiInUse, 0u);
    EXPECT_EQ(open(handles[17], path), 1001);
    for (vfs_file*& handle : handles)
        EXPECT_EQ(rec_CloseFile(&handle), 1001);
}

TEST_F(OpenTableTest, ClosingTwiceMeetsANullHandle) {
    vfs_file* handle = nullptr;
    ASSERT_EQ(open(handle, folder_.write("recording", {})), 1001);
    EXPECT_EQ(rec_CloseFile(&handle), 1001);
    EXPECT_EQ(rec_CloseFile(&handle), 1099);
    EXPECT_EQ(rec_CloseFile(nullptr), 1099);
}

TEST_F(OpenTableTest, StreamThatIsNotInTheTableIsNotClosed) {
    vfs_file* stream = vfs_fopen(0, folder_.write("recording", {}).c_str(), "rb");
    ASSERT_NE(stream, nullptr);
    vfs_file* handle = stream;
    module_probe::reset();
    EXPECT_EQ(rec_CloseFile(&handle), 1099);
    EXPECT_EQ(handle, stream);
    EXPECT_TRUE(module_probe::calls().empty());
    EXPECT_EQ(vfs_fclose(stream), 0);
}

TEST_F(OpenTableTest, CloseClearsTheEntryWhateverTheModuleSays) {
    vfs_file* handle = nullptr;
    ASSERT_EQ(open(handle, folder_.write("recording", {})), 1001);
    vfs_file* const stream = handle;
    module_probe::fail("Close", 1, -3);
    EXPECT_EQ(rec_CloseFile(&handle), 1001);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(entries_in_use(), 0);
    EXPECT_EQ(vfs_fclose(stream), 0); // the layer still has it
}

TEST_F(OpenTableTest, CloseClearsWhatTheEntryHolds) {
    vfs_file* handle = nullptr;
    ASSERT_EQ(open(handle, folder_.write("recording", {})), 1001);
    rec_open_entry& entry = tOpenFile[0];
    for (uint32_t& word : entry.uiState)
        word = 5;
    entry.uiWords[0] = entry.uiWords[1] = 6;
    entry.pFrameBuf = std::malloc(100);
    ASSERT_EQ(rec_SetBuf(handle, 100), 1001);
    EXPECT_EQ(rec_CloseFile(&handle), 1001);
    EXPECT_EQ(entry.uiInUse, 0u);
    EXPECT_EQ(entry.pHandle, nullptr);
    for (const char letter : entry.cPath)
        EXPECT_EQ(letter, '\0');
    for (const uint32_t word : entry.uiState)
        EXPECT_EQ(word, 0u);
    EXPECT_EQ(entry.uiWords[0], 0u);
    EXPECT_EQ(entry.uiWords[1], 0u);
    EXPECT_EQ(entry.pFrameBuf, nullptr);
    EXPECT_EQ(entry.pWorkBuf, nullptr);
}

TEST_F(OpenTableTest, BorrowedFrameBufferIsNotFreed) {
    vfs_file* handle = nullptr;
    ASSERT_EQ(open(handle, folder_.write("recording", {})), 1001);
    int somebody_elses = 0;
    tOpenFile[0].pFrameBuf = &somebody_elses;
    tOpenFile[0].uiBorrowed = 1;
    EXPECT_EQ(rec_CloseFile(&handle), 1001);
    EXPECT_EQ(tOpenFile[0].pFrameBuf, nullptr);
    EXPECT_EQ(tOpenFile[0].uiBorrowed, 1u); // stays
    tOpenFile[0].uiBorrowed = 0;
}

TEST_F(OpenTableTest, WorkBufferOfUpTo0xFFFFFBytes) {
    const std::string path = folder_.write("recording", {});
    for (const int size : {1, 0xFFFFF}) {
        vfs_file* handle = nullptr;
        ASSERT_EQ(open(handle, path), 1001);
        EXPECT_EQ(rec_SetBuf(handle, size), 1001) << size;
        ASSERT_NE(tOpenFile[0].pWorkBuf, nullptr);
        std::memset(tOpenFile[0].pWorkBuf, 1, static_cast<size_t>(size));
        EXPECT_EQ(rec_CloseFile(&handle), 1001);
    }
}

TEST_F(OpenTableTest, WorkBufferIsRefused) {
    vfs_file* handle = nullptr;
    ASSERT_EQ(open(handle, folder_.write("recording", {})), 1001);
    for (const int size : {0, -1, -2147483647 - 1, 0x100000, 2147483647})
        EXPECT_EQ(rec_SetBuf(handle, size), 1099) << size;
    EXPECT_EQ(rec_SetBuf(nullptr, 100), 1099);
    EXPECT_EQ(rec_SetBuf(untouched_, 100), 1099);
    EXPECT_EQ(tOpenFile[0].pWorkBuf, nullptr);
    vfs_file* const closed = handle;
    EXPECT_EQ(rec_CloseFile(&handle), 1001);
    EXPECT_EQ(rec_SetBuf(closed, 100), 1099);
}

TEST_F(OpenTableTest, SecondWorkBufferReplacesTheFirstWithoutFreeingIt) {
    vfs_file* handle = nullptr;
    ASSERT_EQ(open(handle, folder_.write("recording", {})), 1001);
    ASSERT_EQ(rec_SetBuf(handle, 10), 1001);
    void* const first = tOpenFile[0].pWorkBuf;
    ASSERT_EQ(rec_SetBuf(handle, 20), 1001);
    EXPECT_NE(tOpenFile[0].pWorkBuf, first);
    std::free(first);
    EXPECT_EQ(rec_CloseFile(&handle), 1001);
}

TEST_F(OpenTableTest, StopFlag) {
    EXPECT_EQ(rec_StopCopy(), 1001);
    EXPECT_EQ(g_iStopCopyFlag, 1);
    EXPECT_EQ(rec_StopCopy(), 1001);
    EXPECT_EQ(g_iStopCopyFlag, 1);
    EXPECT_EQ(rec_ClearStopCopyFlag(), 1001);
    EXPECT_EQ(g_iStopCopyFlag, 0);
}

// --- The file header ---

kmr_file_header header_of(uint8_t fill) {
    kmr_file_header header;
    std::memset(&header, fill, sizeof header);
    return header;
}

TEST_F(OpenTableTest, HeaderOfAnOpenRecording) {
    const recording::bytes file = recording::sound({{}});
    vfs_file* handle = nullptr;
    ASSERT_EQ(open(handle, folder_.write("recording", file)), 1001);
    vfs_fseek(handle, 100, SEEK_SET);
    module_probe::reset();
    kmr_file_header header = header_of(0xEE);
    EXPECT_EQ(rec_ReadFileHeader(handle, "not looked at", &header), 1001);
    EXPECT_EQ(module_probe::calls(), (call_log{"sznfs_Seek(3, 0, 0) = 0", "sznfs_Read(3, 88) = 88"}));
    EXPECT_EQ(std::memcmp(&header, file.data(), 88), 0);
    EXPECT_EQ(vfs_ftell(handle), 88);
    EXPECT_EQ(rec_CloseFile(&handle), 1001);
}

TEST_F(OpenTableTest, HeaderOfAFileByName) {
    const recording::bytes file = recording::sound({{}});
    const std::string path = folder_.write("recording", file);
    kmr_file_header header = header_of(0xEE);
    EXPECT_EQ(rec_ReadFileHeader(nullptr, path.c_str(), &header), 1001);
    EXPECT_EQ(std::memcmp(&header, file.data(), 88), 0);
    EXPECT_EQ(module_probe::calls(), (call_log{"sznfs_Open(0, " + quoted(path) + ", 0) = 3",
                                               "sznfs_Read(3, 88) = 88", "sznfs_Close(3) = 0"}));
    EXPECT_EQ(entries_in_use(), 0);
}

TEST_F(OpenTableTest, HeaderNameIsNotCompleted) {
    write_on_disk("02", short_name, recording::sound({{}}));
    kmr_file_header header = header_of(0xEE);
    EXPECT_EQ(rec_ReadFileHeader(nullptr, short_name, &header), 1033);
    EXPECT_EQ(rec_ReadFileHeader(nullptr, full_path, &header), 1001);
}

TEST_F(OpenTableTest, HeaderThatCannotBeOpened) {
    kmr_file_header header = header_of(0xEE);
    EXPECT_EQ(rec_ReadFileHeader(nullptr, "missing", &header), 1033);
    EXPECT_EQ(header.FrameRate, 0xEEEE);
    EXPECT_EQ(rec_ReadFileHeader(nullptr, nullptr, &header), 1033);
    header.FrameRate = 0;
    EXPECT_EQ(rec_ReadFileHeader(nullptr, "missing", &header), 1033);
    EXPECT_EQ(header.FrameRate, 25); // on failure too
    EXPECT_EQ(header.Width, 0xEEEE);
}

TEST_F(OpenTableTest, HeaderThatIsShort) {
    for (const size_t length : {0U, 1U, 2U, 87U}) {
        const std::string path = folder_.write("recording", recording::bytes(length, 0x11));
        kmr_file_header header = header_of(0);
        EXPECT_EQ(rec_ReadFileHeader(nullptr, path.c_str(), &header), 1045) << length;
        EXPECT_EQ(header.FrameRate, length == 0 ? 25 : length == 1 ? 0x11 : 0x1111);
        vfs_file* handle = nullptr;
        ASSERT_EQ(open(handle, path), 1001);
        EXPECT_EQ(rec_ReadFileHeader(handle, nullptr, &header), 1045) << length;
        EXPECT_EQ(rec_CloseFile(&handle), 1001);
    }
}

TEST_F(OpenTableTest, HeaderFrameRateOfZeroReadsAs25) {
    recording::bytes file = recording::sound({{}});
    recording::put_u16(file, 0, 0);
    const std::string path = folder_.write("recording", file);
    kmr_file_header header = header_of(0xEE);
    EXPECT_EQ(rec_ReadFileHeader(nullptr, path.c_str(), &header), 1001);
    EXPECT_EQ(header.FrameRate, 25);
    EXPECT_EQ(header.Width, 1920);
    recording::put_u16(file, 0, 256); // only the whole field counts
    folder_.write("recording", file);
    EXPECT_EQ(rec_ReadFileHeader(nullptr, path.c_str(), &header), 1001);
    EXPECT_EQ(header.FrameRate, 256);
}

TEST_F(OpenTableTest, HeaderThatTheModuleDoesNotGive) {
    const std::string path = folder_.write("recording", recording::sound({{}}));
    const int expected[] = {1033, 1045};
    for (int nth = 1; nth <= 2; ++nth) {
        module_probe::fail("*", nth);
        kmr_file_header header = header_of(0);
        EXPECT_EQ(rec_ReadFileHeader(nullptr, path.c_str(), &header), expected[nth - 1]) << nth;
        EXPECT_EQ(header.FrameRate, 25);
        EXPECT_EQ(layer_descriptors(), 0);
    }
    kmr_file_header header = header_of(0);
    module_probe::cut("Read", 1, 87);
    EXPECT_EQ(rec_ReadFileHeader(nullptr, path.c_str(), &header), 1045);
}

// --- The lock ---

decltype(vfs_module_operations::Stat) real_stat;
decltype(vfs_module_operations::Open) real_open;
decltype(vfs_module_operations::Close) real_close;

int32_t locked_stat(const char* path, vfs_stat_record* record) {
    EXPECT_FALSE(is_unlocked());
    return real_stat(path, record);
}

int32_t locked_open(int32_t selector, const char* path, int32_t flags) {
    EXPECT_FALSE(is_unlocked());
    return real_open(selector, path, flags);
}

int32_t locked_close(int32_t file) {
    EXPECT_FALSE(is_unlocked());
    return real_close(file);
}

TEST_F(OpenTableTest, LockIsHeldAcrossTheModulesCalls) {
    const std::string path = folder_.write("recording", {});
    vfs_module_operations& operations = g_stvfsmnt.Entries[1].Operations;
    const vfs_module_operations before = operations;
    real_stat = before.Stat;
    real_open = before.Open;
    real_close = before.Close;
    operations.Stat = locked_stat;
    operations.Open = locked_open;
    operations.Close = locked_close;
    vfs_file* handle = nullptr;
    EXPECT_EQ(open(handle, path), 1001);
    EXPECT_TRUE(is_unlocked());
    EXPECT_EQ(rec_CloseFile(&handle), 1001);
    EXPECT_TRUE(is_unlocked());
    EXPECT_EQ(open(handle, short_name), 1026);
    operations = before;
}

TEST_F(OpenTableTest, ThreadsShareTheTable) {
    const std::string path = folder_.write("recording", recording::sound({{}}));
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&path] {
            for (int round = 0; round < 50; ++round) {
                vfs_file* handle = nullptr;
                vfs_stat_record record = {};
                kmr_file_header header;
                ASSERT_EQ(rec_OpenFile(&handle, path.c_str(), &record), 1001);
                EXPECT_EQ(rec_SetBuf(handle, 64), 1001);
                EXPECT_EQ(rec_ReadFileHeader(handle, nullptr, &header), 1001);
                EXPECT_EQ(rec_CloseFile(&handle), 1001);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
