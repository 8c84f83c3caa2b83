// Held against the library's own repair, over the layer: headers and indexes that are out of the ordinary.
#include "file_op/rebuild.h"
#include "libvfs/vfs.h"
#include "mend/like_recorder.hpp"
#include "tests/mend/mended.hpp"
#include "tests/support/scratch.hpp"

#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::plan_status;

class LikeRecorderEdgesTest : public ::testing::Test {
protected:
    LikeRecorderEdgesTest() { vfs_Init(); }

    kmr::mend::recorder_plan expect_same(const bytes& file) {
        kmr::scan::memory_source source(file);
        auto planned = kmr::mend::plan_like_recorder(source);
        const std::string path = folder_.write("rec.kmr", file);
        EXPECT_EQ(rec_RecoverRecordSize(path.c_str(), static_cast<int32_t>(planned.start_time)), 0);
        EXPECT_EQ(with_changes(file, planned.planned), scratch::read_file(path));
        EXPECT_EQ(planned.status == plan_status::nothing_to_do, scratch::read_file(path) == file);
        return planned;
    }

    scratch::folder folder_;
    scan_test::frames all_ = scan_test::sound_frames(15);
};

// Stamps so near to 0 that the one of the index, which is 0, is no leap.
TEST_F(LikeRecorderEdgesTest, AnIndexThatPassesForAFrame) {
    for (auto& each : all_)
        each.time_stamp = each.number;
    const bytes file = scan_test::recording_of(all_);
    EXPECT_EQ(expect_same(file).status, plan_status::nothing_to_do);
    bytes other_trailer = file;
    other_trailer[file.size() - 8] = 0;
    expect_same(other_trailer);
    bytes other_length = file;
    other_length[file.size() - 4] = 45;
    expect_same(other_length);
}

TEST_F(LikeRecorderEdgesTest, AWidthThatIsTakenForANegativeOne) {
    bytes file = scan_test::recording_of(all_);
    recording::put_u16(file, 2, 0x8000);
    const auto planned = expect_same(file);
    EXPECT_EQ(planned.status, plan_status::ready);
    expect_same(cut(file, 1000));
}

TEST_F(LikeRecorderEdgesTest, AnIndexOfTheSameLengthThatTellsSomethingElse) {
    auto index = scan_test::records_for(all_);
    index[1].time += 9;
    const bytes file = scan_test::recording_of(all_, index);
    const auto planned = expect_same(file);
    EXPECT_EQ(planned.status, plan_status::ready);
    EXPECT_EQ(planned.planned.new_size(), file.size());
}

TEST_F(LikeRecorderEdgesTest, AnIndexThatTellsNoTime) {
    for (auto& each : all_)
        each.kind = 1;
    EXPECT_EQ(expect_same(scan_test::recording_of(all_, {})).start_time, scan_test::start_time);
    bytes torn = scan_test::recording_of(scan_test::sound_frames(15));
    recording::put_u32(torn, torn.size() - 300 + 32, 77); // the count of records, which its length gainsays
    expect_same(torn);
}

} // namespace
