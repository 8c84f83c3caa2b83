#include "UserDataOpt/user_data.h"
#include "analyse/vca/vca.h"
#include "tests/UserDataOpt/user_data_bytes.hpp"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>

namespace {

using namespace user_data;
using counters = std::map<int, uint64_t>;

const std::string tabs(30, '\t');

std::string heading(const std::string& count) {
    return tabs + "----------------------------------------------------\n" +             //
           tabs + "--------------UserData SegmentCount " + count + "---------------\n" + //
           tabs + "     loc\t UserData Flag\t UserData Type\n";
}

class DecoderTest : public testing::Test {
protected:
    DecoderTest() {
        g_stVcaAnalysSize = {176, 144, 176, 144};
        std::memset(&g_stVcaTarget, 0xEE, sizeof g_stVcaTarget);
    }

    static bytes target_bytes() {
        bytes all(sizeof g_stVcaTarget);
        std::memcpy(all.data(), &g_stVcaTarget, all.size());
        return all;
    }

    static bytes untouched_target() { return bytes(266, 0xEE); }
};

// --- Marker ---

TEST_F(DecoderTest, PrintsHeadingRowAndEmptyLine) {
    const outcome of = decode(sei(h264, block(1, segment(0xFED1, {1, 2, 3}))), 0x1000);
    EXPECT_EQ(of.result, 0);
    EXPECT_EQ(of.text, "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t"
                       "----------------------------------------------------\n"
                       "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t"
                       "--------------UserData SegmentCount 1---------------\n"
                       "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t"
                       "     loc\t UserData Flag\t UserData Type\n"
                       "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t"
                       "     1007\t fed1\t                USERDATA_FLAG_OSD\n"
                       "\n");
    EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {8, 1}}));
}

TEST_F(DecoderTest, AnH265BlockBeginsOneByteLater) {
    const outcome of = decode(sei(h265, block(1, segment(0xFED1, {}))));
    EXPECT_EQ(of.text, heading("1") + tabs + "        8\t fed1\t                USERDATA_FLAG_OSD\n\n");
    EXPECT_EQ(of.counters, (counters{{0, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {8, 1}}));
}

TEST_F(DecoderTest, FindsTheMarkerBehindOtherBytes) {
    const outcome of = decode(bytes(9, 0x55) + sei(h264, block(1, segment(0xFED1, {}))), 0xABCDEF00);
    EXPECT_EQ(of.text, heading("1") + tabs + " abcdef10\t fed1\t                USERDATA_FLAG_OSD\n\n");
}

TEST_F(DecoderTest, AnH264MarkerWinsOverAnH265MarkerBeforeIt) {
    const outcome of =
        decode(sei(h265, block(1, segment(0xFED1, {}))) + sei(h264, block(1, segment(0xFED4, {}))));
    // 7 + 1 + 12 bytes before the second marker, whose block begins 7 bytes on: 27.
    EXPECT_EQ(of.text, heading("1") + tabs + "       1b\t fed4\t                USERDATA_FLAG_GPS\n\n");
    EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {11, 1}}));
}

TEST_F(DecoderTest, TheFirstOfTwoMarkersIsTaken) {
    const outcome of =
        decode(sei(h264, block(1, segment(0xFED1, {}))) + sei(h264, block(1, segment(0xFED4, {}))));
    EXPECT_EQ(of.text, heading("1") + tabs + "        7\t fed1\t                USERDATA_FLAG_OSD\n\n");
}

TEST_F(DecoderTest, WithoutAMarkerNothingIsPrinted) {
    for (const bytes& payload :
         {bytes(100, 0), bytes{0, 0, 1, 6, 0xF0, 12}, bytes{0, 0, 0, 1, 6, 0xF1, 12}, bytes{}}) {
        const outcome of = decode(payload);
        EXPECT_EQ(of.result, 0);
        EXPECT_EQ(of.text, "");
        EXPECT_EQ(of.counters, (counters{{0, 1}}));
    }
}

TEST_F(DecoderTest, AMarkerThatLeavesThePayloadIsNotOne) {
    EXPECT_EQ(decode({0, 0, 0, 1, 6}, 0, {0xF0, 8}).counters, (counters{{0, 1}}));
    EXPECT_EQ(decode({0, 0, 0, 1, 0x4E, 1}, 0, {0xF0, 8}).counters, (counters{{0, 1}}));
}

