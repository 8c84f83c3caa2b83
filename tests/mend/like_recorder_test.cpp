// Held against the library's own repair, over the layer.
#include "mend/like_recorder.hpp"

#include "file_op/rebuild.h"
#include "libvfs/vfs.h"
#include "tests/mend/mended.hpp"
#include "tests/support/scratch.hpp"

#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::plan_status;

const uint32_t start = scan_test::start_time;

class LikeRecorderTest : public ::testing::Test {
protected:
    LikeRecorderTest() { vfs_Init(); }

    kmr::mend::recorder_plan plan(const bytes& file) {
        kmr::scan::memory_source source(file);
        return kmr::mend::plan_like_recorder(source);
    }

    void expect_same(const bytes& file) {
        const std::string path = folder_.write("rec.kmr", file);
        const auto planned = plan(file);
        ASSERT_EQ(rec_RecoverRecordSize(path.c_str(), static_cast<int32_t>(planned.start_time)), 0);
        EXPECT_EQ(with_changes(file, planned.planned), scratch::read_file(path));
        EXPECT_EQ(planned.status == plan_status::nothing_to_do, scratch::read_file(path) == file);
    }

    scratch::folder folder_;
    bytes sound_ = scan_test::recording_of(scan_test::sound_frames(15));
};

TEST_F(LikeRecorderTest, EveryCut) {
    for (size_t size = 88; size <= sound_.size(); size += 5)
        expect_same(cut(sound_, size));
}

TEST_F(LikeRecorderTest, EveryByteOfAHeaderWrong) {
    for (const unsigned header : {88U, 240U, 624U})
        for (size_t i = 0; i < 32; ++i) {
            SCOPED_TRACE(header + i);
            bytes file = sound_;
            file[header + i] = static_cast<uint8_t>(file[header + i] ^ 0x40);
            expect_same(file);
        }
}

TEST_F(LikeRecorderTest, AnIndexBehindAStampNearZero) {
    auto all = scan_test::sound_frames(10);
    for (auto& each : all)
        each.time_stamp -= 1359; // the last one has 1
    expect_same(scan_test::recording_of(all));
}

TEST_F(LikeRecorderTest, SaysWhatGoes) {
    const auto all = scan_test::sound_frames(15);
    auto index = scan_test::records_for(all);
    index[2].tag = "gone";
    index[0].time = start + 7;
    bytes file = scan_test::recording_of(all, index);
    overwrite(file, 432, 4); // P4 of 15
    const auto planned = plan(file);
    EXPECT_EQ(planned.status, plan_status::ready);
    EXPECT_EQ(planned.start_time, start + 7);
    EXPECT_EQ(planned.frames_kept, 3U);
    EXPECT_EQ(planned.frames_lost, 11U);
    EXPECT_EQ(planned.first_lost, 5U);
    EXPECT_EQ(planned.index_records, 1U);
    EXPECT_EQ(planned.tags_lost, 1U);
    expect_same(file);
}

TEST_F(LikeRecorderTest, WithoutAnIndexTheHeadersDateIsTaken) {
    EXPECT_EQ(plan(scan_test::without_index(scan_test::sound_frames(10))).start_time, start);
}

} // namespace
