#include "analyse/header_report.h"

#include "analyse/analyse.h"
#include "tests/analyse/analysis_fixture.hpp"
#include "tests/fakes/module_probe.hpp"

#include <algorithm>
#include <string>

namespace {

using analysis::bytes;
using analysis::dash_line;
using analysis::printed;
namespace option = analysis::option;
using recording::put_u16;
using recording::put_u32;

class HeaderReportTest : public analysis::AnalysisTest {
protected:
    // What is printed of a recording that consists of this header; the result goes to `count_`.
    std::string header_text(const bytes& header, uint32_t options) {
        const std::string name = put(header);
        g_Opt = options;
        return printed([&] { count_ = rec_GetFileFrameNo(name.c_str()); });
    }

    int32_t count_ = 0;
};

// Every field has a value of its own, the 32-bit ones beyond the signed range.
bytes distinct_header() {
    bytes header(88, 0);
    const uint16_t words[] = {30, 704, 576, 41, 1, 65535, 12, 31, 23, 59, 58, 40000};
    for (size_t i = 0; i < std::size(words); ++i)
        put_u16(header, 2 * i, words[i]);
    const std::string cover = "front door";
    std::copy(cover.begin(), cover.end(), header.begin() + 24);
    put_u32(header, 60, 0xFFFFFFFF);
    put_u32(header, 64, 0x80000000);
    put_u32(header, 68, 0x7FFFFFFF);
    put_u16(header, 72, 65534);
    header[74] = 255;
    header[75] = 16;
    put_u32(header, 76, 48000);
    put_u32(header, 80, 0xFFFFFFFE);
    put_u32(header, 84, 12345);
    return header;
}

std::string line_of(const std::string& report, const std::string& label) {
    const size_t at = report.find(" " + label + " :");
    const size_t start = report.rfind('\n', at) + 1;
    return report.substr(start, report.find('\n', at) - start);
}

TEST_F(HeaderReportTest, PrintsEveryFieldInOrder) {
    EXPECT_EQ(header_text(distinct_header(), option::s), "\n" + dash_line(140) + "File Header infomation\n" +
                                                             dash_line(140) +
                                                             "           FrameRate :\t  30\n"
                                                             "               Width :\t 704\n"
                                                             "              Height :\t 576\n"
                                                             "                Mode :\tMJPEG\n"
                                                             "              bAudio :\t   1\n"
                                                             "                Year :\t65535\n"
                                                             "               Month :\t  12\n"
                                                             "                 Day :\t  31\n"
                                                             "                Hour :\t  23\n"
                                                             "              Minute :\t  59\n"
                                                             "              Second :\t  58\n"
                                                             "           CoverMask :\t40000\n"
                                                             "            cCovWord :\tfront door\n"
                                                             "     m_uiFrameNoDiff :\t  -1\n"
                                                             "         TriggerHigh :\t-2147483648\n"
                                                             "          TriggerLow :\t2147483647\n"
                                                             "            reserved :\t65534\n"
                                                             "           AChannels :\t 255\n"
                                                             "       BitsPerSample :\t  16\n"
                                                             "         AudioSample :\t48000\n"
                                                             "           TotalSize :\t  -2 B\n"
                                                             "          FrameCount :\t12345\n");
    EXPECT_EQ(count_, 12345);
}

TEST_F(HeaderReportTest, IsPrintedForSampleAllAndMissingFramesAlone) {
    const bytes header = recording::file_header(9);
    const std::string whole = header_text(header, option::s);
    EXPECT_NE(whole, "");
    EXPECT_EQ(header_text(header, option::a), whole);
    EXPECT_EQ(header_text(header, option::m), whole);
    EXPECT_EQ(header_text(header, 0xFF), whole);
    for (const uint32_t silent : {0U, 0x04U, 0x08U, 0x10U, 0x20U, 0x80U, 0xBCU}) {
        EXPECT_EQ(header_text(header, silent), "") << silent;
        EXPECT_EQ(count_, 9) << silent;
    }
}

TEST_F(HeaderReportTest, ReadsAFrameRateOf0As25) {
    bytes header = recording::file_header(1);
    put_u16(header, 0, 0);
    EXPECT_EQ(line_of(header_text(header, option::s), "FrameRate"), "           FrameRate :\t  25");
}

TEST_F(HeaderReportTest, DoesNotJudgeTheFields) {
    bytes header = recording::file_header(1);
    put_u16(header, 0, 61);
    put_u16(header, 2, 1);
    EXPECT_EQ(line_of(header_text(header, option::s), "FrameRate"), "           FrameRate :\t  61");
    EXPECT_EQ(line_of(header_text(header, option::s), "Width"), "               Width :\t   1");
}

TEST_F(HeaderReportTest, NamesTheModes) {
    const auto mode_line = [&](uint16_t mode) {
        bytes header = recording::file_header(1);
        put_u16(header, 6, mode);
        return line_of(header_text(header, option::s), "Mode");
    };
    for (const auto mode : std::initializer_list<uint16_t>{21, 22, 23})
        EXPECT_EQ(mode_line(mode), "                Mode :\tH.264") << mode;
    EXPECT_EQ(mode_line(41), "                Mode :\tMJPEG");
    for (const auto mode : std::initializer_list<uint16_t>{0, 20, 24, 40, 42, 65535})
        EXPECT_EQ(mode_line(mode), "                Mode :\tDEFAULT H.264") << mode;
}

TEST_F(HeaderReportTest, EndsTheCoverWordAtItsNul) {
    bytes header = recording::file_header(1);
    std::fill(header.begin() + 24, header.begin() + 60, 'c');
    header[59] = 0;
    EXPECT_EQ(line_of(header_text(header, option::s), "cCovWord"),
              "            cCovWord :\t" + std::string(35, 'c'));
}

TEST_F(HeaderReportTest, LetsACoverWordWithoutNulRunOn) {
    bytes header = recording::file_header(1);
    std::fill(header.begin() + 24, header.begin() + 60, 'c');
    put_u32(header, 60, 0x00636261); // "abc" and the NUL
    EXPECT_EQ(line_of(header_text(header, option::s), "cCovWord"),
              "            cCovWord :\t" + std::string(36, 'c') + "abc");
}

TEST_F(HeaderReportTest, LetsACoverWordRunOnToTheEndOfTheHeaderAtMost) {
    bytes header = recording::file_header(1);
    std::fill(header.begin() + 24, header.end(), 'c');
    header.push_back('X'); // the first byte of the first frame
    EXPECT_EQ(line_of(header_text(header, option::s), "cCovWord"),
              "            cCovWord :\t" + std::string(64, 'c'));
}

TEST_F(HeaderReportTest, GivesTheFrameCountAsASignedNumber) {
    bytes header = recording::file_header(0x80000001);
    const std::string report = header_text(header, option::s);
    EXPECT_EQ(line_of(report, "FrameCount"), "          FrameCount :\t-2147483647");
    EXPECT_EQ(count_, -2147483647);
}

TEST_F(HeaderReportTest, GivesMinus1WithoutARecording) {
    g_Opt = option::s;
    EXPECT_EQ(printed([&] { count_ = rec_GetFileFrameNo(nullptr); }), "");
    EXPECT_EQ(count_, -1);
    EXPECT_EQ(module_probe::count(), 0);
    EXPECT_EQ(printed([&] { count_ = rec_GetFileFrameNo(""); }), "");
    EXPECT_EQ(count_, -1);
    EXPECT_EQ(printed([&] { count_ = rec_GetFileFrameNo("no such recording"); }), "");
    EXPECT_EQ(count_, -1);
}

TEST_F(HeaderReportTest, GivesMinus1WhenTheRecordingCannotBeOpened) {
    const std::string name = put(recording::file_header(5));
    g_Opt = option::s;
    module_probe::fail("Open", 1);
    EXPECT_EQ(printed([&] { count_ = rec_GetFileFrameNo(name.c_str()); }), "");
    EXPECT_EQ(count_, -1);
}

TEST_F(HeaderReportTest, Gives1045ForAShortHeaderAndPrintsNothing) {
    for (const size_t size : {0U, 1U, 87U}) {
        EXPECT_EQ(header_text(bytes(size, 1), option::s), "") << size;
        EXPECT_EQ(count_, 1045) << size;
    }
    EXPECT_NE(header_text(bytes(88, 1), option::s), "");
    EXPECT_EQ(count_, 0x01010101);
}

TEST_F(HeaderReportTest, ReadsTheHeaderOnceAndClosesTheRecording) {
    const std::string name = put(recording::file_header(5));
    rec_GetFileFrameNo(name.c_str());
    const std::vector<std::string> calls = module_probe::calls();
    ASSERT_EQ(calls.size(), 5U);
    EXPECT_EQ(calls[0], "sznfs_Stat(\"" + name + "\") = 0");
    EXPECT_THAT(calls[1], testing::StartsWith("sznfs_Open(0, \"" + name + "\", 0) = "));
    EXPECT_THAT(calls[2], testing::MatchesRegex("sznfs_Seek\\([0-9]+, 0, 0\\) = 0"));
    EXPECT_THAT(calls[3], testing::MatchesRegex("sznfs_Read\\([0-9]+, 88\\) = 88"));
    EXPECT_THAT(calls[4], testing::MatchesRegex("sznfs_Close\\([0-9]+\\) = 0"));
}

} // namespace