TEST_F(DecoderTest, ANegativeLengthHasNoMarker) {
    const uint64_t before = g_u64UserDataLine[0];
    EXPECT_EQ(AnalyzeUserDataInOneFrame(0, h264.data(), -1, 0), 0);
    EXPECT_EQ(g_u64UserDataLine[0], before + 1);
}

TEST_F(DecoderTest, ABlockMayStandBehindTheBytesThatWereRead) {
    const outcome of = decode(h264, 0, size_field(12) + block(1, segment(0xFED1, {})));
    EXPECT_EQ(of.text, heading("1") + tabs + "        7\t fed1\t                USERDATA_FLAG_OSD\n\n");
}

// --- Size ---

TEST_F(DecoderTest, ASizeOfTwoBytesMovesTheBlock) {
    const bytes content = block(1, segment(0xFED1, bytes(253, 0x55)));
    ASSERT_EQ(content.size(), 265u);
    const outcome of = decode(h264 + bytes{0xFF, 0x0A} + content);
    EXPECT_EQ(of.text, heading("1") + tabs + "        8\t fed1\t                USERDATA_FLAG_OSD\n\n");
}

TEST_F(DecoderTest, ASizeMayEndWithAZero) {
    const bytes content = block(1, segment(0xFED1, bytes(243, 0x55)));
    const outcome of = decode(h264 + bytes{0xFF, 0x00} + content);
    EXPECT_EQ(of.text, heading("1") + tabs + "        8\t fed1\t                USERDATA_FLAG_OSD\n\n");
}

TEST_F(DecoderTest, TheLargestBlockHas1024Bytes) {
    const bytes content = block(1, segment(0xFED1, bytes(1012, 0x55)));
    const outcome of = decode(h264 + bytes{0xFF, 0xFF, 0xFF, 0xFF, 0x04} + content);
    EXPECT_EQ(of.result, 0);
    EXPECT_EQ(of.text, heading("1") + tabs + "        b\t fed1\t                USERDATA_FLAG_OSD\n\n");
}

TEST_F(DecoderTest, ALargerBlockIsRejected) {
    const bytes content = block(1, segment(0xFED1, bytes(1013, 0x55)));
    for (const bytes& size : {bytes{0xFF, 0xFF, 0xFF, 0xFF, 0x05}, bytes{0xFF, 0xFF, 0xFF, 0xFF, 0xFE},
                              bytes{0xFF, 0xFF, 0xFF, 0xFF, 0xFF}}) {
        const outcome of = decode(h264 + size + content);
        EXPECT_EQ(of.result, -1);
        EXPECT_EQ(of.text, "");
        EXPECT_EQ(of.counters, (counters{{1, 1}, {2, 1}}));
    }
}

TEST_F(DecoderTest, ABlockOfLessThanFiveBytesIsNothing) {
    for (uint8_t size = 0; size < 5; ++size) {
        const outcome of = decode(h264 + bytes{size, 'Z', 'N', 'S', 'T', 0, 0, 0, 0});
        EXPECT_EQ(of.result, 0);
        EXPECT_EQ(of.text, "");
        EXPECT_EQ(of.counters, (counters{{1, 1}}));
    }
}

TEST_F(DecoderTest, ABlockOfFiveToSevenBytesHasTheMagicAlone) {
    for (uint8_t size = 5; size < 8; ++size) {
        const outcome of = decode(h264 + bytes{size, 'Z', 'N', 'S', 'T', 0, 0, 0, 0});
        EXPECT_EQ(of.result, 0);
        EXPECT_EQ(of.text, "");
        EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}}));
    }
}

// --- Head of the block ---

TEST_F(DecoderTest, AWrongMagicEndsIt) {
    for (const bytes& magic : {bytes{'Z', 'N', 'S', 'S'}, bytes{'z', 'N', 'S', 'T'}, bytes{0, 0, 0, 0}}) {
        const outcome of = decode(sei(h264, magic + bytes{0, 0, 0, 0}));
        EXPECT_EQ(of.result, 0);
        EXPECT_EQ(of.text, "");
        EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}}));
    }
}

TEST_F(DecoderTest, ALengthThatIsOneOffEndsIt) {
    for (const uint8_t length : bytes{3, 5}) {
        const outcome of = decode(sei(h264, bytes{'Z', 'N', 'S', 'T', 1, 0, length, 0, 0xD1, 0xFE, 0, 0}));
        EXPECT_EQ(of.result, 0);
        EXPECT_EQ(of.text, "");
        EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}}));
    }
}

