#include "tools/compose/text_values.hpp"

#include "tools/compose/civil_time.hpp"
#include "tools/compose/usage_error.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using compose::usage_error;
using testing::ElementsAre;
using testing::Pair;

TEST(NumbersTest, AreDecimalOrHexadecimal) {
    EXPECT_EQ(compose::parse_number("255", 255), 255U);
    EXPECT_EQ(compose::parse_number("0xfF", 255), 255U);
    EXPECT_EQ(compose::parse_number("0X10", 255), 16U);
    for (const char* const bad : {"", "256", "0x100", "0x", "1x", "-1", "ff"})
        EXPECT_THROW(compose::parse_number(bad, 255), usage_error) << bad;
}

TEST(HexTest, ComesInPairsOfDigits) {
    EXPECT_THAT(compose::parse_hex("00fF10"), ElementsAre(0, 255, 16));
    EXPECT_THAT(compose::parse_hex(""), ElementsAre());
    for (const char* const bad : {"0", "001", "0g", "zz"})
        EXPECT_THROW(compose::parse_hex(bad), usage_error) << bad;
}

TEST(PairsTest, HaveTwoPartsThatAreNotEmpty) {
    EXPECT_THAT(compose::split_pair("a=b=c", '='), Pair("a", "b=c"));
    for (const char* const bad : {"", "a", "=b", "a=", "="})
        EXPECT_THROW(compose::split_pair(bad, '='), usage_error) << bad;
}

TEST(CivilTimeTest, IsADateAndATimeOfDay) {
    EXPECT_EQ(compose::seconds_since_1970(compose::parse_civil_time("2015-01-02 03:04:05")), 1420167845U);
    EXPECT_EQ(compose::seconds_since_1970(compose::parse_civil_time("2016-02-29 23:59:59")), 1456790399U);
    for (const char* const bad :
         {"", "2015-1-2 03:04:05", "2015-01-02T03:04:05", "2015-02-29 03:04:05", "2015-13-02 03:04:05",
          "2015-01-02 24:00:00", "2015-01-02 03:60:00", "2015-01-02 03:04:60", "2015-01-02 03:04:05 "})
        EXPECT_THROW(compose::parse_civil_time(bad), usage_error) << bad;
}

} // namespace
