// Text and numbers at their edges.
#include "kmr/output/color.hpp"
#include "kmr/output/numbers.hpp"
#include "kmr/output/text.hpp"

#include <gtest/gtest.h>

namespace {

using kmr::output::text;

TEST(TextEdgesTest, EveryMarkOfDirectionIsTakenOut) {
    EXPECT_EQ(text("\xE2\x80\x8E"), "\\xe2\\x80\\x8e"); // U+200E
    EXPECT_EQ(text("\xE2\x80\x8F"), "\\xe2\\x80\\x8f"); // U+200F
    EXPECT_EQ(text("\xE2\x81\xA6"), "\\xe2\\x81\\xa6"); // U+2066
    EXPECT_EQ(text("\xE2\x81\xA9"), "\\xe2\\x81\\xa9"); // U+2069
}

TEST(TextEdgesTest, WhatStandsBesideThemStays) {
    for (const char* const beside : {"\xE2\x80\x8D", "\xE2\x80\x90", "\xE2\x80\xA7", "\xE2\x80\xAF",
                                     "\xE2\x81\xA5", "\xE2\x81\xAA", "\xC2\xA0", "~"})
        EXPECT_EQ(text(beside), beside);
    EXPECT_EQ(text("a\x7F"), "a\\x7f");
}

TEST(ColorEdgesTest, NoColorIsNoCode) {
    std::string to;
    kmr::output::append_colored(to, "sound", kmr::output::color::none, true, 6);
    EXPECT_EQ(to, "sound ");
}

TEST(ColumnTest, IsNeverTooNarrowForItsText) {
    std::string to;
    kmr::output::append_left(to, "abc", 5);
    kmr::output::append_left(to, "abcdef", 5);
    EXPECT_EQ(to, "abc  abcdef");
    to.clear();
    kmr::output::append_right(to, "abc", 5);
    kmr::output::append_right(to, "abcdef", 5);
    EXPECT_EQ(to, "  abc abcdef");
}

} // namespace
