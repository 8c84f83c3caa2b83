// The index detail, the verdict, and what damage makes of them.
#include "analyse/analyse.h"
#include "tests/analyse/analysis_fixture.hpp"
#include "tests/fakes/module_probe.hpp"

#include <cstdlib>
#include <ctime>
#include <string>

namespace {

using analysis::bytes;
using analysis::dash_line;
using analysis::index_frame_header;
using analysis::of_pieces;
using analysis::trailer;
namespace option = analysis::option;
using recording::append;
using recording::frame_record;
using recording::index_block;
using recording::put_u32;

constexpr const char* well_done = "Well done :)\n";
constexpr const char* poor = "IT IS a POOR FILE :(\n";
constexpr const char* refused = "decode_ReadFrameIndex 252 errWell done :)\n";

std::string head_text(const std::string& count, const std::string& size, const std::string& memory) {
    return "\n" + dash_line(89) + "IFrameIndex Detail\n" + dash_line(89) + "IFrameIndex Header Infomation\n" +
           dash_line(89) +
           "            Virual FrameHeader : Same as above\n"
           "            I Frame Record Num : " +
           count + "\n       VirualFrame Record size : " + size +
           "\n                    Memory Num : " + memory + "\n";
}

std::string body_heading() {
    return "\n" + dash_line(121) + "IFrameIndex Body Infomation\n" + dash_line(121) +
           "   Index\t TimeNow\tIPos(hex)\tFPos(hex)\t    Sign\tVideoSize(H)\tVideoSize(W)\t TagName\n" +
           dash_line(121);
}

std::string tail_text(const std::string& size) {
    return "\n" + dash_line(89) + "IFrameIndex Tail Infomation\n" + dash_line(89) +
           "    Flag\tVFrameSize\t\n 123abcd\t" + size + "\t\n" + dash_line(89);
}

std::string times_text(const std::string& start, const std::string& end, const std::string& length) {
    return "KMR FileStartTime :" + start + "\nKMR FileEndTime   :" + end + "\nKMR File Time     :" + length +
           "(s)\n" + dash_line(89);
}

// A file header and the block, which then stands at 88: its records start at 132 (0x84).
bytes block_alone(const bytes& block) {
    return of_pieces(1, {block});
}

class IndexReportTest : public analysis::AnalysisTest {
protected:
    std::string detail(const bytes& recording) const { return report(recording, option::t); }
};

TEST_F(IndexReportTest, PrintsTheWholeDetail) {
    const bytes recording = block_alone(index_block(
        {{.time = 1420167845, .position = 0x58, .sign = 3, .width = 1920, .height = 1080, .tag = "alarm"},
         {.time = 1420167900,
          .position = 0xABCDEF01,
          .sign = 0xFFFFFFFF,
          .width = 65535,
          .height = 0,
          .tag = "a longer tag"}},
        900));
    EXPECT_EQ(
        detail(recording),
        "\n" + dash_line(89) + "IFrameIndex Detail\n" + dash_line(89) + "IFrameIndex Header Infomation\n" +
            dash_line(89) +
            "            Virual FrameHeader : Same as above\n"
            "            I Frame Record Num : 2\n"
            "       VirualFrame Record size : 80\n"
            "                    Memory Num : 900\n"
            "\n" +
            dash_line(121) + "IFrameIndex Body Infomation\n" + dash_line(121) +
            "   Index\t TimeNow\tIPos(hex)\tFPos(hex)\t    Sign\tVideoSize(H)\tVideoSize(W)\t TagName\n" +
            dash_line(121) +
            "       0\t[03:04:05]\t00000058\t00000084\t       3\t    1080\t    1920\t   alarm\n"
            "       1\t[03:05:00]\tabcdef01\t000000d4\t      -1\t       0\t   65535\ta longer tag\n"
            "\n" +
            dash_line(89) + "IFrameIndex Tail Infomation\n" + dash_line(89) +
            "    Flag\tVFrameSize\t\n"
            " 123abcd\t     160\t\n" +
            dash_line(89) +
            "KMR FileStartTime :2015/01/02 03:04:05\n"
            "KMR FileEndTime   :2015/01/02 03:05:00\n"
            "KMR File Time     :      55(s)\n" +
            dash_line(89) + "Well done :)\n");
}

TEST_F(IndexReportTest, DetailIsPrintedForAllAndForIndexAlone) {
    const bytes recording = block_alone(index_block({{.time = 0}}));
    for (const uint32_t options : {option::a, option::t, option::t | option::s, option::a | option::m})
        EXPECT_THAT(report(recording, options), testing::HasSubstr("IFrameIndex Detail\n")) << options;
    for (const uint32_t options : {0x00U, option::s, option::i, 0x08U, option::u, option::m, 0x80U, 0xEDU}) {
        EXPECT_THAT(report(recording, options), testing::Not(testing::HasSubstr("IFrameIndex Detail")))
            << options;
        EXPECT_THAT(report(recording, options), testing::EndsWith(well_done)) << options;
    }
}

// --- how many records ---

TEST_F(IndexReportTest, ThreeRecordsOf80BytesPrintThreeRows) {
    const bytes recording = block_alone(index_block({{.time = 10}, {.time = 20}, {.time = 30}}));
    EXPECT_EQ(detail(recording),
              head_text("3", "80", "450") + body_heading() +
                  "       0\t[00:00:10]\t00000000\t00000084\t       0\t    1080\t    1920\t        \n"
                  "       1\t[00:00:20]\t00000000\t000000d4\t       0\t    1080\t    1920\t        \n"
                  "       2\t[00:00:30]\t00000000\t00000124\t       0\t    1080\t    1920\t        \n" +
                  tail_text("     240") +
                  times_text("1970/01/01 00:00:10", "1970/01/01 00:00:30", "      20") + well_done);
}

TEST_F(IndexReportTest, OneRecordIsStartAndEnd) {
    const bytes recording = block_alone(index_block({{.time = 59}}));
    EXPECT_EQ(detail(recording),
              head_text("1", "80", "450") + body_heading() +
                  "       0\t[00:00:59]\t00000000\t00000084\t       0\t    1080\t    1920\t        \n" +
                  tail_text("      80") +
                  times_text("1970/01/01 00:00:59", "1970/01/01 00:00:59", "       0") + well_done);
}

TEST_F(IndexReportTest, NoRecordsPrintTheVerdictAlone) {
    EXPECT_EQ(detail(block_alone(index_block({}))), well_done);
}

TEST_F(IndexReportTest, ARecordSizeOf0PrintsTheVerdictAlone) {
    bytes block = index_block({{.time = 10}, {.time = 20}, {.time = 30}});
    put_u32(block, 36, 0);
    EXPECT_EQ(detail(block_alone(block)), well_done);
}

TEST_F(IndexReportTest, RecordsAreReadAs80BytesWhateverTheirSizeSays) {
    bytes block = index_block({{.time = 10}, {.time = 20}});
    put_u32(block, 36, 100);
    const std::string report = detail(block_alone(block));
    EXPECT_THAT(report, testing::HasSubstr("VirualFrame Record size : 100\n"));
    EXPECT_THAT(report, testing::HasSubstr("       1\t[00:00:20]\t00000000\t000000d4\t"));
    EXPECT_THAT(report, testing::HasSubstr(tail_text("     200")));
}

TEST_F(IndexReportTest, TheProductOfCountAndSizeIsTakenModulo2ToThe32) {
    bytes block = index_block({{.time = 10}});
    put_u32(block, 32, 0x10000);
    put_u32(block, 36, 0x10000);
    EXPECT_EQ(detail(block_alone(block)), well_done);
    put_u32(block, 32, 3);
    put_u32(block, 36, 0x55555556); // 3 * 0x55555556 = 2^32 + 2
    EXPECT_THAT(detail(block_alone(block)), testing::HasSubstr(tail_text("       2")));
    put_u32(block, 36, 0x2AAAAAAB); // 0x80000001
    EXPECT_THAT(detail(block_alone(block)), testing::HasSubstr(tail_text("-2147483647")));
}

TEST_F(IndexReportTest, ANegativeCountHasNoRowsAndBothTimes0) {
    bytes block = index_block({{.time = 10}, {.time = 20}});
    put_u32(block, 32, 0xFFFFFFFF);
    put_u32(block, 40, 0x80000000);
    EXPECT_EQ(detail(block_alone(block)),
              head_text("-1", "80", "-2147483648") + body_heading() + tail_text("     -80") +
                  times_text("1970/01/01 00:00:00", "1970/01/01 00:00:00", "       0") + well_done);
}

TEST_F(IndexReportTest, RecordsBehindTheEndOfTheFileAreZeros) {
    // Two records by the head, one in the file: the second begins with the trailer.
    bytes block = index_block({{.time = 10, .tag = "tag"}});
    put_u32(block, 32, 3);
    EXPECT_EQ(detail(block_alone(block)),
              head_text("3", "80", "450") + body_heading() +
                  "       0\t[00:00:10]\t00000000\t00000084\t       0\t    1080\t    1920\t     tag\n"
                  // 0x0123ABCD seconds: 221 days and 5:42:37; L = 132 stands under IPos.
                  "       1\t[05:42:37]\t00000084\t000000d4\t       0\t       0\t       0\t        \n"
                  "       2\t[00:00:00]\t00000000\t00000124\t       0\t       0\t       0\t        \n" +
                  tail_text("     240") +
                  times_text("1970/01/01 00:00:10", "1970/01/01 00:00:00", "     -10") + well_done);
}

TEST_F(IndexReportTest, RecordsThatCannotBeReadAreZeros) {
    const std::string name = put(block_alone(index_block({{.time = 10}, {.time = 20}, {.time = 30}})));
    // Reads: file header, frame header, magic, magic, length, head, records.
    module_probe::fail("Read", 8);
    const std::string report = report_of(name, option::t);
    EXPECT_THAT(report,
                testing::HasSubstr(
                    "       0\t[00:00:10]\t00000000\t00000084\t       0\t    1080\t    1920\t        \n"
                    "       1\t[00:00:00]\t00000000\t000000d4\t       0\t       0\t       0\t        \n"
                    "       2\t[00:00:20]\t00000000\t00000124\t       0\t    1080\t    1920\t        \n"));
    EXPECT_THAT(report, testing::HasSubstr("KMR FileEndTime   :1970/01/01 00:00:20\n"));
}

TEST_F(IndexReportTest, ARecordCutShortIsFilledUpWithZeros) {
    const std::string name = put(block_alone(index_block({{.time = 10, .sign = 7, .tag = "tag"}})));
    module_probe::cut("Read", 7, 18); // TagName: "ta"
    EXPECT_THAT(report_of(name, option::t),
                testing::HasSubstr(
                    "       0\t[00:00:10]\t00000000\t00000084\t       7\t    1080\t    1920\t      ta\n"));
}

TEST_F(IndexReportTest, WideFieldsPushTheirColumns) {
    const std::string tag(64, 'T'); // no NUL: ends with its field
    bytes block =
        index_block({{.time = 0, .sign = 0x80000000, .tag = tag}, {.time = 1, .tag = std::string(63, 'U')}});
    const std::string report = detail(block_alone(block));
    EXPECT_THAT(report, testing::HasSubstr(
                            "       0\t[00:00:00]\t00000000\t00000084\t-2147483648\t    1080\t    1920\t" +
                            tag + "\n       1\t[00:00:01]\t"));
    EXPECT_THAT(report, testing::HasSubstr("\t" + std::string(63, 'U') + "\n"));
}

// --- times ---

TEST_F(IndexReportTest, TimesAreUnsigned) {
    const bytes recording =
        block_alone(index_block({{.time = 0x7FFFFFFF}, {.time = 0x80000000}, {.time = 0xFFFFFFFF}}));
    const std::string report = detail(recording);
    EXPECT_THAT(report, testing::HasSubstr("       0\t[03:14:07]\t"));
    EXPECT_THAT(report, testing::HasSubstr("       1\t[03:14:08]\t"));
    EXPECT_THAT(report, testing::HasSubstr("       2\t[06:28:15]\t"));
    EXPECT_THAT(report,
                testing::HasSubstr(times_text("2038/01/19 03:14:07", "2106/02/07 06:28:15", "-2147483648")));
}

TEST_F(IndexReportTest, AnEndBeforeTheStartIsANegativeLength) {
    EXPECT_THAT(detail(block_alone(index_block({{.time = 86400 + 3661}, {.time = 5}}))),
                testing::HasSubstr(times_text("1970/01/02 01:01:01", "1970/01/01 00:00:05", "  -90056")));
}

TEST_F(IndexReportTest, TimesAreLocal) {
    setenv("TZ", "EST5", 1);
    tzset();
    const std::string report = detail(block_alone(index_block({{.time = 1420167845}})));
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_THAT(report, testing::HasSubstr("\t[22:04:05]\t"));
    EXPECT_THAT(report, testing::HasSubstr("KMR FileStartTime :2015/01/01 22:04:05\n"));
}

// --- trailer and head ---

TEST_F(IndexReportTest, AWrongMagicMakesAPoorFile) {
    bytes block = index_block({{.time = 10}});
    put_u32(block, block.size() - 8, 0x0123ABCC);
    for (const uint32_t options : {0x00U, option::t, option::u})
        EXPECT_EQ(report(block_alone(block), options), poor) << options;
    EXPECT_THAT(
        report(block_alone(block), option::a),
        testing::EndsWith(analysis::row("0", "00000058", "V", 132, 100, 0, 0, 0, 0, "IFrameIndex") + poor));
}

TEST_F(IndexReportTest, BytesBehindTheIndexMakeAPoorFile) {
    bytes block = index_block({{.time = 10}});
    block.push_back(0);
    EXPECT_EQ(detail(block_alone(block)), poor);
}

TEST_F(IndexReportTest, ACutIndexMakesAPoorFile) {
    bytes block = index_block({{.time = 10}});
    block.pop_back();
    EXPECT_EQ(detail(block_alone(block)), poor);
    block.resize(32);
    EXPECT_EQ(detail(block_alone(block)), poor);
}

TEST_F(IndexReportTest, ATrailerAloneMakesTheVerdictWithoutDetail) {
    // The index-looking frame is some other one, and what the trailer names is no head at all.
    const bytes recording = of_pieces(1, {index_frame_header(32), bytes(50, 0xEE), trailer(58)});
    EXPECT_EQ(report(recording, option::u), well_done);
    EXPECT_EQ(detail(recording), refused);
}

TEST_F(IndexReportTest, AGoodTrailerIsNotEnoughToBeReached) {
    // No index-looking frame: the walk never looks at the trailer.
    EXPECT_EQ(detail(of_pieces(9, {frame_record({.kind = 1}), trailer(52)})), "");
}

TEST_F(IndexReportTest, AHeadWithoutSyncWordIsRefused) {
    // The frame that leads here stands before the block.
    bytes block = index_block({{.time = 10}});
    put_u32(block, 0, 0x02000001);
    EXPECT_EQ(detail(of_pieces(1, {index_frame_header(32), block})), refused);
}

TEST_F(IndexReportTest, AHeadOfAnotherLengthIsRefused) {
    bytes block = index_block({{.time = 10}});
    put_u32(block, 4, 131);
    EXPECT_EQ(detail(of_pieces(1, {index_frame_header(32), block})), refused);
    put_u32(block, 4, 132);
    EXPECT_THAT(detail(of_pieces(1, {index_frame_header(32), block})),
                testing::HasSubstr("I Frame Record Num : 1\n"));
}

TEST_F(IndexReportTest, TheRefusalStandsOnTheLineOfTheVerdict) {
    bytes block = index_block({{.time = 10}});
    put_u32(block, block.size() - 4, 131);
    EXPECT_EQ(detail(block_alone(block)), "decode_ReadFrameIndex 252 errWell done :)\n");
    EXPECT_THAT(report(block_alone(block), option::a),
                testing::EndsWith("\tIFrameIndex\t        \ndecode_ReadFrameIndex 252 errWell done :)\n"));
}

TEST_F(IndexReportTest, AHeadThatIsNotWholeIsRefused) {
    for (const uint32_t length : {0U, 1U, 8U, 32U, 43U}) {
        bytes block = index_block({{.time = 10}});
        put_u32(block, block.size() - 4, length);
        EXPECT_EQ(detail(block_alone(block)), refused) << length;
    }
    // A head of the very length would have been accepted, were it whole.
    const bytes recording = of_pieces(1, {index_frame_header(40), trailer(40)});
    EXPECT_EQ(detail(recording), refused);
}

TEST_F(IndexReportTest, AHeadMayEndWithTheTrailer) {
    // 44 bytes: the record size is the magic, the capacity the length; 3 * 0x0123ABCD = 0x036B0367.
    bytes block = index_frame_header(44);
    append(block, bytes(4, 0));
    put_u32(block, 32, 3);
    append(block, trailer(44));
    EXPECT_EQ(detail(block_alone(block)),
              head_text("3", "19114957", "44") + body_heading() +
                  "       0\t[00:00:00]\t00000000\t00000084\t       0\t       0\t       0\t        \n"
                  "       1\t[00:00:00]\t00000000\t000000d4\t       0\t       0\t       0\t        \n"
                  "       2\t[00:00:00]\t00000000\t00000124\t       0\t       0\t       0\t        \n" +
                  tail_text("57344871") +
                  times_text("1970/01/01 00:00:00", "1970/01/01 00:00:00", "       0") + well_done);
}

TEST_F(IndexReportTest, ALengthBeyondTheFileIsRefused) {
    bytes block = index_block({{.time = 10}}); // the file has 220 bytes
    // From 2^31 on the seek runs forwards, with 0x800000DC to 2 GiB exactly.
    for (const uint32_t length :
         {221U, 1000U, 0x7FFFFFFFU, 0x80000000U, 0x80000001U, 0x800000DCU, 0xFFFFFF00U, 0xFFFFFFFFU}) {
        put_u32(block, block.size() - 4, length);
        EXPECT_EQ(detail(block_alone(block)), refused) << length;
        EXPECT_EQ(report(block_alone(block), 0), well_done) << length;
    }
}

TEST_F(IndexReportTest, AHeadMayStandAtTheStartOfTheFile) {
    // The file header is the head: 220 bytes long, 1 record of 80 bytes.
    bytes recording = block_alone(index_block({{.time = 10}}));
    bytes head = index_frame_header(220);
    append(head, bytes(12, 0));
    put_u32(head, 32, 1);
    put_u32(head, 36, 80);
    std::copy(head.begin(), head.end(), recording.begin());
    put_u32(recording, recording.size() - 4, 220);
    EXPECT_THAT(detail(recording), testing::HasSubstr("       0\t[00:00:00]\t00000000\t0000002c\t"));
}

TEST_F(IndexReportTest, TheDetailIsOfTheBlockThatTheTrailerNames) {
    // Two index-looking frames: the first is met, the second is reported.
    const bytes block = index_block({{.time = 10, .position = 0x1234}});
    EXPECT_THAT(detail(of_pieces(1, {index_frame_header(32), block})),
                testing::HasSubstr("       0\t[00:00:10]\t00001234\t000000a4\t")); // 88 + 32 + 44
}

TEST_F(IndexReportTest, TheDetailOfAFramelessCountIsNeverReached) {
    bytes recording = block_alone(index_block({{.time = 10}}));
    put_u32(recording, 84, 0);
    EXPECT_EQ(detail(recording), "");
}

// --- seeks whose results are not looked at ---

TEST_F(IndexReportTest, ASecondLookAtTheMagicThatFailsPrintsTheVerdict) {
    const std::string name = put(block_alone(index_block({{.time = 10}})));
    // Reads: file header, frame header, magic, magic.
    module_probe::fail("Read", 4);
    EXPECT_EQ(report_of(name, option::t), well_done);
}

TEST_F(IndexReportTest, ALengthThatCannotBeReadIsRefused) {
    const std::string name = put(block_alone(index_block({{.time = 10}})));
    module_probe::fail("Read", 5);
    EXPECT_EQ(report_of(name, option::t), refused);
    module_probe::cut("Read", 5, 3);
    EXPECT_EQ(report_of(name, option::t), refused);
}

TEST_F(IndexReportTest, AMagicThatCannotBeReadMakesAPoorFile) {
    const std::string name = put(block_alone(index_block({{.time = 10}})));
    module_probe::fail("Read", 3);
    EXPECT_EQ(report_of(name, option::t), poor);
    module_probe::cut("Read", 3, 3);
    EXPECT_EQ(report_of(name, option::t), poor);
}

} // namespace
