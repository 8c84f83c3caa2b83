// The rows of the frame table: texts, delay and gap, and which frames get one.
#include "analyse/analyse.h"
#include "tests/analyse/analysis_fixture.hpp"

#include <string>

namespace {

using analysis::below_heading;
using analysis::bytes;
using analysis::frame;
using analysis::of_pieces;
using analysis::row;
using analysis::unfinished;
namespace option = analysis::option;
using recording::frame_record;
using recording::put_u16;
using recording::put_u32;

class FrameTableTest : public analysis::AnalysisTest {
protected:
    // The table of a recording without an index: nothing follows the rows.
    std::string rows(const bytes& recording, uint32_t options = option::a) const {
        return below_heading(report(recording, options));
    }
};

bytes header_of(const frame& of) {
    bytes record = frame_record(of);
    record.resize(32);
    return record;
}

TEST_F(FrameTableTest, HeadingStandsForAllIFramesAndMissingFrames) {
    const bytes empty = recording::file_header(0);
    for (const uint32_t options : {option::i, option::i | option::t, 0x04U | 0x08U})
        EXPECT_EQ(report(empty, options), analysis::frame_table_heading()) << options;
    for (const uint32_t options : {option::a, option::m})
        EXPECT_THAT(report(empty, options),
                    testing::EndsWith("\n          FrameCount :\t   0\n" + analysis::frame_table_heading()));
    for (const uint32_t options : {0x00U, 0x08U, option::t, option::u, 0x80U})
        EXPECT_EQ(report(empty, options), "") << options;
    EXPECT_THAT(report(empty, option::s), testing::EndsWith("\n          FrameCount :\t   0\n"));
}

TEST_F(FrameTableTest, HeadingComesWhenNothingCanBeOpenedToo) {
    EXPECT_EQ(report_of("missing", option::a), analysis::frame_table_heading());
    EXPECT_EQ(report_of("", option::a), "");
}

TEST_F(FrameTableTest, RowShowsTheHeaderFieldsAndThePosition) {
    const bytes recording = unfinished({{.number = 1234567,
                                         .time_stamp = 86400000,
                                         .kind = 0,
                                         .video = bytes(200, 1),
                                         .audio_count = 2,
                                         .audio_size = 160,
                                         .tag = 2}});
    EXPECT_EQ(
        rows(recording),
        "         1234567\t00000058\t       I\t     552\t     200\t       2\t     160\t86400000\t86400000\t"
        "       0\t       *\n");
}

TEST_F(FrameTableTest, RowWithoutEncryptionEndsWithBlanks) {
    EXPECT_EQ(
        rows(unfinished({{.number = 1, .time_stamp = 40, .kind = 1}})),
        "               1\t00000058\t       P\t     132\t     100\t       0\t       0\t      40\t      40\t"
        "       0\t        \n");
}

TEST_F(FrameTableTest, PositionsAndDelaysFollowFromFrameToFrame) {
    const bytes recording = unfinished({{.number = 1, .time_stamp = 1000, .kind = 0, .video = bytes(5000, 1)},
                                        {.number = 2, .time_stamp = 1040, .kind = 1, .video = bytes(8, 1)},
                                        {.number = 3, .time_stamp = 1085, .kind = 1, .video = bytes(1, 1)}});
    EXPECT_EQ(rows(recording), row("1", "00000058", "I", 5032, 5000, 0, 0, 1000, 1000, "0") +
                                   row("2", "00001400", "P", 40, 8, 0, 0, 1040, 40, "0") +
                                   row("3", "00001428", "P", 33, 1, 0, 0, 1085, 45, "0"));
}

TEST_F(FrameTableTest, NumbersAreSigned) {
    const bytes recording = unfinished({{.number = 0xFFFFFFFF, .time_stamp = 0xFFFFFFFE, .kind = 1},
                                        {.number = 0x80000000, .time_stamp = 0x7FFFFFFF, .kind = 1}});
    // The second: 0x7FFFFFFF - 0xFFFFFFFE = 0x80000001.
    EXPECT_EQ(rows(recording),
              row("-1", "00000058", "P", 132, 100, 0, 0, -2, -2, "0") +
                  row("-2147483648", "000000dc", "P", 132, 100, 0, 0, 2147483647, -2147483647, "0"));
}

TEST_F(FrameTableTest, TypeIsToldByTheLowByteOfTheKind) {
    std::string types;
    for (const uint32_t kind : {0U, 1U, 2U, 0xFFU, 0x100U, 0x101U, 0xFFFFFF00U}) {
        const std::string line = rows(unfinished({{.kind = kind}}));
        types += line.substr(line.find("\t00000058\t") + 17, 1);
    }
    EXPECT_EQ(types, "IPPPIPI");
}

// The first frame is examined whatever its class; the others follow the search for an I-frame, so that each of
// them is first in a recording of its own.
TEST_F(FrameTableTest, EveryClassHasItsWord) {
    // 0: tag, audio or time stamp make a frame ordinary.
    EXPECT_EQ(rows(unfinished({{.number = 5, .time_stamp = 0, .kind = 1, .tag = 1}})),
              row("5", "00000058", "P", 132, 100, 0, 0, 0, 0, "0"));
    EXPECT_EQ(rows(unfinished({{.number = 5, .time_stamp = 0, .kind = 1, .audio_size = 1}})),
              row("5", "00000058", "P", 132, 100, 0, 1, 0, 0, "0"));
    // 1
    EXPECT_EQ(rows(unfinished({{.number = 5, .time_stamp = 7, .kind = 0, .tag = 0x7788}})),
              row("5", "00000058", "I", 132, 100, 0, 0, 7, 7, "1"));
    // 2, an I-frame by its kind: V goes first.
    EXPECT_EQ(rows(unfinished({{.number = 5, .time_stamp = 0, .kind = 0}})),
              row("5", "00000058", "V", 132, 100, 0, 0, 0, 0, "IFrameIndex") + "IT IS a POOR FILE :(\n");
    // 3
    bytes damaged = unfinished({{.number = 5, .time_stamp = 7, .kind = 0}});
    put_u32(damaged, 88 + 4, 133);
    EXPECT_EQ(rows(damaged),
              "               5\t00000058\t       I\t     133\t     100\t       0\t       0\t       7"
              "\t       7\t VA err \t        \n");
    // -1
    bytes invalid = unfinished({{.number = 5, .time_stamp = 7, .kind = 1}});
    put_u32(invalid, 88, 0x01000000);
    EXPECT_EQ(rows(invalid), row("5", "00000058", "P", 132, 100, 0, 0, 7, 7, "-1"));
    // -2
    EXPECT_EQ(rows(of_pieces(1, {bytes(32, 0)})), row("0", "00000058", "I", 0, 0, 0, 0, 0, 0, "-2"));
}

TEST_F(FrameTableTest, LengthsBeyondOneMebibyteAreNoFrame) {
    const auto row_of = [&](uint32_t frame_size, uint32_t video_size) {
        bytes header = header_of({.number = 5, .time_stamp = 7, .kind = 1});
        put_u32(header, 4, frame_size);
        put_u32(header, 20, video_size);
        return rows(of_pieces(1, {header}));
    };
    EXPECT_EQ(row_of(0x100000, 0xFFFE0), row("5", "00000058", "P", 1048576, 1048544, 0, 0, 7, 7, "0"));
    EXPECT_EQ(row_of(0x100001, 0xFFFE1), row("5", "00000058", "P", 1048577, 1048545, 0, 0, 7, 7, "-1"));
    EXPECT_EQ(row_of(132, 0x100000), row("5", "00000058", "P", 132, 1048576, 0, 0, 7, 7, "VA err "));
    EXPECT_EQ(row_of(132, 0x100001), row("5", "00000058", "P", 132, 1048577, 0, 0, 7, 7, "-1"));
}

TEST_F(FrameTableTest, ADamagedFrameWithTheTagOfAnInsertedOneIsDamaged) {
    bytes recording = unfinished({{.number = 5, .time_stamp = 7, .kind = 1, .tag = 0x7788}});
    put_u32(recording, 88 + 4, 131);
    EXPECT_EQ(rows(recording), row("5", "00000058", "P", 131, 100, 0, 0, 7, 7, "VA err "));
}

TEST_F(FrameTableTest, TheLengthRuleDoesNotWrap) {
    // 0x10000 - 32 bytes of audio short of 2^32: the lengths would agree modulo 2^32 only.
    bytes header = header_of({.number = 5, .time_stamp = 7, .kind = 1});
    put_u16(header, 24, 0xFFFF);
    put_u16(header, 26, 0xFFFF);  // 0xFFFE0001 bytes of audio
    put_u32(header, 20, 0x20000); // + 0x20000 + 32 = 0x1'0000'0021
    put_u32(header, 4, 0x21);
    EXPECT_EQ(rows(of_pieces(1, {header})),
              row("5", "00000058", "P", 33, 131072, 65535, 65535, 7, 7, "VA err "));
}

TEST_F(FrameTableTest, GapShowsFrom2On) {
    const bytes recording = unfinished({{.number = 10, .time_stamp = 1000, .kind = 1},
                                        {.number = 11, .time_stamp = 1040, .kind = 1},
                                        {.number = 13, .time_stamp = 1080, .kind = 1},
                                        {.number = 18, .time_stamp = 1120, .kind = 1},
                                        {.number = 18, .time_stamp = 1160, .kind = 1},
                                        {.number = 17, .time_stamp = 1200, .kind = 1}});
    EXPECT_EQ(
        rows(recording),
        "              10\t00000058\t       P\t     132\t     100\t       0\t       0\t    1000\t    1000\t"
        "       0\t        \n"
        "              11\t000000dc\t       P\t     132\t     100\t       0\t       0\t    1040\t      40\t"
        "       0\t        \n"
        "     *2       13\t00000160\t       P\t     132\t     100\t       0\t       0\t    1080\t      40\t"
        "       0\t        \n"
        "     *5       18\t000001e4\t       P\t     132\t     100\t       0\t       0\t    1120\t      40\t"
        "       0\t        \n"
        "              18\t00000268\t       P\t     132\t     100\t       0\t       0\t    1160\t      40\t"
        "       0\t        \n"
        "              17\t000002ec\t       P\t     132\t     100\t       0\t       0\t    1200\t      40\t"
        "       0\t        \n");
}

TEST_F(FrameTableTest, GapTextIsCutTo19Characters) {
    const auto number_of_second = [&](uint32_t first, uint32_t second) {
        const std::string text = rows(unfinished({{.number = first, .time_stamp = 1000, .kind = 1},
                                                  {.number = second, .time_stamp = 1040, .kind = 1}}));
        const size_t start = text.find('\n') + 1;
        return text.substr(start, text.find('\t', start) - start);
    };
    EXPECT_EQ(number_of_second(1, 1000001), "*1000000  1000001");     // 17 characters: wider than the column
    EXPECT_EQ(number_of_second(1, 10000001), "*10000000 10000001");   // 18
    EXPECT_EQ(number_of_second(1, 100000000), "*99999999 100000000"); // 19: whole
    EXPECT_EQ(number_of_second(1, 100000001), "*100000000 10000000"); // 20: cut
    EXPECT_EQ(number_of_second(1, 1234567891), "*1234567890 1234567");
    EXPECT_EQ(number_of_second(10, 0x80000009), "*2147483647 -214748");
}

TEST_F(FrameTableTest, GapIsASignedDifference) {
    const bytes recording = unfinished({{.number = 10, .time_stamp = 1000, .kind = 1},
                                        {.number = 0x8000000A, .time_stamp = 1040, .kind = 1}, // -2^31
                                        {.number = 0x8000000C, .time_stamp = 1080, .kind = 1}});
    EXPECT_EQ(rows(recording), row("10", "00000058", "P", 132, 100, 0, 0, 1000, 1000, "0") +
                                   row("-2147483638", "000000dc", "P", 132, 100, 0, 0, 1040, 40, "0") +
                                   row("*2 -2147483636", "00000160", "P", 132, 100, 0, 0, 1080, 40, "0"));
}

TEST_F(FrameTableTest, ADelayOf0RestartsThePairingAndKeepsTheGap) {
    const bytes recording = unfinished({{.number = 1, .time_stamp = 1000, .kind = 1},
                                        {.number = 6, .time_stamp = 1000, .kind = 1},  // delay 0, gap 5
                                        {.number = 20, .time_stamp = 5000, .kind = 1}, // only remembered
                                        {.number = 21, .time_stamp = 5040, .kind = 1}});
    EXPECT_EQ(rows(recording), row("1", "00000058", "P", 132, 100, 0, 0, 1000, 1000, "0") +
                                   row("*5        6", "000000dc", "P", 132, 100, 0, 0, 1000, 0, "0") +
                                   row("*5       20", "00000160", "P", 132, 100, 0, 0, 5000, 5000, "0") +
                                   row("21", "000001e4", "P", 132, 100, 0, 0, 5040, 40, "0"));
}

TEST_F(FrameTableTest, AFirstTimeStampOf0RestartsThePairing) {
    const bytes recording = unfinished({{.number = 1, .time_stamp = 0, .kind = 1, .tag = 1},
                                        {.number = 9, .time_stamp = 400, .kind = 1},
                                        {.number = 10, .time_stamp = 440, .kind = 1}});
    EXPECT_EQ(rows(recording), row("1", "00000058", "P", 132, 100, 0, 0, 0, 0, "0") +
                                   row("9", "000000dc", "P", 132, 100, 0, 0, 400, 400, "0") +
                                   row("10", "00000160", "P", 132, 100, 0, 0, 440, 40, "0"));
}

TEST_F(FrameTableTest, InsertedAndDamagedFramesTakePartInDelayAndGap) {
    bytes damaged = frame_record({.number = 8, .time_stamp = 1200, .kind = 1});
    put_u32(damaged, 20, 99);
    const bytes recording =
        of_pieces(3, {frame_record({.number = 1, .time_stamp = 1000, .kind = 0}),
                      frame_record({.number = 4, .time_stamp = 1100, .kind = 0, .tag = 0x7788}), damaged,
                      frame_record({.number = 9, .time_stamp = 1250, .kind = 1})});
    EXPECT_EQ(rows(recording), row("1", "00000058", "I", 132, 100, 0, 0, 1000, 1000, "0") +
                                   row("*3        4", "000000dc", "I", 132, 100, 0, 0, 1100, 100, "1") +
                                   row("*4        8", "00000160", "P", 132, 99, 0, 0, 1200, 100, "VA err ") +
                                   row("9", "000001e4", "P", 132, 100, 0, 0, 1250, 50, "0"));
}

TEST_F(FrameTableTest, GarbageTakesPartInDelayAndGap) {
    bytes garbage = frame_record({.number = 20, .time_stamp = 1500, .kind = 1});
    put_u32(garbage, 0, 0xDEADBEEF);
    const bytes recording = of_pieces(
        9, {frame_record({.number = 10, .time_stamp = 1000, .kind = 0}), garbage,
            frame_record({.number = 21, .time_stamp = 1540, .kind = 0}), // found: no row, no pairing
            frame_record({.number = 22, .time_stamp = 1580, .kind = 1})});
    EXPECT_EQ(rows(recording), row("10", "00000058", "I", 132, 100, 0, 0, 1000, 1000, "0") +
                                   row("*10       20", "000000dc", "P", 132, 100, 0, 0, 1500, 500, "-1") +
                                   row("*2       22", "000001e4", "P", 132, 100, 0, 0, 1580, 80, "0"));
}

// --- -i: only I-frames have rows, and only they move delay and gap ---

bytes two_groups() {
    return unfinished({{.number = 1, .time_stamp = 1000, .kind = 0},
                       {.number = 2, .time_stamp = 1040, .kind = 1},
                       {.number = 3, .time_stamp = 1080, .kind = 1},
                       {.number = 4, .time_stamp = 1120, .kind = 0},
                       {.number = 9, .time_stamp = 1400, .kind = 1},
                       {.number = 5, .time_stamp = 1160, .kind = 0}});
}

TEST_F(FrameTableTest, IFramesAloneAreMeasuredAgainstEachOther) {
    EXPECT_EQ(rows(two_groups(), option::i),
              row("1", "00000058", "I", 132, 100, 0, 0, 1000, 1000, "0") +
                  row("*3        4", "000001e4", "I", 132, 100, 0, 0, 1120, 120, "0") +
                  row("5", "000002ec", "I", 132, 100, 0, 0, 1160, 40, "0"));
}

TEST_F(FrameTableTest, WithoutRowsOfItsOwnTheFirstFrameStartsThePairingAllTheSame) {
    const bytes recording = unfinished({{.number = 1, .time_stamp = 1000, .kind = 1},
                                        {.number = 2, .time_stamp = 1040, .kind = 1},
                                        {.number = 3, .time_stamp = 1080, .kind = 0}});
    EXPECT_EQ(rows(recording, option::i), row("*2        3", "00000160", "I", 132, 100, 0, 0, 1080, 80, "0"));
}

TEST_F(FrameTableTest, WithMissingFramesAGapStaysOnThePFramesThatFollow) {
    EXPECT_EQ(rows(two_groups(), option::i | option::m),
              row("1", "00000058", "I", 132, 100, 0, 0, 1000, 1000, "0") +
                  row("*3        4", "000001e4", "I", 132, 100, 0, 0, 1120, 120, "0") +
                  row("*3        9", "00000268", "P", 132, 100, 0, 0, 1400, 120, "0") +
                  row("5", "000002ec", "I", 132, 100, 0, 0, 1160, 40, "0"));
}

TEST_F(FrameTableTest, AllAndMissingFramesTogetherGiveEveryRowOnce) {
    EXPECT_EQ(rows(two_groups(), option::a | option::m), rows(two_groups(), option::a));
    EXPECT_EQ(rows(two_groups(), option::a | option::i), rows(two_groups(), option::a));
    EXPECT_EQ(rows(two_groups(), option::a),
              row("1", "00000058", "I", 132, 100, 0, 0, 1000, 1000, "0") +
                  row("2", "000000dc", "P", 132, 100, 0, 0, 1040, 40, "0") +
                  row("3", "00000160", "P", 132, 100, 0, 0, 1080, 40, "0") +
                  row("4", "000001e4", "I", 132, 100, 0, 0, 1120, 40, "0") +
                  row("*5        9", "00000268", "P", 132, 100, 0, 0, 1400, 280, "0") +
                  row("5", "000002ec", "I", 132, 100, 0, 0, 1160, -240, "0"));
}

TEST_F(FrameTableTest, MissingFramesAloneHaveNoRows) {
    EXPECT_EQ(rows(two_groups(), option::m), "");
    EXPECT_EQ(rows(two_groups(), option::m | option::t | option::u), "");
}

TEST_F(FrameTableTest, AnIndexHeaderOfAnIFrameKindHasARowAmongIFrames) {
    const bytes recording = of_pieces(1, {frame_record({.number = 1, .time_stamp = 1000, .kind = 0}),
                                          analysis::index_frame_header(132, 0x100)});
    EXPECT_EQ(rows(recording, option::i),
              row("1", "00000058", "I", 132, 100, 0, 0, 1000, 1000, "0") +
                  row("0", "000000dc", "V", 132, 100, 0, 0, 0, -1000, "IFrameIndex") +
                  "IT IS a POOR FILE :(\n");
}

// --- encryption ---

TEST_F(FrameTableTest, EncryptionIsToldByTheTwoLowestBitsOfTheTag) {
    std::string marks;
    for (const auto tag : std::initializer_list<uint16_t>{0, 1, 2, 3, 4, 6, 7, 0x7788, 0xFFFE, 0xFFFF}) {
        const std::string line = rows(unfinished({{.kind = 1, .tag = tag}}));
        marks += line.at(line.size() - 2) == '*' ? '*' : '.';
    }
    EXPECT_EQ(marks, "..*..*..*.");
}

TEST_F(FrameTableTest, FramesOfLessThan64BytesAreNotEncrypted) {
    const auto mark = [&](size_t video, uint16_t audio_count, uint16_t audio_size) {
        const std::string line = rows(unfinished({{.kind = 1,
                                                   .video = bytes(video, 1),
                                                   .audio_count = audio_count,
                                                   .audio_size = audio_size,
                                                   .tag = 2}}));
        return line.substr(line.size() - 9);
    };
    EXPECT_EQ(mark(63, 0, 0), "        \n");
    EXPECT_EQ(mark(64, 0, 0), "       *\n");
    EXPECT_EQ(mark(60, 1, 3), "        \n");
    EXPECT_EQ(mark(60, 2, 2), "       *\n");
    EXPECT_EQ(mark(0, 8, 8), "       *\n");
    EXPECT_EQ(mark(0, 7, 9), "        \n");
}

TEST_F(FrameTableTest, TheSumThatTellsEncryptionWrapsAndIsSigned) {
    const auto mark = [&](uint32_t video, uint16_t audio_count, uint16_t audio_size) {
        bytes header = header_of({.number = 1, .time_stamp = 1000, .kind = 1, .tag = 2});
        put_u32(header, 20, video);
        put_u16(header, 24, audio_count);
        put_u16(header, 26, audio_size);
        const std::string line = rows(of_pieces(1, {header}));
        return line.substr(line.size() - 9);
    };
    EXPECT_EQ(mark(0x7FFFFFFF, 0, 0), "       *\n");
    EXPECT_EQ(mark(0x7FFFFFFF, 1, 1), "        \n");  // -2^31
    EXPECT_EQ(mark(0xFFFFFFFF, 0, 0), "        \n");  // -1
    EXPECT_EQ(mark(0xFFFFFFFF, 5, 13), "       *\n"); // 64
    EXPECT_EQ(mark(0xFFFFFFFF, 1, 64), "        \n"); // 63
    EXPECT_EQ(mark(0, 0xFFFF, 0xFFFF), "        \n"); // 0xFFFE0001
    EXPECT_EQ(mark(0, 0x8000, 0xFFFF), "       *\n"); // 0x7FFF8000
}

} // namespace
