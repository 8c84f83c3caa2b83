// No memory, at every single allocation of every service.
#include "file_op/common/log.h"
#include "file_op/file_copy.h"
#include "file_op/frame_search.h"
#include "file_op/open_table.h"
#include "file_op/rebuild.h"
#include "file_op/tags.h"
#include "tests/file_op/recording_fixture.hpp"

#include <cstdlib>

namespace {

int allocations_left = -1; // negative: as many as are wanted
bool is_granted() {
    return allocations_left < 0 || allocations_left-- > 0;
}

} // namespace

// The linker leads the services' own allocations here; those of the C and C++ libraries go past.
extern "C" {
void* __real_malloc(size_t size);
void* __real_realloc(void* memory, size_t size);
int __real_posix_memalign(void** memory, size_t alignment, size_t size);

void* __wrap_malloc(size_t size) {
    return is_granted() ? __real_malloc(size) : nullptr;
}
void* __wrap_realloc(void* memory, size_t size) {
    return is_granted() ? __real_realloc(memory, size) : nullptr;
}
int __wrap_posix_memalign(void** memory, size_t alignment, size_t size) {
    return is_granted() ? __real_posix_memalign(memory, alignment, size) : 12;
}

void __wrap_sync() {}
}

namespace {

using recording::get_u32;

class NoMemoryTest : public RecordingTest {
protected:
    void TearDown() override {
        allocations_left = -1;
        RecordingTest::TearDown();
    }

    // The result of a call that is granted that many allocations.
    template <typename Call>
    static int64_t granted(int allocations, Call call) {
        allocations_left = allocations;
        const int64_t result = call();
        allocations_left = -1;
        return result;
    }

    std::string path_ =
        put_recording(recording::sound({small_frame(1, 1000, i_frame), small_frame(2, 2000, i_frame)}, 100));
    bytes before_ = scratch::read_file(path_);
};

TEST_F(NoMemoryTest, Log) {
    const scratch::folder folder;
    testing::internal::CaptureStdout();
    for (const uint32_t level : {0u, 0xFF0000u, 0x12345678u, 7u})
        EXPECT_EQ(granted(0, [&] { return zn_printf_alone(level, "x"); }), -2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_FALSE(std::filesystem::exists("printf.txt"));
}

TEST_F(NoMemoryTest, IndexQueryAndTags) {
    rec_tag_entry entry = {};
    uint32_t time = 77;
    EXPECT_EQ(granted(0, [&] { return rec_IndexQuery(path_.c_str(), 1, _rec_GetStartTm, &time, nullptr); }),
              REC_INDEX_ENDED);
    EXPECT_EQ(time, 77u);
    int32_t key = 50;
    EXPECT_EQ(granted(0, [&] { return rec_TagModify(0, path_.c_str(), &key, "goal"); }), REC_TAG_REFUSED);
    EXPECT_EQ(granted(1, [&] { return rec_TagModify(0, path_.c_str(), &key, "goal"); }), REC_TAG_REFUSED);
    EXPECT_EQ(scratch::read_file(path_), before_);
    EXPECT_EQ(granted(2, [&] { return rec_TagModify(0, path_.c_str(), &key, "goal"); }), REC_TAG_DONE);
    EXPECT_EQ(granted(0, [&] { return rec_TagQuery(path_.c_str(), "", &entry, 1); }), 0);
    EXPECT_EQ(granted(1, [&] { return rec_TagQuery(path_.c_str(), "", &entry, 1); }), 1);
}

TEST_F(NoMemoryTest, RepairLeavesTheFileAlone) {
    uint32_t walked = 77;
    EXPECT_EQ(granted(0, [&] { return rec_MakeUpIframeIndex(path_.c_str(), 0, &walked, 5); }), REC_FAILED);
    EXPECT_EQ(granted(0, [&] { return rec_RecoverRecordSize(path_.c_str(), 5); }), -1);
    EXPECT_EQ(walked, 77u);
    EXPECT_EQ(scratch::read_file(path_), before_);
    EXPECT_EQ(granted(1, [&] { return rec_RecoverRecordSize(path_.c_str(), 5); }), 0);
}

TEST_F(NoMemoryTest, RepairKeepsWhatWasFoundWhenTheArrayCannotGrow) {
    bytes file = recording::file_header(452);
    for (uint32_t i = 0; i < 452; ++i)
        recording::append(file, recording::frame_record(small_frame(i + 1, 1000 + i, i_frame)));
    path_ = put_recording(file);
    EXPECT_EQ(granted(1, [&] { return rec_RecoverRecordSize(path_.c_str(), 5); }), 0);
    const bytes after = scratch::read_file(path_);
    const size_t block = 88 + 451 * 40; // the walk has passed the frame that found no room
    ASSERT_EQ(after.size(), block + 52 + size_t{450} * 80);
    EXPECT_EQ(get_u32(after, block + 32), 450u);
    EXPECT_EQ(get_u32(after, block + 40), 450u);
}

TEST_F(NoMemoryTest, CopyOpensNothing) {
    const std::string to = folder_.file("to");
    EXPECT_EQ(granted(0, [&] { return rec_CopyFileSegment(to.c_str(), 0, path_.c_str(), 0, 10); }), -1);
    EXPECT_FALSE(std::filesystem::exists(to));
    EXPECT_EQ(granted(1, [&] { return rec_DuplicateFileHead(to.c_str(), path_.c_str()); }), 88);
}

TEST_F(NoMemoryTest, LastFrame) {
    vfs_file* const file = vfs_fopen(0, path_.c_str(), "rb");
    ASSERT_NE(file, nullptr);
    int64_t offset = 77;
    EXPECT_EQ(granted(0, [&] { return rec_SeekLastFrame(file, &offset, nullptr); }), -1);
    EXPECT_EQ(offset, 77);
    EXPECT_EQ(granted(1, [&] { return rec_SeekLastFrame(file, &offset, nullptr); }), 2);
    vfs_fclose(file);
}

TEST_F(NoMemoryTest, WorkBuffer) {
    vfs_file* file = nullptr;
    vfs_stat_record record = {};
    ASSERT_EQ(rec_OpenFile(&file, path_.c_str(), &record), REC_OK);
    EXPECT_EQ(granted(0, [&] { return rec_SetBuf(file, 100); }), REC_FAILED);
    EXPECT_EQ(granted(1, [&] { return rec_SetBuf(file, 100); }), REC_OK);
    EXPECT_EQ(rec_CloseFile(&file), REC_OK);
}

} // namespace
