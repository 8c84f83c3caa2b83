// The whole analysis of one recording: what is printed, in which order, and how the walk is driven.
#include "analyse/analyse.h"

#include "analyse/frame_user_data.h"
#include "analyse/vca/vca.h"
#include "tests/analyse/analysis_fixture.hpp"
#include "tests/fakes/module_probe.hpp"

#include <string>

namespace {

using analysis::bytes;
using analysis::dash_line;
using analysis::pauses;
using analysis::row;
using analysis::small_recording;
namespace option = analysis::option;
using recording::put_u32;

class AnalyseTest : public analysis::AnalysisTest {};

const std::string header_text = "\n" + dash_line(140) + "File Header infomation\n" + dash_line(140) +
                                "           FrameRate :\t  25\n"
                                "               Width :\t1920\n"
                                "              Height :\t1080\n"
                                "                Mode :\tH.264\n"
                                "              bAudio :\t   0\n"
                                "                Year :\t2015\n"
                                "               Month :\t   1\n"
                                "                 Day :\t   2\n"
                                "                Hour :\t   3\n"
                                "              Minute :\t   4\n"
                                "              Second :\t   5\n"
                                "           CoverMask :\t   0\n"
                                "            cCovWord :\t\n"
                                "     m_uiFrameNoDiff :\t   0\n"
                                "         TriggerHigh :\t   0\n"
                                "          TriggerLow :\t   0\n"
                                "            reserved :\t   0\n"
                                "           AChannels :\t   0\n"
                                "       BitsPerSample :\t   0\n"
                                "         AudioSample :\t   0\n"
                                "           TotalSize :\t   0 B\n"
                                "          FrameCount :\t   3\n";

const std::string heading_text =
    "\n" + dash_line(154) + "Frame Detail\n" + dash_line(154) +
    "         FrameNo\t    Addr\t    "
    "TYPE\tFrameSize\tVideoSize\tAFrameNum\tAFrameSize\tTimeStamp\tTimeDelay\t   Valid"
    "\t Encrypt\n" +
    dash_line(154);

const std::string all_rows = "               7\t00000058\t       I\t     132\t     100\t       0\t       0\t "
                             "   1000\t    1000\t       0\t        \n"
                             "               8\t000000dc\t       P\t     132\t     100\t       0\t       0\t "
                             "   1040\t      40\t       0\t        \n"
                             "               9\t00000160\t       I\t     132\t     100\t       0\t       0\t "
                             "   3000\t    1960\t       0\t        \n"
                             "               0\t000001e4\t       V\t     212\t     180\t       0\t       0\t "
                             "      0\t   -3000\tIFrameIndex\t"
                             "        \n";

const std::string i_rows = "               7\t00000058\t       I\t     132\t     100\t       0\t       0\t   "
                           " 1000\t    1000\t       0\t        \n"
                           "     *2        9\t00000160\t       I\t     132\t     100\t       0\t       0\t   "
                           " 3000\t    2000\t       0\t        \n";

const std::string detail_text =
    "\n" + dash_line(89) + "IFrameIndex Detail\n" + dash_line(89) + "IFrameIndex Header Infomation\n" +
    dash_line(89) +
    "            Virual FrameHeader : Same as above\n"
    "            I Frame Record Num : 2\n"
    "       VirualFrame Record size : 80\n"
    "                    Memory Num : 450\n"
    "\n" +
    dash_line(121) + "IFrameIndex Body Infomation\n" + dash_line(121) +
    "   Index\t TimeNow\tIPos(hex)\tFPos(hex)\t    Sign\tVideoSize(H)\tVideoSize(W)\t"
    " TagName\n" +
    dash_line(121) +
    "       0\t[03:04:05]\t00000058\t00000210\t       0\t    1080\t    1920\t        \n"
    "       1\t[03:04:07]\t00000160\t00000260\t       0\t    1080\t    1920\t        \n"
    "\n" +
    dash_line(89) + "IFrameIndex Tail Infomation\n" + dash_line(89) +
    "    Flag\tVFrameSize\t\n"
    " 123abcd\t     160\t\n" +
    dash_line(89) +
    "KMR FileStartTime :2015/01/02 03:04:05\n"
    "KMR FileEndTime   :2015/01/02 03:04:07\n"
    "KMR File Time     :       2(s)\n" +
    dash_line(89);

const std::string verdict = "Well done :)\n";

TEST_F(AnalyseTest, PrintsWhatTheOptionsAskFor) {
    const bytes recording = small_recording();
    EXPECT_EQ(report(recording, option::a), header_text + heading_text + all_rows + detail_text + verdict);
    EXPECT_EQ(report(recording, option::s), header_text + verdict);
    EXPECT_EQ(report(recording, option::i), heading_text + i_rows + verdict);
    EXPECT_EQ(report(recording, option::t), detail_text + verdict);
    EXPECT_EQ(report(recording, option::u), verdict);
    EXPECT_EQ(report(recording, option::m), header_text + heading_text + verdict);
    EXPECT_EQ(report(recording, 0), verdict);
    EXPECT_EQ(report(recording, 0x88), verdict);
    EXPECT_EQ(report(recording, option::i | option::m),
              header_text + heading_text + i_rows +
                  // The gap of 2 that stays when the index is met, which is no I-frame.
                  row("*2        0", "000001e4", "V", 212, 180, 0, 0, 0, 2000, "IFrameIndex") + verdict);
    EXPECT_EQ(report(recording, option::a | option::m),
              header_text + heading_text + all_rows + detail_text + verdict);
    EXPECT_EQ(report(recording, option::s | option::i | option::t),
              header_text + heading_text + i_rows + detail_text + verdict);
}

TEST_F(AnalyseTest, PausesFor10MillisecondsBehindEveryCallOfTheWalk) {
    report(small_recording(), option::s);
    EXPECT_EQ(pauses(), std::vector<unsigned>{10000});
    pauses().clear();
    report_of("missing", option::s);
    EXPECT_EQ(pauses(), std::vector<unsigned>{10000});
    pauses().clear();
    report(recording::file_header(0), option::s);
    EXPECT_EQ(pauses(), std::vector<unsigned>{});
}

TEST_F(AnalyseTest, WithoutANameEndsBehindTheHeaderStep) {
    EXPECT_EQ(report_of("", 0xFF), "");
    EXPECT_EQ(analysis::printed([] { EXPECT_EQ(analyse_kmr(nullptr, 0xFF), 0); }), "");
    EXPECT_EQ(g_Opt, 0xFFU);
    EXPECT_TRUE(pauses().empty());
    EXPECT_FALSE(exists("EndFrame"));
}

TEST_F(AnalyseTest, KeepsTheOptionWordAndResetsTheAnalyticsSize) {
    g_stVcaAnalysSize = {1, 2, 3, 4};
    g_Opt = 0x77;
    report_of("missing", 0x10);
    EXPECT_EQ(g_Opt, 0x10U);
    EXPECT_EQ(g_stVcaAnalysSize.width, 176U);
    EXPECT_EQ(g_stVcaAnalysSize.height, 144U);
    EXPECT_EQ(g_stVcaAnalysSize.base_width, 176U);
    EXPECT_EQ(g_stVcaAnalysSize.base_height, 144U);
}

TEST_F(AnalyseTest, ARecordingThatCannotBeOpenedHasAHeadingAndNothingElse) {
    EXPECT_EQ(report_of("missing", option::a), heading_text);
    EXPECT_EQ(report_of("missing", option::m), heading_text);
    EXPECT_EQ(report_of("missing", option::s | option::t | option::u), "");
    EXPECT_EQ(text("EndFrame"), "0\n");
    EXPECT_FALSE(exists("Diff"));
}

TEST_F(AnalyseTest, AFrameCountOf0WalksNothing) {
    bytes recording = small_recording();
    put_u32(recording, 84, 0);
    EXPECT_EQ(report(recording, option::i | option::t), heading_text);
    EXPECT_FALSE(exists("EndFrame"));
}

TEST_F(AnalyseTest, AFrameCountOneTooSmallEndsWithoutAVerdict) {
    bytes recording = small_recording();
    put_u32(recording, 84, 2);
    EXPECT_EQ(report(recording, option::i | option::t), heading_text + i_rows);
    EXPECT_EQ(text("EndFrame"), "9\n");
    put_u32(recording, 84, 1);
    EXPECT_EQ(report(recording, option::i), heading_text + i_rows.substr(0, i_rows.find('\n') + 1));
    EXPECT_EQ(text("EndFrame"), "8\n");
}

TEST_F(AnalyseTest, AFrameCountTooLargeChangesNothing) {
    bytes recording = small_recording();
    for (const uint32_t count : {4U, 1000000U, 1000001U, 0x7FFFFFFFU}) {
        put_u32(recording, 84, count);
        EXPECT_EQ(report(recording, option::i), heading_text + i_rows + verdict) << count;
    }
    EXPECT_EQ(pauses().size(), 4U);
}

TEST_F(AnalyseTest, ANegativeFrameCountWalksNothingInOneCall) {
    bytes recording = small_recording();
    for (const uint32_t count : {0xFFFFFFFFU, 0x80000000U}) {
        put_u32(recording, 84, count);
        pauses().clear();
        EXPECT_EQ(report(recording, option::i), heading_text);
        EXPECT_EQ(pauses().size(), 1U);
        EXPECT_EQ(text("EndFrame"), "0\n");
        EXPECT_FALSE(exists("Diff"));
    }
}

TEST_F(AnalyseTest, AShortHeaderIsWalkedAsACount) {
    module_probe::reset();
    EXPECT_EQ(report(bytes(87, 1), option::a), heading_text);
    EXPECT_EQ(text("EndFrame"), "0\n");
    EXPECT_EQ(pauses().size(), 1U);
    // A header that could not be read does not keep the frames from being walked.
    const std::string name = put(small_recording());
    module_probe::cut("Read", 1, 87);
    EXPECT_EQ(report_of(name, option::i), heading_text + i_rows + verdict);
}

TEST_F(AnalyseTest, TwoRecordingsOneAfterTheOtherShowTheirOverlap) {
    report(small_recording(), option::s);
    EXPECT_EQ(text("EndFrame"), "9\n");
    EXPECT_EQ(text("Diff"), "0\n");
    report(recording::sound({{.number = 5}, {.number = 6}}), option::s);
    EXPECT_EQ(text("EndFrame"), "6\n");
    EXPECT_EQ(text("Diff"), "4\n");
}

TEST_F(AnalyseTest, TheSideFilesAreMadeInTheWorkingDirectory) {
    folder().write("elsewhere/r.kmr", small_recording());
    report_of(path("elsewhere/r.kmr"), option::s);
    EXPECT_TRUE(exists("EndFrame"));
    EXPECT_TRUE(exists("Diff"));
    EXPECT_FALSE(exists("elsewhere/EndFrame"));
}

// A recording that is computed as it is read: frames of 33 bytes, all alike but for number and time stamp, and
// then an index without records. It is large, and the log of its calls would be larger.
namespace made_up {

constexpr uint32_t frame_size = 33;
uint32_t frame_count;
uint32_t stamp_step;
int64_t position;

int64_t size() {
    return 88 + int64_t{frame_count} * frame_size + 52;
}

uint8_t byte_at(int64_t offset) {
    if (offset < 84)
        return 0;
    if (offset < 88)
        return static_cast<uint8_t>((frame_count - 1) >> (8 * (offset - 84)));
    const auto number = static_cast<uint32_t>((offset - 88) / frame_size);
    const auto at = static_cast<size_t>((offset - 88) % frame_size);
    const uint32_t words[] = {0x02000000, frame_size, 1, number + 1, 1000 + number * stamp_step, 1, 0, 0, 0};
    return static_cast<uint8_t>(words[at / 4] >> (8 * (at % 4)));
}

uint8_t index_byte(size_t at) {
    static const bytes block = recording::index_block({});
    return block[at];
}

int32_t open(int32_t, const char*, int32_t) {
    position = 0;
    return 1;
}

int32_t read(int32_t, void* buffer, uint32_t count) {
    auto* to = static_cast<uint8_t*>(buffer);
    const int64_t index = size() - 52;
    uint32_t done = 0;
    for (; done < count && position < size(); ++done, ++position)
        to[done] = position < index ? byte_at(position) : index_byte(static_cast<size_t>(position - index));
    return static_cast<int32_t>(done);
}

int64_t seek(int32_t, int64_t offset, int32_t origin) {
    return position = offset + (origin == SEEK_END ? size() : origin == SEEK_CUR ? position : 0);
}

int32_t tell(int32_t) {
    return static_cast<int32_t>(position);
}
int32_t close(int32_t) {
    return 0;
}

int32_t stat(const char*, vfs_stat_record* record) {
    record->Size = size();
    return 0;
}

} // namespace made_up

class LargeRecordingTest : public analysis::AnalysisTest {
protected:
    LargeRecordingTest() : before_(g_stvfsmnt.Entries[1].Operations) {
        vfs_module_operations& operations = g_stvfsmnt.Entries[1].Operations;
        operations.Open = made_up::open;
        operations.Read = made_up::read;
        operations.Seek = made_up::seek;
        operations.Tell = made_up::tell;
        operations.Close = made_up::close;
        operations.Stat = made_up::stat;
    }
    ~LargeRecordingTest() override { g_stvfsmnt.Entries[1].Operations = before_; }

private:
    vfs_module_operations before_;
};

TEST_F(LargeRecordingTest, IsWalkedInCallsOfAMillionFramesAndOne) {
    // FrameCount is 1000002: a call of quota 1000000 takes 1000001 frames, one of quota 2 the
    // last two and the index.
    made_up::frame_count = 1000003;
    made_up::stamp_step = 1;
    EXPECT_EQ(report_of("any", option::t), verdict);
    EXPECT_EQ(pauses(), (std::vector<unsigned>{10000, 10000}));
    EXPECT_EQ(g_TempFirstFrmNum, 1000002); // of the second call
    EXPECT_EQ(g_TempLastFrmNum, 1000003);
    EXPECT_EQ(text("Diff"), "0\n"); // the first call left 1000001 in "EndFrame"
    EXPECT_EQ(text("EndFrame"), "1000003\n");
}

// A step of one millisecond less than half an hour counts; a step at which the time stamps wrap does not. Behind
// 2387095 steps, 1000 of them lost, 4294968613905 ms have passed, more than 2^32 seconds: the frame there is not looked
// into any more, and what is given of the seconds, 4294968613, are the low 32 bits.
TEST_F(LargeRecordingTest, FramesBehind2ToThe32SecondsAreNotLookedInto) {
    made_up::frame_count = 2387100;
    made_up::stamp_step = 1799999;
    uint32_t count = 2387095;
    uint32_t position = 0;
    EXPECT_EQ(rec_vca_GetVcaMsgEx("any", &count, 0, 0, &position), 1317);
    EXPECT_EQ(diffFrmNo, 2387095); // of 2387096 P-frames
}

TEST_F(LargeRecordingTest, EndsWithTheCallThatUsesItsFrameCountUp) {
    // FrameCount 1000000 is one call.
    made_up::frame_count = 1000001;
    made_up::stamp_step = 1;
    EXPECT_EQ(report_of("any", option::t), "");
    EXPECT_EQ(pauses().size(), 1U);
    EXPECT_EQ(text("EndFrame"), "1000001\n");
}

} // namespace
