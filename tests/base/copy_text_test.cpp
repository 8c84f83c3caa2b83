#include "base/copy_text.hpp"

#include <array>
#include <gtest/gtest.h>
#include <string>

namespace {

using kmr::copy_text;

// What stands in a field of 8 characters between two others, all of them 'x' before.
std::string field_after(const char* text) {
    std::array<char, 10> around;
    around.fill('x');
    copy_text({around.data() + 1, 8}, text);
    EXPECT_EQ(around.front(), 'x');
    EXPECT_EQ(around.back(), 'x');
    return {around.data() + 1, 8};
}

TEST(CopyTextTest, FillsTheRestWithZeros) {
    EXPECT_EQ(field_after("abc"), std::string("abc\0\0\0\0\0", 8));
    EXPECT_EQ(field_after(""), std::string(8, '\0'));
}

TEST(CopyTextTest, ATextThatJustFitsIsWhole) {
    EXPECT_EQ(field_after("abcdefg"), std::string("abcdefg\0", 8));
}

TEST(CopyTextTest, ALongerTextIsCutAndTerminated) {
    EXPECT_EQ(field_after("abcdefgh"), std::string("abcdefg\0", 8));
    EXPECT_EQ(field_after(std::string(1000, 'a').c_str()), std::string("aaaaaaa\0", 8));
}

TEST(CopyTextTest, AFieldOfOneCharacterHoldsItsTerminator) {
    char field = 'x';
    copy_text({&field, 1}, "abc");
    EXPECT_EQ(field, '\0');
}

TEST(CopyTextTest, ReadsNoMoreThanFits) {
    const std::array<char, 8> unterminated{'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
    std::array<char, 4> field;
    copy_text(field, unterminated.data());
    EXPECT_EQ(std::string(field.data(), field.size()), std::string("abc\0", 4));
}

} // namespace
