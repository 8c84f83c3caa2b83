#include "file_op/common/log.h"

#include "tests/support/scratch.hpp"

#include <gtest/gtest.h>

#include <unistd.h>

#include <array>
#include <ctime>
#include <string>

namespace {

constexpr char esc[] = "\x1B";

std::string stamp_of(std::time_t when) {
    std::tm local = {};
    localtime_r(&when, &local);
    std::array<char, 32> text;
    const size_t length = std::strftime(text.data(), text.size(), "%Y/%m/%d %H:%M:%S", &local);
    return {text.data(), length};
}

// What the call of `print` says on the console, with the time of the call given as TIME and the process as PID.
template <typename Print>
std::string console(Print print) {
    const std::time_t before = std::time(nullptr);
    testing::internal::CaptureStdout();
    print();
    std::string out = testing::internal::GetCapturedStdout();
    for (std::time_t when = before; when <= std::time(nullptr); ++when) {
        const std::string stamp = stamp_of(when) + " " + std::to_string(getpid());
        if (const auto at = out.find(stamp); at != std::string::npos)
            return out.replace(at, stamp.size(), "TIME PID");
    }
    return out;
}

std::string yellow(const std::string& message) {
    return esc + std::string("[1;33m[TIME PID]") + esc + "[0;39m" + message;
}
std::string red(const std::string& message) {
    return esc + std::string("[1;31m[TIME PID]") + esc + "[0;39m" + message;
}
std::string cyan(const std::string& message) {
    return esc + std::string("[1;36m") + message + esc + "[0;39m\r\n";
}

class LogTest : public testing::Test {
protected:
    // The log file with the time of each line, which must be between the test's start and now, given as TIME.
    std::string log_file() const {
        std::string text = scratch::read_text("printf.txt");
        for (std::time_t when = start_; when <= std::time(nullptr); ++when)
            for (auto at = text.find(stamp_of(when)); at != std::string::npos; at = text.find(stamp_of(when)))
                text.replace(at, stamp_of(when).size(), "TIME");
        return text;
    }

    std::time_t start_ = std::time(nullptr);
    scratch::folder folder_;
    scratch::working_directory inside_{folder_.path()};
};

// --- outputs ---

TEST_F(LogTest, LevelZeroIsYellowWithTimeAndProcess) {
    int32_t count = 0;
    EXPECT_EQ(console([&] { count = zn_printf_alone(0, "abc"); }), yellow("abc\r\n"));
    EXPECT_EQ(count, 5);
    EXPECT_FALSE(std::filesystem::exists("printf.txt"));
}

TEST_F(LogTest, ErrorLevelIsRed) {
    int32_t count = 0;
    EXPECT_EQ(console([&] { count = zn_printf_alone(0xFF0000, "%s=%d", "x", 5); }), red("x=5\r\n"));
    EXPECT_EQ(count, 5);
}

TEST_F(LogTest, PlainLevelIsCyanWithoutTime) {
    int32_t count = 0;
    EXPECT_EQ(console([&] { count = zn_printf_alone(0x12345678, "abc"); }), cyan("abc\r\n"));
    EXPECT_EQ(count, 5); // neither the colours nor their line end
}

TEST_F(LogTest, OtherLevelsAppendToTheFile) {
    EXPECT_EQ(zn_printf_alone(7, "x=%d", 5), 5);
    EXPECT_EQ(log_file(), "[TIME]x=5\r\n");
    EXPECT_EQ(zn_printf_alone(0xFFFFFFFF, "second\n"), 8);
    EXPECT_EQ(console([] { zn_printf_alone(1, "third"); }), "");
    EXPECT_EQ(log_file(), "[TIME]x=5\r\n[TIME]second\n\r[TIME]third\r\n");
}

TEST_F(LogTest, LevelsBesideTheNamedOnesGoToTheFile) {
    for (const uint32_t level : {1u, 0xFEFFFFu, 0xFF0001u, 0x12345677u, 0x12345679u})
        EXPECT_EQ(zn_printf_alone(level, "x"), 3);
    EXPECT_EQ(log_file().size(), 5 * std::string("[TIME]x\r\n").size());
}

TEST_F(LogTest, LevelsHaveNames) {
    EXPECT_EQ(ZN_LOG_INFO, 0u);
    EXPECT_EQ(ZN_LOG_ERROR, 0xFF0000u);
    EXPECT_EQ(ZN_LOG_PLAIN, 0x12345678u);
}

// --- line endings ---

TEST_F(LogTest, EveryMessageEndsWithTwoCharacters) {
    struct ending {
        const char* format;
        const char* printed;
    };
    constexpr ending endings[] = {
        {"abc", "abc\r\n"},     {"abc\n", "abc\n\r"},     {"abc\r", "abc\r\n"},     {"abc\r\n", "abc\r\n"},
        {"abc\n\r", "abc\n\r"}, {"abc\n\n", "abc\n\n\r"}, {"abc\r\r", "abc\r\r\n"}, {"", "\r\n"},
        {"a", "a\r\n"},         {"\n", "\n\r"},           {"\r", "\r\n"},           {"ab", "ab\r\n"},
        {"\r\n", "\r\n"},       {"\n\r", "\n\r"},         {"\n\n", "\n\n\r"},       {"\r\r", "\r\r\n"},
        {"a\n", "a\n\r"},       {"a\r", "a\r\n"},         {"\na", "\na\r\n"},
    };
    for (const auto& [format, printed] : endings) {
        int32_t count = 0;
        EXPECT_EQ(console([&, text = format] { count = zn_printf_alone(0, text); }), yellow(printed));
        EXPECT_EQ(count, static_cast<int32_t>(std::string(printed).size()));
        EXPECT_EQ(console([&, text = format] { zn_printf_alone(0x12345678, text); }), cyan(printed));
    }
}

TEST_F(LogTest, EndingIsThatOfTheFormatNotOfTheMessage) {
    EXPECT_EQ(console([] { zn_printf_alone(0, "%s", "abc\n"); }), yellow("abc\n\r\n"));
}

TEST_F(LogTest, ArgumentsOfEveryKind) {
    EXPECT_EQ(console([] { zn_printf_alone(0, "%c %lld %.2f %s %%", 'x', 123456789012LL, 1.5, "text"); }),
              yellow("x 123456789012 1.50 text %\r\n"));
}

// --- failures ---

TEST_F(LogTest, NullFormat) {
    int32_t count = 0;
    for (const uint32_t level : {0u, 0xFF0000u, 0x12345678u, 7u})
        EXPECT_EQ(console([&] { count += zn_printf_alone(level, nullptr); }), "");
    EXPECT_EQ(count, -4);
    EXPECT_FALSE(std::filesystem::exists("printf.txt"));
}

TEST_F(LogTest, LogFileThatCannotBeOpened) {
    std::filesystem::create_directory("printf.txt");
    int32_t count = 0;
    EXPECT_EQ(console([&] { count = zn_printf_alone(7, "x"); }), "");
    EXPECT_EQ(count, -1);
}

TEST_F(LogTest, NoDescriptorStaysOpen) {
    const int before = scratch::open_descriptors();
    zn_printf_alone(7, "x");
    EXPECT_EQ(scratch::open_descriptors(), before);
}

} // namespace
