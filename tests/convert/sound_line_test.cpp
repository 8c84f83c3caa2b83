#include "convert/sound_line.hpp"

#include <gtest/gtest.h>

namespace {

using kmr::convert::format_of;
using kmr::convert::sound_coding;
using kmr::convert::sound_line;

TEST(SoundLineTest, EveryCodingHasItsSilence) {
    EXPECT_EQ(format_of(sound_coding::alaw, 8000, 1).silence, 0xD5);
    EXPECT_EQ(format_of(sound_coding::mulaw, 8000, 1).silence, 0xFF);
    EXPECT_EQ(format_of(sound_coding::s16le, 8000, 1).silence, 0);
    EXPECT_EQ(format_of(sound_coding::u8, 8000, 1).silence, 0x80);
    EXPECT_EQ(format_of(sound_coding::s16le, 8000, 2).block(), 4U);
    EXPECT_EQ(format_of(sound_coding::u8, 8000, 2).block(), 2U);
}

TEST(SoundLineTest, FillsWhatCanBeHeard) {
    sound_line line(format_of(sound_coding::alaw, 8000, 1));
    EXPECT_EQ(line.missing_before(0), 0U);
    line.advance(320);
    EXPECT_EQ(line.missing_before(40), 0U);
    EXPECT_EQ(line.missing_before(140), 0U); // 1120 are due: no more than a tenth of a second is missing
    EXPECT_EQ(line.missing_before(141), 808U);
    EXPECT_EQ(line.missing_before(1040), 8000U);
    line.advance(8000);
    EXPECT_EQ(line.missing_before(1040), 0U);
    EXPECT_EQ(line.missing_before(0), 0U); // what came too early stays
    EXPECT_EQ(line.position(), 8320U);
}

} // namespace
