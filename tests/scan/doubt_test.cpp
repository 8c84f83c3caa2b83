// I-frames without a picture of one: a finding only where the recording has such pictures elsewhere.
#include "tests/scan/compose.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kmr::scan::finding_code;
using scan_test::bytes;
using scan_test::found;
using scan_test::frames;
using scan_test::recording_of;
using scan_test::records;
using scan_test::sound_frames;
using testing::ElementsAre;
using testing::IsEmpty;

frames without_pictures(size_t count) {
    frames all = sound_frames(count);
    for (auto& each : all)
        each.video = scan_test::p_video(each.video.size());
    return all;
}

TEST(DoubtTest, IsNoneInARecordingWithoutSuchPictures) {
    EXPECT_THAT(found(recording_of(without_pictures(15))), IsEmpty());
}

// A recording may keep its parameter sets to itself and show such pictures all the same.
TEST(DoubtTest, EndsWithAPictureThatHasNoParameterSets) {
    frames all = sound_frames(10);
    all[0].video = bytes(120, 0xAA);
    recording::put_u32(all[0].video, 0, 0x01000000); // 00 00 00 01
    all[0].video[4] = 0x65;
    all[5].video = scan_test::p_video(120);
    EXPECT_THAT(found(recording_of(all)), ElementsAre("kind-wrong @624 +152 #6 t200"));
}

TEST(DoubtTest, DoesNotHideAMissingRecordThere) {
    const frames all = without_pictures(15);
    records index = scan_test::records_for(all);
    index.erase(index.begin() + 1);
    EXPECT_THAT(found(recording_of(all, index)),
                ElementsAre("index-incomplete @1696 +212 #6 t200 missing=1"));
}

TEST(DoubtTest, BecomesAFindingWithTheFirstPictureHoweverLate) {
    frames all = without_pictures(size_t{151} * 5);
    all[size_t{150} * 5].video = scan_test::i_video();
    const auto judged = scan_test::judge(recording_of(all));
    EXPECT_EQ(judged.found[static_cast<size_t>(finding_code::kind_wrong)], 150U);
    EXPECT_EQ(judged.findings.size(), 100U);
    EXPECT_EQ(judged.findings_left_out, 50U);
    EXPECT_EQ(found(judged).front(), "kind-wrong @88 +152 #1 t0");
}

// What was looked at ends before anything could tell.
TEST(DoubtTest, IsNoneWhereThePictureMayStandFurtherOn) {
    bytes long_unit(5000, 0xAA);
    recording::put_u32(long_unit, 0, 0x01000000); // 00 00 00 01
    long_unit[4] = 0x06;
    frames all = sound_frames(10);
    all[5].video = long_unit;
    EXPECT_THAT(found(recording_of(all)), IsEmpty());

    bytes one_set = {0, 0, 0, 1};
    recording::append(one_set, scan_test::h264_sequence_set(120, 68, 4));
    recording::append(one_set, long_unit);
    all[5].video = one_set;
    EXPECT_THAT(found(recording_of(all)), IsEmpty());
    one_set.resize(200); // and where it cannot, the other set is missing
    all[5].video = one_set;
    EXPECT_THAT(found(recording_of(all)), ElementsAre("i-frame-incomplete @624 +232 #6 t200"));
}

} // namespace
