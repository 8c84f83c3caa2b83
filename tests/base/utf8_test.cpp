#include "base/utf8.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

using kmr::first_utf8_character;
using kmr::is_utf8;

struct known {
    std::string bytes;
    uint32_t code;
};

// The first and the last of each length, and the neighbours of the surrogates.
TEST(Utf8Test, TellsACharacter) {
    const known all[] = {
        {std::string(1, '\0'), 0},
        {"\x7F", 0x7F},
        {"\xC2\x80", 0x80},
        {"\xDF\xBF", 0x7FF},
        {"\xE0\xA0\x80", 0x800},
        {"\xED\x9F\xBF", 0xD7FF},
        {"\xEE\x80\x80", 0xE000},
        {"\xEF\xBF\xBF", 0xFFFF},
        {"\xF0\x90\x80\x80", 0x10000},
        {"\xF4\x8F\xBF\xBF", 0x10FFFF},
    };
    for (const known& each : all) {
        const auto found = first_utf8_character(each.bytes + "z");
        EXPECT_TRUE(found.valid) << each.code;
        EXPECT_EQ(found.code, each.code);
        EXPECT_EQ(found.length, each.bytes.size());
    }
}

TEST(Utf8Test, TakesOneByteOfWhatIsNone) {
    const std::string all[] = {
        "\x80",             // begins nothing
        "\xBF",             // begins nothing
        "\xC1\xBF",         // has a shorter form
        "\xE0\x9F\xBF",     // has a shorter form
        "\xF0\x8F\xBF\xBF", // has a shorter form
        "\xED\xA0\x80",     // the first surrogate
        "\xED\xBF\xBF",     // the last one
        "\xF4\x90\x80\x80", // behind the last character
        "\xF8\x88\x80\x80", // no length begins so
        "\xFF",             // no length begins so
        "\xC3",             // cut off
        "\xE2\x82",         // cut off
        "\xF0\x9F\x93",     // cut off
        "\xE2(\xA1",        // another character within
        "\xE2\x82(",        // another character within
    };
    for (const std::string& each : all) {
        EXPECT_FALSE(first_utf8_character(each).valid) << each;
        EXPECT_EQ(first_utf8_character(each).length, 1U) << each;
    }
}

TEST(Utf8Test, HoldsForWholeTexts) {
    EXPECT_TRUE(is_utf8(""));
    EXPECT_TRUE(is_utf8("T\xC3\xBCr"));
    EXPECT_FALSE(is_utf8("T\xC3r"));
    EXPECT_FALSE(is_utf8("T\xC3\xBC\xFF"));
}

} // namespace
