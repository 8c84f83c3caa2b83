#include "mend/covers.hpp"

#include <gmock/gmock.h>

namespace {

using namespace kmr::mend;
using ::testing::ElementsAre;

constexpr uint32_t mib = 1048576;

TEST(CoversTest, ARegionOfUpToOneMebibyteHasOne) {
    EXPECT_THAT(cover_lengths(32), ElementsAre(32));
    EXPECT_THAT(cover_lengths(mib), ElementsAre(mib));
}

TEST(CoversTest, LongerOnesHaveSeveralAndNoneIsTooShortForItsHeader) {
    EXPECT_THAT(cover_lengths(mib + 32), ElementsAre(mib, 32));
    EXPECT_THAT(cover_lengths(mib + 1), ElementsAre(mib - 32, 33));
    EXPECT_THAT(cover_lengths(mib + 31), ElementsAre(mib - 32, 63));
    EXPECT_THAT(cover_lengths(2 * uint64_t{mib}), ElementsAre(mib, mib));
    EXPECT_THAT(cover_lengths(2 * uint64_t{mib} + 5), ElementsAre(mib, mib - 32, 37));
    EXPECT_THAT(cover_lengths(3 * uint64_t{mib} + 100), ElementsAre(mib, mib, mib, 100));
}

TEST(CoversTest, StampsRiseByOneAndStopInFrontOfTheNextFrames) {
    EXPECT_EQ(cover_stamp({1, 1000}, 1, 1120), 1001U);
    EXPECT_EQ(cover_stamp({1, 1000}, 2, 1120), 1002U);
    EXPECT_EQ(cover_stamp({1, 1000}, 119, 1120), 1119U);
    EXPECT_EQ(cover_stamp({1, 1000}, 120, 1120), 1119U);
    EXPECT_EQ(cover_stamp({1, 1000}, 500, 1120), 1119U);
    EXPECT_EQ(cover_stamp({1, 1000}, 7, 1002), 1001U);
}

TEST(CoversTest, WithoutRoomBetweenTheFramesTheNextStampIsTaken) {
    EXPECT_EQ(cover_stamp({1, 1000}, 1, 1001), 1001U);
    EXPECT_EQ(cover_stamp({1, 1000}, 3, 1001), 1001U);
    EXPECT_EQ(cover_stamp({1, 1000}, 1, 1000), 1000U);
}

TEST(CoversTest, StampsWrapAndMayRunBack) {
    EXPECT_EQ(cover_stamp({1, 0xFFFFFFFF}, 1, 40), 0U);
    EXPECT_EQ(cover_stamp({1, 0xFFFFFFFF}, 2, 40), 1U);
    EXPECT_EQ(cover_stamp({1, 1000}, 3, 900), 1003U); // the way round the clock is long enough
}

TEST(CoversTest, NothingFollows) {
    EXPECT_EQ(cover_stamp({1, 1000}, 1, {}), 1001U);
}

TEST(CoversTest, ACoverIsAnInsertedPFrameWithoutAudio) {
    const kmr_frame_header cover = cover_header(96, 7, 1001);
    EXPECT_EQ(cover.SyncWord, 0x02000000U);
    EXPECT_EQ(cover.FrameSize, 96U);
    EXPECT_EQ(cover.FrameKind, 1U);
    EXPECT_EQ(cover.FrameNo, 7U);
    EXPECT_EQ(cover.TimeStamp, 1001U);
    EXPECT_EQ(cover.VideoSize, 64U);
    EXPECT_EQ(cover.AFrameNum + cover.AFrameSize + cover.Reserved, 0);
    EXPECT_EQ(cover.Tag, 0x7788);
}

// 32 + 100 + 2 x 20 = 172.
kmr_frame_header with_audio() {
    kmr_frame_header header = {};
    header.SyncWord = 0x02000000;
    header.FrameSize = 172;
    header.TimeStamp = 1000;
    header.VideoSize = 100;
    header.AFrameNum = 2;
    header.AFrameSize = 20;
    return header;
}

TEST(ProvenLengthsTest, WhatTheHeaderClaimsReachesTheNextOne) {
    kmr_frame_header header = with_audio();
    header.FrameSize = 500;
    const auto proven = with_proven_lengths(header, 172, {});
    ASSERT_TRUE(proven);
    EXPECT_EQ(proven->FrameSize, 172U);
    EXPECT_EQ(proven->VideoSize, 100U);
}

TEST(ProvenLengthsTest, ItsSizeReachesTheNextOneAndTheAudioIsUsual) {
    kmr_frame_header header = with_audio();
    header.VideoSize = 7;
    const auto proven = with_proven_lengths(header, 172, with_audio());
    ASSERT_TRUE(proven);
    EXPECT_EQ(proven->VideoSize, 100U);
    EXPECT_FALSE(with_proven_lengths(header, 172, {})) << "nothing says that the audio is right";
}

TEST(ProvenLengthsTest, ItsSizeReachesTheNextOneWithTheUsualAudio) {
    kmr_frame_header header = with_audio();
    header.AFrameNum = 9;
    const auto proven = with_proven_lengths(header, 172, with_audio());
    ASSERT_TRUE(proven);
    EXPECT_EQ(proven->AFrameNum, 2);
    EXPECT_EQ(proven->VideoSize, 100U);
    header.VideoSize = 99;
    EXPECT_FALSE(with_proven_lengths(header, 172, with_audio())) << "two fields cannot both be right";
}

TEST(ProvenLengthsTest, NothingReachesTheNextOne) {
    EXPECT_FALSE(with_proven_lengths(with_audio(), 173, with_audio()));
}

TEST(ProvenLengthsTest, AudioLongerThanTheFrame) {
    kmr_frame_header header = with_audio();
    header.FrameSize = 40;
    EXPECT_FALSE(with_proven_lengths(header, 40, with_audio()));
}

} // namespace
