#include "tools/compose/annex_b.hpp"

#include "tests/support/scratch.hpp"
#include "tests/tools/hex_bytes.hpp"

#include <gmock/gmock.h>

namespace {

using compose::access_unit;
using compose::codec;
using compose::split_access_units;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

auto unit(size_t offset, size_t size, bool i_frame) {
    return ::testing::AllOf(::testing::Field(&access_unit::offset, offset),
                            ::testing::Field(&access_unit::size, size),
                            ::testing::Field(&access_unit::i_frame, i_frame));
}

std::vector<size_t> i_frames_of(const std::vector<access_unit>& units) {
    std::vector<size_t> numbers;
    for (size_t i = 0; i < units.size(); ++i)
        if (units[i].i_frame)
            numbers.push_back(i);
    return numbers;
}

// The numbers of both clips are those of ffprobe.
TEST(AnnexBTest, CutsTheH264ClipIntoItsFrames) {
    const auto units = split_access_units(scratch::read_file(CLIPS "/demo.h264"), codec::h264);
    ASSERT_EQ(units.size(), 75u);
    EXPECT_THAT(i_frames_of(units), ElementsAre(0, 25, 50));
    EXPECT_THAT(units[0], unit(0, 1732, true));
    EXPECT_THAT(units[1], unit(1732, 440, false));
    EXPECT_THAT(units[24], unit(9787, 358, false));
    EXPECT_THAT(units[25], unit(10145, 2282, true));
    EXPECT_THAT(units[50], unit(20041, 2414, true));
    EXPECT_THAT(units[74], unit(31629, 350, false));
}

// ffprobe counts the first zero of a four-byte start code to the frame in front of it; here it belongs to the frame
// that it opens, so all but the first begin one byte earlier.
TEST(AnnexBTest, CutsTheH265ClipIntoItsFrames) {
    const auto units = split_access_units(scratch::read_file(CLIPS "/demo.h265"), codec::h265);
    ASSERT_EQ(units.size(), 75u);
    EXPECT_THAT(i_frames_of(units), ElementsAre(0, 25, 50));
    EXPECT_THAT(units[0], unit(0, 1665, true));
    EXPECT_THAT(units[1], unit(1665, 367, false));
    EXPECT_THAT(units[24], unit(7372, 134, false));
    EXPECT_THAT(units[25], unit(7506, 2487, true));
    EXPECT_THAT(units[50], unit(14140, 2570, true));
    EXPECT_THAT(units[74], unit(21681, 121, false));
}

TEST(AnnexBTest, H264DelimiterParameterSetsAndLeadingSeiOpenAFrame) {
    const auto stream = hex("00000001 09F0 00000001 67AA 00000001 68BB 00000001 06CC 00000001 6588"
                            "00000001 09F0 00000001 419A"
                            "00000001 68BB 00000001 419A");
    EXPECT_THAT(split_access_units(stream, codec::h264),
                ElementsAre(unit(0, 30, true), unit(30, 12, false), unit(42, 12, false)));
}

// The first bit behind the unit's header tells the first slice of a picture from the others.
TEST(AnnexBTest, H264SlicesOfOnePictureAreOneFrame) {
    const auto stream = hex("000001 6588 000001 6541 000001 41E0 000001 4142 000001 0CFF");
    EXPECT_THAT(split_access_units(stream, codec::h264), ElementsAre(unit(0, 10, true), unit(10, 15, false)));
}

TEST(AnnexBTest, H265SlicesOfOnePictureAreOneFrame) {
    const auto stream = hex("000001 4001AA 000001 4201AA 000001 4401AA 000001 260180 000001 260140"
                            "000001 4E01F0 000001 020180 000001 020140 000001 5001AA");
    EXPECT_THAT(split_access_units(stream, codec::h265), ElementsAre(unit(0, 30, true), unit(30, 24, false)));
}

TEST(AnnexBTest, EveryH265RandomAccessPictureIsAnIFrame) {
    for (int type = 0; type <= 23; ++type) {
        auto stream = hex("00000001 000180");
        stream[4] = static_cast<uint8_t>(type << 1);
        EXPECT_THAT(split_access_units(stream, codec::h265), ElementsAre(unit(0, 7, type >= 16))) << type;
    }
}

TEST(AnnexBTest, AStartCodeTakesItsLeadingZeroToTheFrameItOpens) {
    const auto stream = hex("000001 6588 00000001 419A 000001 419A");
    EXPECT_THAT(split_access_units(stream, codec::h264),
                ElementsAre(unit(0, 5, true), unit(5, 6, false), unit(11, 5, false)));
}

TEST(AnnexBTest, WhatStandsBeforeTheFirstStartCodeIsLeftOut) {
    EXPECT_THAT(split_access_units(hex("FFFF 00000001 6588"), codec::h264), ElementsAre(unit(2, 6, true)));
}

TEST(AnnexBTest, ParameterSetsAtTheEndBelongToTheLastFrame) {
    EXPECT_THAT(split_access_units(hex("00000001 6588 00000001 67AA"), codec::h264),
                ElementsAre(unit(0, 12, true)));
}

TEST(AnnexBTest, AStartCodeAtTheVeryEndOpensNothing) {
    EXPECT_THAT(split_access_units(hex("00000001 6588 000001"), codec::h264), ElementsAre(unit(0, 9, true)));
}

TEST(AnnexBTest, WithoutAPictureThereIsNoFrame) {
    EXPECT_THAT(split_access_units({}, codec::h264), IsEmpty());
    EXPECT_THAT(split_access_units(hex("010203"), codec::h264), IsEmpty());
    EXPECT_THAT(split_access_units(hex("000001"), codec::h265), IsEmpty());
    EXPECT_THAT(split_access_units(hex("00000001 67AA"), codec::h264), IsEmpty());
}

TEST(AnnexBTest, FurtherKindsOfH264Units) {
    const auto stream = hex("00000001 6588"
                            "00000001 6FAA" // 15, the parameter set of a subset, opens a frame
                            "00000001 4280" // 2, a partition of a slice
                            "00000001 73FF" // 19 opens none
                            "00000001 41"); // a slice without a byte behind its name
    EXPECT_THAT(split_access_units(stream, codec::h264), ElementsAre(unit(0, 6, true), unit(6, 23, false)));
}

TEST(AnnexBTest, FurtherKindsOfH265Units) {
    const auto stream = hex("00000001 260180"
                            "00000001 5201 00000001 020180" // 41, reserved, opens a frame
                            "00000001 6001 00000001 020180" // 48, unspecified, opens one too
                            "00000001 5001 00000001 5A01"   // 40, 45
                            "00000001 7001 00000001 0201"); // and 56 do not, nor does a slice of two bytes
    EXPECT_THAT(split_access_units(stream, codec::h265),
                ElementsAre(unit(0, 7, true), unit(7, 13, false), unit(20, 37, false)));
}

TEST(AnnexBTest, WhereTheKindsOfH265UnitsEnd) {
    const auto stream = hex("00000001 260180"
                            "00000001 4801"   // 36, the end of a sequence, opens no frame
                            "00000001 3E0180" // 31, reserved for slices
                            "00000001 4601"   // 35, a delimiter, opens a frame
                            "00000001 020180");
    EXPECT_THAT(split_access_units(stream, codec::h265),
                ElementsAre(unit(0, 13, true), unit(13, 7, false), unit(20, 13, false)));
}

} // namespace
