#include "scan/bit_reader.hpp"
#include "scan/parameter_sets.hpp"
#include "scan/payload.hpp"
#include "tests/scan/compose.hpp"

#include <gtest/gtest.h>

namespace {

namespace scan = kmr::scan;
using scan::picture_size;
using scan::video_codec;
using scan_test::bytes;

scan::payload_look look(const bytes& video, video_codec known = video_codec::unknown) {
    return scan::look_at(video, static_cast<uint32_t>(video.size()), scan::look_at_user_data(video), known);
}

bytes units(std::initializer_list<bytes> of) {
    bytes video;
    for (const bytes& each : of) {
        recording::append(video, {0, 0, 0, 1});
        recording::append(video, each);
    }
    return video;
}

TEST(BitReaderTest, ReadsExpGolomb) {
    // 1 | 010 | 011 | 00100 | 00101 | 1...
    const bytes set = {0b10100110, 0b01000010, 0b11000000};
    scan::bit_reader from(set);
    EXPECT_EQ(from.number(), 0U);
    EXPECT_EQ(from.number(), 1U);
    EXPECT_EQ(from.number(), 2U);
    EXPECT_EQ(from.number(), 3U);
    EXPECT_EQ(from.number(), 4U);
    EXPECT_FALSE(from.overrun());
}

TEST(BitReaderTest, SignsAlternate) {
    const bytes set = {0b01001100, 0b10000101}; // 1, 2, 3, 4 in Exp-Golomb
    scan::bit_reader from(set);
    EXPECT_EQ(from.signed_number(), 1);
    EXPECT_EQ(from.signed_number(), -1);
    EXPECT_EQ(from.signed_number(), 2);
    EXPECT_EQ(from.signed_number(), -2);
}

TEST(BitReaderTest, TakesEscapesOutAndStopsAtTheEnd) {
    const bytes set = {0, 0, 3, 1};
    scan::bit_reader from(set);
    EXPECT_EQ(from.bits(24), 1U);
    EXPECT_FALSE(from.overrun());
    EXPECT_EQ(from.number(), 0U);
    EXPECT_TRUE(from.overrun());
}

// Zeros in front of an escape do not count for the next one.
TEST(BitReaderTest, CountsZerosAnewBehindAnEscape) {
    const bytes set = {0, 0, 3, 0, 3, 7};
    scan::bit_reader from(set);
    EXPECT_EQ(from.bits(32), 3U);
    EXPECT_EQ(from.bits(8), 7U);
}

TEST(ParameterSetsTest, Sizes) {
    EXPECT_EQ(scan::size_in_h264_set(scan_test::h264_sequence_set(120, 68, 4)), (picture_size{1920, 1080}));
    EXPECT_EQ(scan::size_in_h264_set(scan_test::h264_sequence_set(22, 18, 0)), (picture_size{352, 288}));
    EXPECT_EQ(scan::size_in_h265_set(scan_test::h265_sequence_set(2560, 1440, 0)),
              (picture_size{2560, 1440}));
    EXPECT_EQ(scan::size_in_h265_set(scan_test::h265_sequence_set(1920, 1088, 4)),
              (picture_size{1920, 1080}));
}

TEST(ParameterSetsTest, CutOffOrAbsurdHaveNoSize) {
    const bytes whole = scan_test::h264_sequence_set(120, 68, 4);
    for (size_t length = 0; length + 1 < whole.size(); ++length)
        EXPECT_FALSE(scan::size_in_h264_set({whole.data(), length}).known()) << length;
    EXPECT_FALSE(scan::size_in_h264_set(scan_test::h264_sequence_set(5000, 68, 4)).known());
    EXPECT_FALSE(scan::size_in_h264_set(scan_test::h264_sequence_set(120, 68, 4000)).known());
    EXPECT_FALSE(scan::size_in_h265_set({}).known());
}

TEST(PayloadTest, OfAnH264IFrame) {
    const auto seen = look(scan_test::i_video());
    EXPECT_TRUE(seen.starts_with_unit);
    EXPECT_TRUE(seen.has_all_sets());
    EXPECT_TRUE(seen.has_random_access);
    EXPECT_EQ(seen.codec, video_codec::h264);
    EXPECT_EQ(seen.size, (picture_size{1920, 1080}));
}

TEST(PayloadTest, OfAnH264PFrame) {
    const auto seen = look(scan_test::p_video());
    EXPECT_TRUE(seen.has_picture);
    EXPECT_FALSE(seen.has_random_access);
    EXPECT_FALSE(seen.has_any_set());
    EXPECT_EQ(seen.codec, video_codec::h264);
}

TEST(PayloadTest, OfH265Frames) {
    const auto seen = look(units({{0x40, 0x01, 0x0C},
                                  scan_test::h265_sequence_set(2560, 1440, 0),
                                  {0x44, 0x01, 0xC1},
                                  {0x26, 0x01, 0xAF}}));
    EXPECT_EQ(seen.codec, video_codec::h265);
    EXPECT_TRUE(seen.has_all_sets());
    EXPECT_TRUE(seen.has_random_access);
    EXPECT_EQ(seen.size, (picture_size{2560, 1440}));
    EXPECT_EQ(look(units({{0x02, 0x01, 0xD0}})).codec, video_codec::h265);
    EXPECT_TRUE(look(units({{0x02, 0x01, 0xD0}})).has_picture);
    EXPECT_FALSE(look(units({{0x26, 0x01, 0xAF}})).has_all_sets());
}

TEST(PayloadTest, WithAShortStartCode) {
    EXPECT_TRUE(look({0, 0, 1, 0x41, 0x9A, 0x24}).starts_with_unit);
    EXPECT_FALSE(look({0, 0, 2, 0x41, 0x9A, 0x24}).starts_with_unit);
    EXPECT_FALSE(look({0, 0, 0}).starts_with_unit);
    EXPECT_FALSE(look({}).starts_with_unit);
    EXPECT_FALSE(look({7, 0, 0, 1, 0x41, 0x9A}).starts_with_unit);
}

TEST(PayloadTest, CutBeforeItsPictureIsNotJudged) {
    const bytes video = units({bytes(100, 0x06)});
    EXPECT_TRUE(scan::look_at(video, 5000, {}, video_codec::h264).cut);
    EXPECT_FALSE(look(video, video_codec::h264).cut);
}

// One byte of a unit tells nothing: an H.265 unit has two before its data.
TEST(PayloadTest, AUnitOfOneByteIsNone) {
    const auto seen = look(units({{0x65}}), video_codec::h264);
    EXPECT_FALSE(seen.has_picture);
    EXPECT_FALSE(seen.cut);
}

// 0x28 begins a picture parameter set of H.264, and with 0x01 behind it an H.265 picture.
TEST(PayloadTest, TheSecondByteTellsTheCodecs) {
    EXPECT_EQ(look(units({{0x28, 0xCE, 0x3C}})).codec, video_codec::h264);
    EXPECT_EQ(look(units({{0x28, 0x01, 0xAF}})).codec, video_codec::h265);
}

TEST(PayloadTest, UserDataThatLooksLikeUnitsIsPassedOver) {
    bytes video = scan_test::user_data_unit(
        scan_test::user_data_block("ZNST", 0, {0, 0, 1, 0x65, 0x88, 0, 0, 1, 0x67}));
    recording::append(video, scan_test::p_video());
    const auto seen = look(video);
    EXPECT_FALSE(seen.has_random_access);
    EXPECT_FALSE(seen.has_any_set());
    EXPECT_TRUE(seen.has_picture);
}

TEST(PayloadTest, UnitsThatTellNoCodecArePassedOver) {
    // Extra information of H.264, and names that H.265 reserves: 10, 22 and 41. A picture behind them tells.
    for (const uint8_t first : bytes{0x06, 0x14, 0x2C, 0x52, 0x81}) {
        const auto seen = look(units({{first, 0x01, 0xAF}, {0x65, 0x88, 0x84}}));
        EXPECT_EQ(seen.codec, video_codec::h264) << int{first};
        EXPECT_TRUE(seen.has_random_access);
        EXPECT_EQ(look(units({{first, 0x01, 0xAF}})).codec, video_codec::unknown) << int{first};
    }
}

TEST(PayloadTest, ReservedUnitsOfH265AreNoPictures) {
    for (const uint8_t first : bytes{0x14, 0x2C, 0x46}) { // 10, 22 and 35
        const auto seen = look(units({{first, 0x01, 0xAF}}), video_codec::h265);
        EXPECT_FALSE(seen.has_picture) << int{first};
        EXPECT_FALSE(seen.has_any_set()) << int{first};
    }
}

TEST(PayloadTest, APartitionOfASliceIsAPicture) {
    const auto seen = look(units({{0x42, 0x9A, 0x24}}), video_codec::h264);
    EXPECT_TRUE(seen.has_picture);
    EXPECT_FALSE(seen.has_random_access);
}

TEST(PayloadTest, KindsOfH264Units) {
    for (unsigned type = 0; type < 32; ++type) {
        const auto seen = look(units({{static_cast<uint8_t>(0x60 | type), 0x88, 0x84}}), video_codec::h264);
        EXPECT_EQ(seen.has_picture, type == 1 || type == 2 || type == 5) << type;
        EXPECT_EQ(seen.has_random_access, type == 5) << type;
        EXPECT_EQ(seen.has_sequence_set, type == 7) << type;
        EXPECT_EQ(seen.has_picture_set, type == 8) << type;
        EXPECT_FALSE(seen.has_video_set) << type;
    }
}

TEST(PayloadTest, KindsOfH265Units) {
    for (unsigned type = 0; type < 64; ++type) {
        const bytes video = units({{static_cast<uint8_t>(type << 1), 0x01, 0xAF}});
        const auto seen = look(video, video_codec::h265);
        const bool random_access = type >= 16 && type <= 21;
        EXPECT_EQ(seen.has_picture, type <= 9 || random_access) << type;
        EXPECT_EQ(seen.has_random_access, random_access) << type;
        EXPECT_EQ(seen.has_video_set, type == 32) << type;
        EXPECT_EQ(seen.has_sequence_set, type == 33) << type;
        EXPECT_EQ(seen.has_picture_set, type == 34) << type;
        // Type 3 could be extra information of H.264; the types left out are reserved or free for anybody.
        const bool tells = type != 3 && (type <= 9 || random_access || (type >= 32 && type <= 40));
        EXPECT_EQ(look(video).codec == video_codec::h265, tells) << type;
    }
}

} // namespace