TEST_F(DecoderTest, ALengthIsNotTakenModulo65536) {
    const outcome of =
        decode(sei(h264, bytes{'Z', 'N', 'S', 'T', 0, 0, 0xFD, 0xFF})); // 65533 + 8 = 65536 + 5
    EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}}));
}

TEST_F(DecoderTest, ABlockWithoutSegmentsHasAHeadingAndAnEmptyLine) {
    const outcome of = decode(sei(h264, block(0, {})));
    EXPECT_EQ(of.text, heading("0") + "\n");
    EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}, {5, 1}}));
}

TEST_F(DecoderTest, ASegmentCountOfZeroHidesSegments) {
    const outcome of = decode(sei(h264, block(0, segment(0xFED1, {}))));
    EXPECT_EQ(of.text, heading("0") + "\n");
    EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}, {5, 1}}));
}

// --- Segments ---

struct kind {
    uint16_t flag;
    std::string row; // behind the position
    int counter;
};

class EachKindTest : public DecoderTest, public testing::WithParamInterface<kind> {};

TEST_P(EachKindTest, HasItsRowAndItsCounter) {
    const outcome of = decode(sei(h264, block(1, segment(GetParam().flag, bytes(8, 0)))));
    EXPECT_EQ(of.result, 0);
    EXPECT_EQ(of.text, heading("1") + tabs + "        7\t " + GetParam().row + "\n\n");
    EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {GetParam().counter, 1}}));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Flags, EachKindTest, testing::Values(
    kind{0xFED1, "fed1\t                USERDATA_FLAG_OSD", 8},
    kind{0xFED2, "fed2\t                USERDATA_FLAG_VCA", 9},
    kind{0xFED3, "fed3\t          USERDATA_FLAG_FRAMETIME", 10},
    kind{0xFED4, "fed4\t                USERDATA_FLAG_GPS", 11},
    kind{0x0001, "   1\t        USERDATA_FLAG_USER_DEFINE", 12},
    kind{0xFED5, "fed5\t              USERDATA_FLAG_PLATE", 14},
    kind{0xFED6, "fed6\t              USERDATA_FLAG_AUDIO", 16},
    kind{0xFED7, "fed7\t           USERDATA_FLAG_VCA_SIZE", 13},
    kind{0xFED8, "fed8\t             USERDATA_FLAG_VCA_VI", 15},
    kind{0xFED9, "fed9\t      USERDATA_FLAG_VCA   -1   -1", 16},
    kind{0xFED0, "fed0\t               USERDATA_UNKNOWN *", 17},
    kind{0xFEDA, "feda\t               USERDATA_UNKNOWN *", 17},
    kind{0x0000, "   0\t               USERDATA_UNKNOWN *", 17},
    kind{0x0002, "   2\t               USERDATA_UNKNOWN *", 17},
    kind{0x0100, " 100\t               USERDATA_UNKNOWN *", 17},
    kind{0xD1FE, "d1fe\t               USERDATA_UNKNOWN *", 17},
    kind{0xFFFF, "ffff\t               USERDATA_UNKNOWN *", 17}));
// clang-format on

TEST_F(DecoderTest, AllRowsOfABlockShowItsPosition) {
    const outcome of = decode(
        sei(h264, block(3, segment(0xFED1, {1}) + segment(0xFED3, {}) + segment(0xFED6, {1, 2}))), 0x100000);
    EXPECT_EQ(of.text, heading("3") +                                                       //
                           tabs + "   100007\t fed1\t                USERDATA_FLAG_OSD\n" + //
                           tabs + "   100007\t fed3\t          USERDATA_FLAG_FRAMETIME\n" + //
                           tabs + "   100007\t fed6\t              USERDATA_FLAG_AUDIO\n" + "\n");
    EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 3}, {8, 1}, {10, 1}, {16, 1}}));
}

TEST_F(DecoderTest, AudioAndTargetShareACounter) {
    const outcome of = decode(sei(h264, block(2, segment(0xFED6, {}) + segment(0xFED9, {1, 0, 1, 0}))));
    EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 2}, {16, 2}}));
}

TEST_F(DecoderTest, SegmentsBehindTheCountAreNotLookedAt) {
    const outcome of = decode(sei(h264, block(1, segment(0xFED1, {}) + segment(0xFED4, {}))));
    EXPECT_EQ(of.text, heading("1") + tabs + "        7\t fed1\t                USERDATA_FLAG_OSD\n\n");
    EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {8, 1}}));
}

