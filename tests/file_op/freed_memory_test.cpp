// Which of its buffers the table of open recordings gives back when one is closed, told without any sanitizer.
#include "file_op/open_table.h"
#include "tests/file_op/recording_fixture.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace {

constexpr size_t most_freed = 4096;
const void* freed[most_freed]; // noted without any memory of its own
size_t freed_count;

} // namespace

// The linker leads the program's calls here.
extern "C" void __real_free(void* memory);
extern "C" void __wrap_free(void* memory) {
    if (freed_count < most_freed)
        freed[freed_count++] = memory;
    __real_free(memory);
}

namespace {

using FreedMemoryTest = RecordingTest;

std::vector<const void*> freed_by_closing(vfs_file* handle) {
    freed_count = 0;
    EXPECT_EQ(rec_CloseFile(&handle), REC_OK);
    return std::vector<const void*>(freed, freed + freed_count);
}

TEST_F(FreedMemoryTest, BothBuffersOfAnEntryAreFreedOnce) {
    const auto path = put_recording(recording::sound({small_frame(1, 1000, 0)}));
    vfs_file* handle = nullptr;
    ASSERT_EQ(rec_OpenFile(&handle, path.c_str(), nullptr), REC_OK);
    ASSERT_EQ(rec_SetBuf(handle, 100), REC_OK);
    tOpenFile[0].pFrameBuf = std::malloc(100);
    const void* const frame_buffer = tOpenFile[0].pFrameBuf;
    const void* const work_buffer = tOpenFile[0].pWorkBuf;
    const auto gone = freed_by_closing(handle);
    EXPECT_EQ(std::count(gone.begin(), gone.end(), frame_buffer), 1);
    EXPECT_EQ(std::count(gone.begin(), gone.end(), work_buffer), 1);
}

TEST_F(FreedMemoryTest, ABorrowedFrameBufferIsLeftToItsOwner) {
    const auto path = put_recording(recording::sound({small_frame(1, 1000, 0)}));
    vfs_file* handle = nullptr;
    ASSERT_EQ(rec_OpenFile(&handle, path.c_str(), nullptr), REC_OK);
    void* const somebody_elses = std::malloc(100);
    tOpenFile[0].pFrameBuf = somebody_elses;
    tOpenFile[0].uiBorrowed = 1;
    EXPECT_THAT(freed_by_closing(handle), ::testing::Not(::testing::Contains(somebody_elses)));
    tOpenFile[0].uiBorrowed = 0;
    std::free(somebody_elses);
}

} // namespace
