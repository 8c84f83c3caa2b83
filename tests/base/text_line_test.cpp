// What a row of a table promises: the text that printf would make of the same fields.
#include "base/text_line.hpp"

#include <array>
#include <climits>
#include <cstdio>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace {

using kmr::text_line;

// What is printed of the fields that `put` fills in.
template <typename Put>
std::string line_of(Put put) {
    testing::internal::CaptureStdout();
    text_line line;
    put(line);
    line.print();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

template <size_t Width>
std::string decimal(int32_t value) {
    return line_of([value](text_line& line) { line.put_decimal<Width>(value); });
}

template <size_t Width>
std::string right(std::string_view text) {
    return line_of([text](text_line& line) { line.put_right<Width>(text); });
}

std::string hex8(uint32_t value) {
    return line_of([value](text_line& line) { line.put_hex8(value); });
}

std::string by_printf(int width, int32_t value) {
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%*d", width, value);
    return text.data();
}

template <size_t Width = 20>
void expect_as_printf(int32_t value) {
    EXPECT_EQ(decimal<Width>(value), by_printf(Width, value));
    if constexpr (Width > 1)
        expect_as_printf<Width - 1>(value);
}

TEST(TextLineTest, TheSmallestNumberHasAllItsDigits) {
    EXPECT_EQ(decimal<1>(INT32_MIN), "-2147483648");
    EXPECT_EQ(decimal<11>(INT32_MIN), "-2147483648");
    EXPECT_EQ(decimal<12>(INT32_MIN), " -2147483648");
}

TEST(TextLineTest, NumbersStandToTheRightOfTheirWidth) {
    EXPECT_EQ(decimal<1>(0), "0");
    EXPECT_EQ(decimal<4>(0), "   0");
    EXPECT_EQ(decimal<4>(-12), " -12");
    EXPECT_EQ(decimal<3>(-12), "-12");
    EXPECT_EQ(decimal<2>(-12), "-12");
    EXPECT_EQ(decimal<12>(INT32_MAX), "  2147483647");
}

// One digit more, or a sign more, at every border.
TEST(TextLineTest, NumbersOfEveryLengthInEveryWidthAreAsPrintfWritesThem) {
    int64_t power = 1;
    for (int digits = 1; digits <= 10; ++digits, power *= 10)
        for (const int64_t value : {power - 1, power, power + 1, 1 - power, -power, -1 - power})
            expect_as_printf(static_cast<int32_t>(value));
    for (const int32_t value : {INT32_MIN, INT32_MIN + 1, INT32_MAX - 1, INT32_MAX})
        expect_as_printf(value);
}

TEST(TextLineTest, HexadecimalHasEightDigitsAlways) {
    EXPECT_EQ(hex8(0), "00000000");
    EXPECT_EQ(hex8(0x58), "00000058");
    EXPECT_EQ(hex8(0x01234567), "01234567");
    EXPECT_EQ(hex8(0x89ABCDEF), "89abcdef");
    EXPECT_EQ(hex8(UINT32_MAX), "ffffffff");
}

TEST(TextLineTest, TextsStandToTheRightOfTheirWidth) {
    EXPECT_EQ(right<8>("abc"), "     abc");
    EXPECT_EQ(right<8>(""), "        ");
    EXPECT_EQ(right<8>("abcdefgh"), "abcdefgh");
}

TEST(TextLineTest, ATextLongerThanItsWidthIsNotCut) {
    EXPECT_EQ(right<8>("abcdefghi"), "abcdefghi");
    EXPECT_EQ(right<1>("IFrameIndex"), "IFrameIndex");
    EXPECT_EQ(right<8>("a tag of sixty-three characters, which is the longest there is."),
              "a tag of sixty-three characters, which is the longest there is.");
}

TEST(TextLineTest, FieldsFollowEachOther) {
    EXPECT_EQ(line_of([](text_line& line) {
                  line.put('\t');
                  line.put_hex8(0x1F);
                  line.put("[one]");
                  line.put('\t');
              }),
              "\t0000001f[one]\t");
}

TEST(TextLineTest, APrintedLineIsEmptyAgain) {
    EXPECT_EQ(line_of([](text_line& line) {
                  line.put("first");
                  line.print();
                  line.put("second");
              }).substr(5),
              line_of([](text_line& line) {
                  line.print();
                  line.put("second");
              }));
}

TEST(TextLineTest, SaysForHowMuchItHasRoom) {
    text_line line;
    EXPECT_TRUE(line.has_room(512));
    EXPECT_FALSE(line.has_room(513));
    line.put('x');
    EXPECT_TRUE(line.has_room(511));
    EXPECT_FALSE(line.has_room(512));
}

// More than a line holds may be lost at its end, but what is printed is right, and nothing else is overwritten.
TEST(TextLineTest, MoreThanALineHoldsIsHarmless) {
    std::string all;
    for (int i = 0; i < 1000; ++i)
        all += "0000abcd";
    const std::string printed = line_of([](text_line& line) {
        for (int i = 0; i < 1000; ++i)
            line.put_hex8(0xABCD);
    });
    EXPECT_GE(printed.size(), 200U); // more than any row has
    EXPECT_THAT(all, testing::StartsWith(printed));
}

TEST(TextLineTest, ALineThatWasTooLongLeavesNothingToTheNext) {
    EXPECT_THAT(line_of([](text_line& line) {
                    for (int i = 0; i < 1000; ++i)
                        line.put('x');
                    line.print();
                    line.put("next");
                }),
                testing::EndsWith("xnext"));
}

std::vector<uint32_t> hexadecimals() {
    std::vector<uint32_t> values = {0, 0xFFFFFFFF, 0xABCDEF01};
    for (int bits = 0; bits < 32; ++bits)
        for (const uint32_t value : {(1U << bits) - 1, 1U << bits, (1U << bits) + 1})
            values.push_back(value);
    return values;
}

template <typename Value>
std::string formatted(const char* format, Value value) {
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

TEST(TextLineTest, PutsHexadecimalsAsPrintfDoes) {
    for (const uint32_t value : hexadecimals()) {
        text_line line;
        line.put_hex8(value);
        line.put('|');
        line.put_hex<8>(value);
        line.put('|');
        line.put_hex<4>(value);
        EXPECT_EQ(line.text(),
                  formatted("%08x|", value) + formatted("%8x|", value) + formatted("%4x", value));
    }
}

TEST(TextLineTest, PutsTwoDigits) {
    text_line line;
    for (const int value : {0, 9, 10, 59, 99})
        line.put_two_digits(value);
    EXPECT_EQ(line.text(), "0009105999");
}

TEST(TextLineTest, PutsTextsThatWereAlignedBefore) {
    static constexpr kmr::column_text<8> empty("");
    static constexpr kmr::column_text<8> short_one("I");
    static constexpr kmr::column_text<8> exact("12345678");
    static constexpr kmr::column_text<8> long_one("IFrameIndex");
    text_line line;
    for (const auto* text : {&empty, &short_one, &exact, &long_one}) {
        line.put(*text);
        line.put('|');
    }
    EXPECT_EQ(line.text(), "        |       I|12345678|IFrameIndex|");
}

TEST(TextLineTest, CutsAFieldThatNoReportHas) {
    text_line line;
    line.put_right<8>(std::string(kmr::longest_field + 1, 'x'));
    EXPECT_EQ(line.text(), std::string(kmr::longest_field, 'x'));
}

TEST(TextLineTest, IsHandedOutOnce) {
    testing::internal::CaptureStdout();
    text_line line;
    line.put("first\n");
    line.print();
    line.put("second\n");
    line.print();
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "first\nsecond\n");
}

} // namespace
