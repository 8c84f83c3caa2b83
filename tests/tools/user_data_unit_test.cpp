#include "tools/compose/user_data.hpp"

#include "tests/tools/hex_bytes.hpp"
#include "tools/compose/usage_error.hpp"

#include <gmock/gmock.h>

namespace {

using compose::bytes;
using compose::codec;
using compose::escape;
using compose::parse_segment;
using compose::sei_unit;
using compose::size_field;
using compose::user_data_block;
using compose::user_data_segment;

bytes joined(const bytes& first, const bytes& middle, const bytes& last) {
    bytes all = first;
    recording::append(all, middle);
    recording::append(all, last);
    return all;
}

TEST(EscapeTest, TwoZerosAndALowByteArePartedBy03) {
    EXPECT_EQ(escape(hex("41 000000 42")), hex("41 0000 03 00 42"));
    EXPECT_EQ(escape(hex("41 000001 42")), hex("41 0000 03 01 42"));
    EXPECT_EQ(escape(hex("41 000002 42")), hex("41 0000 03 02 42"));
    EXPECT_EQ(escape(hex("41 000003 42")), hex("41 0000 03 03 42"));
}

TEST(EscapeTest, TwoZerosAndAHigherByteStay) {
    EXPECT_EQ(escape(hex("41 000004 42")), hex("41 000004 42"));
    EXPECT_EQ(escape(hex("00 01 00 02 00 03")), hex("00 01 00 02 00 03"));
}

TEST(EscapeTest, CountsFromTheFirstByteOn) {
    EXPECT_EQ(escape(hex("00 01")), hex("00 01"));
    EXPECT_EQ(escape(hex("0000 01")), hex("0000 03 01"));
}

TEST(EscapeTest, TwoZerosAtTheEndStay) {
    EXPECT_EQ(escape(hex("41 0000")), hex("41 0000"));
}

TEST(EscapeTest, ARunOfZerosIsPartedEveryTwo) {
    EXPECT_EQ(escape(hex("0000 0000 0000")), hex("0000 03 0000 03 0000"));
}

TEST(SizeFieldTest, Adds255ForEveryFF) {
    EXPECT_EQ(size_field(0), hex("00"));
    EXPECT_EQ(size_field(254), hex("FE"));
    EXPECT_EQ(size_field(255), hex("FF 00"));
    EXPECT_EQ(size_field(265), hex("FF 0A"));
    EXPECT_EQ(size_field(1024), hex("FF FF FF FF 04"));
    EXPECT_EQ(size_field(1275), hex("FF FF FF FF FF 00"));
}

TEST(SeiUnitTest, CarriesOneSegmentInH264) {
    const user_data_block block = {.segments = {{.flag = 0xFED1, .payload = hex("41 42")}}};
    EXPECT_EQ(sei_unit(block, codec::h264), hex("00000001 06F0 0E 5A4E5354 0100 0600 D1FE 0200 4142 80"));
}

TEST(SeiUnitTest, CarriesOneSegmentInH265) {
    const user_data_block block = {.segments = {{.flag = 0xFED1, .payload = hex("41 42")}}};
    EXPECT_EQ(sei_unit(block, codec::h265), hex("00000001 4E01F0 0E 5A4E5354 0100 0600 D1FE 0200 4142 80"));
}

TEST(SeiUnitTest, CarriesSegmentsOneAfterTheOther) {
    const user_data_block block = {
        .segments = {{.flag = 0xFED9, .payload = hex("05000300")}, {.flag = 1, .payload = hex("41")}}};
    EXPECT_EQ(sei_unit(block, codec::h264),
              hex("00000001 06F0 15 5A4E5354 0200 0D00 D9FE 0400 05000300 0100 0100 41 80"));
}

// Nine bytes of segments become ten by one escape, so the size is 18 and the length field has to say 10.
TEST(SeiUnitTest, TheLengthFieldIsThatOfTheEscapedBlock) {
    const user_data_block block = {.segments = {{.flag = 0xFED1, .payload = hex("00 00 03 00 00")}}};
    EXPECT_EQ(sei_unit(block, codec::h264),
              hex("00000001 06F0 12 5A4E5354 0100 0A00 D1FE 0500 0003 0003 0000 80"));
}

// Length 0 behind a count of 0 would have to be escaped, which makes it 1, which has to be escaped as well.
TEST(SeiUnitTest, AnEmptyBlockCountsTheEscapeOfItsOwnLength) {
    EXPECT_EQ(sei_unit({}, codec::h264), hex("00000001 06F0 09 5A4E5354 0000 03 0100 80"));
}

// With 256 bytes of segments the length bytes 00 01 need an escape, with 257 the bytes 01 01 need none: neither
// length is right until a byte FF joins the segments.
TEST(SeiUnitTest, ABlockThatNoLengthFitsGetsOneByteMore) {
    const bytes payload(252, 0x41);
    const user_data_block block = {.segments = {{.flag = 0xFED1, .payload = payload}}};
    EXPECT_EQ(sei_unit(block, codec::h264),
              joined(hex("00000001 06F0 FF0A 5A4E5354 0100 0101 D1FE FC00"), payload, hex("FF 80")));
}

TEST(SeiUnitTest, CanBeWrongOnPurpose) {
    const std::vector<user_data_segment> segments = {{.flag = 0xFED1, .payload = hex("41 42")}};
    EXPECT_EQ(sei_unit({.segments = segments, .magic = hex("5A4E5353")}, codec::h264),
              hex("00000001 06F0 0E 5A4E5353 0100 0600 D1FE 0200 4142 80"));
    EXPECT_EQ(sei_unit({.segments = segments, .declared_count = 7}, codec::h264),
              hex("00000001 06F0 0E 5A4E5354 0700 0600 D1FE 0200 4142 80"));
    EXPECT_EQ(sei_unit({.segments = segments, .declared_length = 5}, codec::h264),
              hex("00000001 06F0 0E 5A4E5354 0100 0500 D1FE 0200 4142 80"));
    EXPECT_EQ(sei_unit({.segments = segments, .declared_size = 1025}, codec::h264),
              hex("00000001 06F0 FFFFFFFF05 5A4E5354 0100 0600 D1FE 0200 4142 80"));
    EXPECT_EQ(sei_unit({.segments = segments, .lead = hex("00")}, codec::h264),
              hex("00 00000001 06F0 0E 5A4E5354 0100 0600 D1FE 0200 4142 80"));
    EXPECT_EQ(sei_unit({.content = hex("5A 000001")}, codec::h264), hex("00000001 06F0 05 5A 0000 03 01 80"));
}

TEST(SeiUnitTest, ASegmentCanSayThatItIsLonger) {
    const user_data_block block = {
        .segments = {{.flag = 0xFED1, .payload = hex("41 42"), .declared_length = 99}}};
    EXPECT_EQ(sei_unit(block, codec::h264), hex("00000001 06F0 0E 5A4E5354 0100 0600 D1FE 6300 4142 80"));
}

TEST(SeiUnitTest, CanGoUnescaped) {
    const user_data_block block = {.segments = {{.flag = 0xFED1, .payload = hex("00 00 03")}},
                                   .escaped = false};
    EXPECT_EQ(sei_unit(block, codec::h264), hex("00000001 06F0 0F 5A4E5354 0100 0700 D1FE 0300 000003 80"));
}

TEST(SeiUnitTest, RefusesMoreThanALengthFieldCanSay) {
    const user_data_block block = {.segments = {{.flag = 0xFED1, .payload = bytes(65532, 0x41)}}};
    EXPECT_THROW(sei_unit(block, codec::h264), compose::usage_error);
}

void expect_segment(const std::string& text, uint16_t flag, const bytes& payload) {
    const user_data_segment segment = parse_segment(text);
    EXPECT_EQ(segment.flag, flag) << text;
    EXPECT_EQ(segment.payload, payload) << text;
}

TEST(SegmentTest, EveryNameHasItsFlag) {
    const bytes x = hex("78");
    expect_segment("osd=x", 0xFED1, x);
    expect_segment("vca=x", 0xFED2, x);
    expect_segment("frametime=x", 0xFED3, x);
    expect_segment("gps=x", 0xFED4, x);
    expect_segment("plate=x", 0xFED5, x);
    expect_segment("audio=x", 0xFED6, x);
    expect_segment("vca_vi=x", 0xFED8, x);
    expect_segment("user_define=x", 0x0001, x);
}

TEST(SegmentTest, TwoNumbersAreStoredLittleEndian) {
    expect_segment("vca_size=352,288", 0xFED7, hex("60010000 20010000"));
    expect_segment("vca_target=5,0x103", 0xFED9, hex("0500 0301"));
}

TEST(SegmentTest, AnyFlagTakesBytes) {
    expect_segment("0x1234=00ff", 0x1234, hex("00FF"));
    expect_segment("0xFED7=", 0xFED7, {});
}

TEST(SegmentTest, TextMayBeEmptyOrHoldAnything) {
    expect_segment("osd=", 0xFED1, {});
    expect_segment("osd=a=b,c", 0xFED1, hex("61 3D 62 2C 63"));
}

TEST(SegmentTest, RefusesWhatItCannotRead) {
    for (const char* text :
         {"", "osd", "=x", "nothing=x", "0x10000=00", "0x1234=0", "vca_size=1", "vca_target=1,65536"})
        EXPECT_THROW(parse_segment(text), compose::usage_error) << text;
}

} // namespace
