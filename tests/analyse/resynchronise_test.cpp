// How the walk finds back to the frames behind something that is none.
#include "analyse/analyse.h"
#include "analyse/frame_user_data.h"
#include "tests/analyse/analysis_fixture.hpp"
#include "tests/fakes/module_probe.hpp"

#include <string>

namespace {

using analysis::below_heading;
using analysis::bytes;
using analysis::index_frame_header;
using analysis::of_pieces;
using analysis::row;
using analysis::trailer;
namespace option = analysis::option;
using recording::append;
using recording::frame_record;
using recording::put_u32;

constexpr const char* well_done = "Well done :)\n";
constexpr const char* poor = "IT IS a POOR FILE :(\n";

class ResynchroniseTest : public analysis::AnalysisTest {
protected:
    std::string rows(const bytes& recording, uint32_t options = option::a) const {
        return below_heading(report(recording, options));
    }

    // Where the searches began: the seeks that a read of a whole chunk followed.
    static std::vector<std::string> search_starts() {
        std::vector<std::string> starts;
        const std::vector<std::string> calls = module_probe::calls();
        for (size_t i = 1; i < calls.size(); ++i)
            if (calls[i].find(", 1048576)") != std::string::npos) {
                const size_t from = calls[i - 1].find(", ") + 2;
                starts.push_back(calls[i - 1].substr(from, calls[i - 1].find(", ", from) - from));
            }
        return starts;
    }
};

// A record of the right length that is no frame: class -1, a P-frame by its kind.
bytes garbage(uint32_t number = 90, uint32_t time_stamp = 9000) {
    bytes record = frame_record({.number = number, .time_stamp = time_stamp, .kind = 1});
    put_u32(record, 0, 0xFFFFFFFF);
    return record;
}

bytes i_frame(uint32_t number, uint32_t time_stamp) {
    return frame_record({.number = number, .time_stamp = time_stamp, .kind = 0});
}

bytes p_frame(uint32_t number, uint32_t time_stamp) {
    return frame_record({.number = number, .time_stamp = time_stamp, .kind = 1});
}

TEST_F(ResynchroniseTest, FindsTheNextIFrameBehindABadHeader) {
    const bytes recording = of_pieces(9, {garbage(), p_frame(2, 1040), i_frame(3, 1080), p_frame(4, 1120)});
    // Frame 2 is passed over, frame 3 is found and gets no row.
    EXPECT_EQ(rows(recording), row("90", "00000058", "P", 132, 100, 0, 0, 9000, 9000, "-1") +
                                   row("4", "000001e4", "P", 132, 100, 0, 0, 1120, -7880, "0"));
    EXPECT_EQ(text("EndFrame"), "4\n");
    EXPECT_EQ(g_TempFirstFrmNum, 3);
}

TEST_F(ResynchroniseTest, SearchesFrom4BytesBehindTheStartOfTheBadHeader) {
    rows(of_pieces(9, {garbage(), i_frame(3, 1080)}));
    EXPECT_EQ(search_starts(), std::vector<std::string>{"92"});
}

// The header of an I-frame `distance` bytes behind the start of something bad.
bytes with_i_frame_behind(size_t distance) {
    return of_pieces(9, {bytes(distance, 0xFF), i_frame(3, 1080)});
}

TEST_F(ResynchroniseTest, PassesOverAFrameAtTheVeryPlaceWhereTheSearchStarts) {
    report(with_i_frame_behind(4), option::i);
    EXPECT_EQ(text("EndFrame"), "0\n");
    report(with_i_frame_behind(5), option::i);
    EXPECT_EQ(text("EndFrame"), "3\n");
    report(with_i_frame_behind(1000), option::i);
    EXPECT_EQ(text("EndFrame"), "3\n");
}

TEST_F(ResynchroniseTest, StartsBehindZerosToo) {
    const bytes recording = of_pieces(9, {bytes(64, 0), i_frame(3, 1080), p_frame(4, 1120)});
    EXPECT_EQ(rows(recording), row("0", "00000058", "I", 0, 0, 0, 0, 0, 0, "-2") +
                                   row("4", "0000011c", "P", 132, 100, 0, 0, 1120, 1120, "0"));
}

TEST_F(ResynchroniseTest, TheFrameFoundIsCounted) {
    const bytes recording = of_pieces(1, {garbage(), i_frame(3, 1080), p_frame(4, 1120), p_frame(5, 1160)});
    EXPECT_EQ(rows(recording), row("90", "00000058", "P", 132, 100, 0, 0, 9000, 9000, "-1") +
                                   row("4", "00000160", "P", 132, 100, 0, 0, 1120, -7880, "0"));
    EXPECT_EQ(text("EndFrame"), "4\n");
    const bytes found_last = of_pieces(0x80000000, {garbage(), i_frame(3, 1080)});
    const std::string name = put(found_last);
    uint32_t count = 0;
    uint32_t position = 0;
    EXPECT_EQ(rec_vca_GetVcaMsgEx(name.c_str(), &count, 0, 0, &position), 0);
    EXPECT_EQ(position, 88U + 132 + 132);
}

TEST_F(ResynchroniseTest, TheLengthInABadHeaderLeadsNowhere) {
    for (const uint32_t length : {0U, 1U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        bytes bad = garbage();
        put_u32(bad, 4, length);
        const std::string name = put(of_pieces(9, {bad, i_frame(3, 1080), p_frame(4, 1120)}));
        uint32_t count = 0;
        uint32_t position = 0;
        EXPECT_EQ(rec_vca_GetVcaMsgEx(name.c_str(), &count, 0, 0, &position), 0) << length;
        EXPECT_EQ(position, 88U + 132 + 132) << length;
        EXPECT_EQ(rec_vca_GetVcaMsgEx(name.c_str(), &count, 0, 0, &position), 0) << length;
        EXPECT_EQ(position, 88U + 132 + 132 + 132) << length;
    }
}

TEST_F(ResynchroniseTest, TheFrameFoundAddsStreamTime) {
    const std::string name = put(of_pieces(0, {p_frame(1, 1000), garbage(), i_frame(3, 4000)}));
    uint32_t count = 1;
    uint32_t position = 0;
    EXPECT_EQ(rec_vca_GetVcaMsgEx(name.c_str(), &count, 0, 0, &position), 3);
}

TEST_F(ResynchroniseTest, TheFrameFoundLeavesThePairingAlone) {
    const bytes recording =
        of_pieces(9, {p_frame(1, 1000), garbage(2, 1040), i_frame(50, 5000), p_frame(4, 1100)});
    EXPECT_EQ(rows(recording), row("1", "00000058", "P", 132, 100, 0, 0, 1000, 1000, "0") +
                                   row("2", "000000dc", "P", 132, 100, 0, 0, 1040, 40, "-1") +
                                   row("*2        4", "000001e4", "P", 132, 100, 0, 0, 1100, 60, "0"));
}

TEST_F(ResynchroniseTest, TheFrameFoundIsLookedInto) {
    rows(of_pieces(9, {garbage(), i_frame(3, 1080), p_frame(4, 1120)}));
    EXPECT_EQ(_iFileLocation, 220);
    EXPECT_EQ(diffFrmNo, 1);
}

TEST_F(ResynchroniseTest, AFrameFoundWhosePayloadIsCutOffEndsTheWalk) {
    bytes recording = of_pieces(9, {garbage(), i_frame(3, 1080)});
    recording.pop_back();
    EXPECT_EQ(rows(recording), row("90", "00000058", "P", 132, 100, 0, 0, 9000, 9000, "-1"));
    EXPECT_EQ(g_TempFirstFrmNum, 3);
    EXPECT_EQ(g_TempLastFrmNum, 0);
}

TEST_F(ResynchroniseTest, AnInsertedFrameFoundLeadsOnWithoutBeingCounted) {
    const bytes inserted = frame_record({.number = 3, .time_stamp = 1080, .kind = 0, .tag = 0x7788});
    const bytes recording = of_pieces(0, {garbage(), inserted, p_frame(4, 1120), p_frame(5, 1160)});
    const std::string name = put(recording);
    uint32_t count = 0;
    uint32_t position = 0;
    g_Opt = option::a;
    EXPECT_EQ(
        analysis::printed([&] { EXPECT_EQ(rec_vca_GetVcaMsgEx(name.c_str(), &count, 0, 0, &position), 0); }),
        row("90", "00000058", "P", 132, 100, 0, 0, 9000, 9000, "-1") +
            row("4", "00000160", "P", 132, 100, 0, 0, 1120, -7880, "0"));
    EXPECT_EQ(position, 88U + 3 * 132);
}

TEST_F(ResynchroniseTest, AnIndexFrameFoundEndsTheWalkWithoutAVerdict) {
    // Its kind is that of an I-frame, or it would not be found.
    bytes found = index_frame_header(52, 0);
    append(found, bytes(12, 0));
    append(found, trailer(52));
    EXPECT_EQ(rows(of_pieces(9, {garbage(), found})),
              row("90", "00000058", "P", 132, 100, 0, 0, 9000, 9000, "-1"));
    // Met on the way it is judged.
    EXPECT_EQ(report(of_pieces(9, {p_frame(1, 1000), found}), option::i),
              analysis::frame_table_heading() +
                  row("0", "000000dc", "V", 52, 20, 0, 0, 0, -1000, "IFrameIndex") + well_done);
}

TEST_F(ResynchroniseTest, AnIndexOfTheKindThatIsWrittenIsNeverFound) {
    bytes block = recording::index_block({{.time = 1}});
    EXPECT_EQ(rows(of_pieces(9, {garbage(), block})),
              row("90", "00000058", "P", 132, 100, 0, 0, 9000, 9000, "-1"));
}

TEST_F(ResynchroniseTest, AFrameFoundThatCanBeReadNoMoreEndsTheWalk) {
    const std::string name = put(of_pieces(9, {garbage(), i_frame(3, 1080)}));
    // Reads: file header; bad header, chunk, header found.
    module_probe::cut("Read", 4, 31);
    EXPECT_EQ(below_heading(report_of(name, option::a)),
              row("90", "00000058", "P", 132, 100, 0, 0, 9000, 9000, "-1"));
    EXPECT_FALSE(exists("Diff"));
}

TEST_F(ResynchroniseTest, NothingFoundEndsTheWalk) {
    for (const size_t size : {32U, 35U, 36U, 100U})
        EXPECT_EQ(rows(of_pieces(9, {bytes(size, 0xFF)})),
                  row("-1", "00000058", "P", -1, -1, 65535, 65535, -1, -1, "-1"));
}

TEST_F(ResynchroniseTest, TwoBadPlacesAreBothPassed) {
    const bytes recording = of_pieces(9, {garbage(10, 1000), i_frame(11, 1040), garbage(12, 1080),
                                          p_frame(13, 1120), i_frame(14, 1160), p_frame(15, 1200)});
    EXPECT_EQ(rows(recording), row("10", "00000058", "P", 132, 100, 0, 0, 1000, 1000, "-1") +
                                   row("*2       12", "00000160", "P", 132, 100, 0, 0, 1080, 80, "-1") +
                                   row("*3       15", "000002ec", "P", 132, 100, 0, 0, 1200, 120, "0"));
}

// --- behind an index-looking frame ---

TEST_F(ResynchroniseTest, APoorFileGoesOnBehindTheIndexLookingFrame) {
    const bytes recording = of_pieces(
        9, {p_frame(1, 1000), index_frame_header(32), p_frame(2, 1040), i_frame(3, 1080), p_frame(4, 1120)});
    EXPECT_EQ(rows(recording), row("1", "00000058", "P", 132, 100, 0, 0, 1000, 1000, "0") +
                                   row("0", "000000dc", "V", 32, 0, 0, 0, 0, -1000, "IFrameIndex") + poor +
                                   row("*4        4", "00000204", "P", 132, 100, 0, 0, 1120, 1120, "0"));
    EXPECT_EQ(text("EndFrame"), "4\n");
    // 220 + 32 - 28; the trailer was read far behind it.
    EXPECT_EQ(search_starts(), std::vector<std::string>{"224"});
}

TEST_F(ResynchroniseTest, EveryIndexLookingFrameOfAPoorFileGetsItsVerdict) {
    const bytes recording = of_pieces(9, {index_frame_header(32), i_frame(1, 1000), index_frame_header(32),
                                          i_frame(2, 1040), p_frame(3, 1080)});
    EXPECT_EQ(report(recording, option::t), std::string(poor) + poor);
    EXPECT_EQ(text("EndFrame"), "3\n");
}

TEST_F(ResynchroniseTest, BehindAGoodTrailerNothingIsLeftToBeFound) {
    // The index-looking frame stands in the middle; the file is left 4 bytes before its end.
    const bytes recording =
        of_pieces(9, {p_frame(1, 1000), index_frame_header(32), i_frame(3, 1080), trailer(52)});
    for (const uint32_t options : {option::s, option::i, option::u, option::m, 0x00U}) {
        module_probe::reset();
        EXPECT_THAT(report(recording, options), testing::EndsWith(well_done)) << options;
        EXPECT_EQ(text("EndFrame"), "1\n") << options;
        // 88 + 132 + 32 + 132 + 8 - 4 - 28
        EXPECT_EQ(search_starts(), std::vector<std::string>{"360"}) << options;
    }
}

TEST_F(ResynchroniseTest, BehindADetailTheSearchStartsAtTheLastRecord) {
    const bytes recording = analysis::small_recording();
    report(recording, option::t);
    // The records end at 688, the file at 696.
    EXPECT_EQ(search_starts(), std::vector<std::string>{"660"});
}

TEST_F(ResynchroniseTest, BehindAnIndexWithoutRecordsTheSearchStartsAtItsHead) {
    // The trailer's length leads to a head in the middle of the file: frames behind it are walked.
    bytes head = index_frame_header(44 + 132 + 132 + 8);
    append(head, bytes(12, 0));
    const bytes recording = of_pieces(
        9, {p_frame(1, 1000), head, i_frame(5, 1080), p_frame(6, 1120), trailer(44 + 132 + 132 + 8)});
    EXPECT_EQ(report(recording, option::t), well_done);
    EXPECT_EQ(search_starts(), std::vector<std::string>{"236"}); // 220 + 44 - 28
    EXPECT_EQ(text("EndFrame"), "6\n");
}

TEST_F(ResynchroniseTest, BehindAHeadThatIsRefusedTheSearchStartsAtItsEnd) {
    // 88 + 5 * 132 + 8 = 756; 756 - 316 = 440; 440 + 44 - 28 = 456.
    const bytes recording =
        of_pieces(9, {p_frame(1, 1000), index_frame_header(132), bytes(100, 0), i_frame(2, 1040),
                      i_frame(3, 1080), p_frame(4, 1120), trailer(316)});
    EXPECT_EQ(recording.size(), 756U);
    EXPECT_EQ(report(recording, option::t), "decode_ReadFrameIndex 252 errWell done :)\n");
    // Frame 2 at 352 is passed, frame 3 stands at 484. Behind frame 4 the trailer is no header: 8 bytes.
    EXPECT_EQ(search_starts(), std::vector<std::string>{"456"});
    EXPECT_EQ(g_TempFirstFrmNum, 1);
    EXPECT_EQ(text("EndFrame"), "4\n");
}

// --- a trailer that leads back ---

TEST_F(ResynchroniseTest, FramesThatATrailerLeadsBackToAreWalkedAgainUntilTheQuotaEnds) {
    // 88 + 132 + 32 + 8 = 260; 260 - 240 = 20; what is read there is no head; 20 + 44 - 28 = 36.
    const bytes recording = of_pieces(2, {i_frame(1, 1000), index_frame_header(32), trailer(240)});
    EXPECT_EQ(rows(recording), row("1", "00000058", "I", 132, 100, 0, 0, 1000, 1000, "0") +
                                   row("0", "000000dc", "V", 32, 0, 0, 0, 0, -1000, "IFrameIndex") +
                                   "decode_ReadFrameIndex 252 errWell done :)\n" +
                                   row("0", "000000dc", "V", 32, 0, 0, 0, 0, 0, "IFrameIndex") +
                                   "decode_ReadFrameIndex 252 errWell done :)\n");
    EXPECT_EQ(analysis::pauses().size(), 1U);
    EXPECT_EQ(text("EndFrame"), "1\n");
}

TEST_F(ResynchroniseTest, AnIndexLookingFrameMetAgainWithoutAFrameBetweenEndsTheWalk) {
    const bytes inserted = frame_record({.number = 1, .time_stamp = 1000, .kind = 0, .tag = 0x7788});
    const bytes recording = of_pieces(1000, {inserted, index_frame_header(32), trailer(240)});
    EXPECT_EQ(rows(recording), row("1", "00000058", "I", 132, 100, 0, 0, 1000, 1000, "1") +
                                   row("0", "000000dc", "V", 32, 0, 0, 0, 0, -1000, "IFrameIndex") +
                                   "decode_ReadFrameIndex 252 errWell done :)\n" +
                                   row("0", "000000dc", "V", 32, 0, 0, 0, 0, 0, "IFrameIndex"));
    EXPECT_EQ(text("EndFrame"), "0\n");
    // Without detail the search starts at the end of the file and comes nowhere.
    EXPECT_THAT(report(recording, option::s),
                testing::EndsWith(std::string("          FrameCount :\t1000\n") + well_done));
}

TEST_F(ResynchroniseTest, TwoIndexLookingFramesThatLeadBackEndAsWell) {
    const bytes inserted = frame_record({.number = 1, .time_stamp = 1000, .kind = 0, .tag = 0x7788});
    // The first one is never passed: 88 + 132 + 32 + 32 + 8 = 292; 292 - 272 = 20.
    const bytes recording =
        of_pieces(1000, {inserted, index_frame_header(32), index_frame_header(32), trailer(272)});
    EXPECT_EQ(report(recording, option::t), "decode_ReadFrameIndex 252 errWell done :)\n");
}

} // namespace