TEST_F(DecoderTest, AnUnknownFlagIsTheLastRow) {
    const outcome of =
        decode(sei(h264, block(3, segment(0xFED1, {1}) + segment(0x1234, {1, 2}) + segment(0xFED4, {}))));
    EXPECT_EQ(of.result, 0);
    EXPECT_EQ(of.text, heading("3") +                                                       //
                           tabs + "        7\t fed1\t                USERDATA_FLAG_OSD\n" + //
                           tabs + "        7\t 1234\t               USERDATA_UNKNOWN *\n" + "\n");
    EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 2}, {8, 1}, {17, 1}}));
}

TEST_F(DecoderTest, ASegmentThatRunsPastTheBlockHasNoRow) {
    for (const bytes& length : {bytes{4, 0}, bytes{0xFF, 0xFF}, bytes{0xFF, 0x7F}}) {
        const outcome of =
            decode(sei(h264, block(2, segment(0xFED1, {}) + bytes{0xD4, 0xFE} + length + bytes{1, 2, 3})));
        EXPECT_EQ(of.result, 0);
        EXPECT_EQ(of.text, heading("2") + tabs + "        7\t fed1\t                USERDATA_FLAG_OSD\n\n");
        EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 2}, {7, 1}, {8, 1}}));
    }
}

TEST_F(DecoderTest, ASegmentMayEndWithItsBlock) {
    const outcome of = decode(sei(h264, block(1, bytes{0xD4, 0xFE, 3, 0, 1, 2, 3})));
    EXPECT_EQ(of.text, heading("1") + tabs + "        7\t fed4\t                USERDATA_FLAG_GPS\n\n");
}

TEST_F(DecoderTest, ASegmentThatIsCutOffHasNoEffect) {
    decode(sei(h264, block(1, bytes{0xD7, 0xFE, 9, 0, 1, 2, 3, 4, 5, 6, 7, 8})));
    EXPECT_EQ(g_stVcaAnalysSize.width, 176u);
    decode(sei(h264, block(1, bytes{0xD9, 0xFE, 9, 0, 1, 2, 3, 4, 5, 6, 7, 8})));
    EXPECT_EQ(target_bytes(), untouched_target());
}

TEST_F(DecoderTest, ASegmentHeadMayBeCutOffByTheBlock) {
    for (size_t left = 0; left < 4; ++left) {
        const outcome of = decode(sei(h264, block(2, segment(0xFED1, {}) + bytes(left, 0xD4))));
        EXPECT_EQ(of.text, heading("2") + tabs + "        7\t fed1\t                USERDATA_FLAG_OSD\n\n");
        EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 2}, {7, 1}, {8, 1}}));
    }
}

TEST_F(DecoderTest, ASegmentHeadAtTheEndOfTheLargestBlockIsCutOff) {
    for (uint8_t left = 0; left < 4; ++left) {
        const outcome of =
            decode(sei(h264, block(2, segment(0xFED1, bytes(1012u - left, 0x55)) + bytes(left, 0xD4))));
        EXPECT_EQ(of.text, heading("2") + tabs + "        b\t fed1\t                USERDATA_FLAG_OSD\n\n");
        EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 2}, {7, 1}, {8, 1}}));
    }
}

TEST_F(DecoderTest, TheHighestSegmentCountIsPrintedWithItsDigits) {
    const outcome of = decode(sei(h264, block(0xFFFF, segment(0xFED1, {}))));
    EXPECT_EQ(of.text, heading("65535") + tabs + "        7\t fed1\t                USERDATA_FLAG_OSD\n\n");
    EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 2}, {7, 1}, {8, 1}}));
}

TEST_F(DecoderTest, ABlockMayHoldAsManySegmentsAsFit) {
    bytes segments;
    std::string rows;
    for (int i = 0; i < 254; ++i) {
        segments = segments + segment(0xFED1, {});
        rows += tabs + "        b\t fed1\t                USERDATA_FLAG_OSD\n";
    }
    const outcome of = decode(sei(h264, block(254, segments)));
    EXPECT_EQ(of.text, heading("254") + rows + "\n");
    EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 254}, {8, 254}}));
}

TEST_F(DecoderTest, ThePositionIs32BitsWide) {
    const outcome of = decode(sei(h264, block(1, segment(0xFED1, {}))), 0xFFFFFFFF);
    EXPECT_EQ(of.text, heading("1") + tabs + "        6\t fed1\t                USERDATA_FLAG_OSD\n\n");
    EXPECT_EQ(decode(sei(h264, block(1, segment(0xFED1, {}))), 0xFFFFFFF9).text,
              heading("1") + tabs + "        0\t fed1\t                USERDATA_FLAG_OSD\n\n");
    EXPECT_EQ(decode(sei(h264, block(1, segment(0xFED1, {}))), 0xFFFFFFF8).text,
              heading("1") + tabs + " ffffffff\t fed1\t                USERDATA_FLAG_OSD\n\n");
}

// --- Analytics target ---

struct target_values {
    bytes payload;
    std::string name; // 32 columns
};

class EachTargetTest : public DecoderTest, public testing::WithParamInterface<target_values> {};

TEST_P(EachTargetTest, ShowsItsFirstTwoValuesLessOne) {
    const outcome of = decode(sei(h264, block(1, segment(0xFED9, GetParam().payload))));
    EXPECT_EQ(of.text, heading("1") + tabs + "        7\t fed9\t " + GetParam().name + "\n\n");
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Values, EachTargetTest, testing::Values(
    target_values{{0x05, 0x00, 0x03, 0x00},       "     USERDATA_FLAG_VCA    4    2"},
    target_values{{0x01, 0x00, 0x01, 0x00},       "     USERDATA_FLAG_VCA    0    0"},
    target_values{{0x00, 0x04, 0xE8, 0x03, 0x77}, "     USERDATA_FLAG_VCA 1023  999"},
    target_values{{0x11, 0x27, 0x10, 0x27},       "    USERDATA_FLAG_VCA 10000 9999"},
    target_values{{0xFF, 0xFF, 0xFF, 0xFF},       "   USERDATA_FLAG_VCA 65534 65534"},
    target_values{{},                             "     USERDATA_FLAG_VCA   -1   -1"},
    target_values{{0x05},                         "     USERDATA_FLAG_VCA    4   -1"},
    target_values{{0x05, 0x01},                   "     USERDATA_FLAG_VCA  260   -1"},
    target_values{{0x05, 0x00, 0x03},             "     USERDATA_FLAG_VCA    4    2"}));
// clang-format on

TEST_F(DecoderTest, ATargetIsKept) {
    decode(sei(h264, block(1, segment(0xFED9, {5, 0, 3, 0, 0xAB}))));
    bytes expected = bytes{0xD9, 0xFE, 5, 0, 5, 0, 3, 0, 0xAB} + bytes(257, 0);
    EXPECT_EQ(target_bytes(), expected);
}

TEST_F(DecoderTest, AShortTargetIsFollowedByZerosAndNotByTheNextSegment) {
    decode(sei(h264, block(2, segment(0xFED9, {7}) + segment(0xFED1, {9, 9, 9}))));
    EXPECT_EQ(target_bytes(), (bytes{0xD9, 0xFE, 1, 0, 7} + bytes(261, 0)));
}

TEST_F(DecoderTest, ATargetOf262BytesFillsTheRecord) {
    decode(sei(h264, block(1, segment(0xFED9, bytes(261, 0x11) + bytes{0x22}))));
    EXPECT_EQ(target_bytes(), (bytes{0xD9, 0xFE, 0x06, 0x01} + bytes(261, 0x11) + bytes{0x22}));
}

TEST_F(DecoderTest, ALongerTargetIsCut) {
    decode(sei(h264, block(1, segment(0xFED9, bytes(1012, 0x11)))));
    EXPECT_EQ(target_bytes(), (bytes{0xD9, 0xFE, 0xF4, 0x03} + bytes(262, 0x11)));
    EXPECT_EQ(g_stVcaTarget.length, 1012);
}

TEST_F(DecoderTest, TheLastOfTwoTargetsIsKept) {
    decode(sei(h264, block(2, segment(0xFED9, bytes(20, 0x11)) + segment(0xFED9, {2, 0, 2, 0}))));
    EXPECT_EQ(target_bytes(), (bytes{0xD9, 0xFE, 4, 0, 2, 0, 2, 0} + bytes(258, 0)));
}

TEST_F(DecoderTest, OtherSegmentsLeaveTheTargetAsItIs) {
    decode(sei(h264, block(2, segment(0xFED2, bytes(20, 0x11)) + segment(0xFED7, bytes(8, 1)))));
    EXPECT_EQ(target_bytes(), untouched_target());
}

// --- Analytics picture size ---

void expect_size(uint32_t width, uint32_t height) {
    EXPECT_EQ(g_stVcaAnalysSize.width, width);
    EXPECT_EQ(g_stVcaAnalysSize.height, height);
    EXPECT_EQ(g_stVcaAnalysSize.base_width, 176u);
    EXPECT_EQ(g_stVcaAnalysSize.base_height, 144u);
}

TEST_F(DecoderTest, ASizeSegmentBringsTheAnalysisSize) {
    decode(sei(h264, block(1, segment(0xFED7, {0x80, 0x02, 1, 1, 0xE0, 0x01, 1, 1, 0x77}))));
    expect_size(0x01010280, 0x010101E0);
}

TEST_F(DecoderTest, AShortSizeSegmentTakesWhatFollowsIt) {
    decode(sei(h264, block(2, segment(0xFED7, {1, 2}) + segment(0xFED1, {0xA1, 0xA2}))));
    // 01 02 | D1 FE 02 00 A1 A2
    expect_size(0xFED10201, 0xA2A10002);
}

TEST_F(DecoderTest, AnEmptySizeSegmentAtTheEndOfTheBlockIsZero) {
    decode(sei(h264, block(1, segment(0xFED7, {}))), 0, bytes(20, 0x55));
    expect_size(0, 0);
}

TEST_F(DecoderTest, AnEmptySizeSegmentAtTheEndOfTheLargestBlockIsZero) {
    decode(sei(h264, block(2, segment(0xFED1, bytes(1008, 0x55)) + segment(0xFED7, {}))), 0, bytes(20, 0x55));
    expect_size(0, 0);
}

TEST_F(DecoderTest, AShortSizeSegmentAtTheEndOfTheLargestBlockIsFollowedByZeros) {
    decode(sei(h264, block(2, segment(0xFED1, bytes(1001, 0x55)) + segment(0xFED7, {1, 2, 3, 4, 5, 6, 7}))),
           0, bytes(20, 0x55));
    expect_size(0x04030201, 0x00070605);
}

// --- Escapes ---

TEST_F(DecoderTest, EscapesAreTakenOutAndBytesFromBehindComeIn) {
    // 8 + 4 + 7 bytes on disk, an escape among them; the length is that of the bytes on disk.
    const bytes on_disk = {'Z',  'N',  'S', 'T', 1, 0, 11,  0, // head: one segment, 11 bytes
                           0xD9, 0xFE, 7,   0,                 // segment head
                           5,    0,    0,   3,   9, 1, 0xAA};  // 05 00 00 (03) 09 01 AA
    const outcome of = decode(h264 + bytes{19} + on_disk, 0, {0xBB, 0xCC});
    EXPECT_EQ(of.text, heading("1") + tabs + "        7\t fed9\t      USERDATA_FLAG_VCA    4 2303\n\n");
    EXPECT_EQ(target_bytes(), (bytes{0xD9, 0xFE, 7, 0, 5, 0, 0, 9, 1, 0xAA, 0xBB} + bytes(255, 0)));
}

TEST_F(DecoderTest, ALengthWithoutTheEscapesIsAMismatch) {
    const bytes on_disk = {'Z', 'N', 'S', 'T', 1, 0, 10, 0, 0xD9, 0xFE, 6, 0, 5, 0, 0, 3, 9, 1, 0xAA};
    const outcome of = decode(h264 + bytes{19} + on_disk);
    EXPECT_EQ(of.text, "");
    EXPECT_EQ(of.counters, (counters{{1, 1}, {3, 1}, {4, 1}}));
}

TEST_F(DecoderTest, ABlockThatIsTakenFromBehindThePayloadEndsInZeros) {
    // The payload ends within the segment.
    decode(h264 + bytes{20, 'Z', 'N', 'S', 'T', 1, 0, 12, 0, 0xD9, 0xFE, 8, 0, 1, 2, 3});
    EXPECT_EQ(target_bytes(), (bytes{0xD9, 0xFE, 8, 0, 1, 2, 3} + bytes(259, 0)));
}

TEST_F(DecoderTest, TheCountersOnlyGrow) {
    uint64_t before[32];
    std::copy(std::begin(g_u64UserDataLine), std::end(g_u64UserDataLine), before);
    for (int i = 0; i < 3; ++i)
        decode(sei(h264, block(1, segment(0xFED1, {}))));
    EXPECT_EQ(g_u64UserDataLine[1], before[1] + 3);
    EXPECT_EQ(g_u64UserDataLine[8], before[8] + 3);
}

} // namespace
