#include "analyse/vca/vca.h"

#include <gtest/gtest.h>

namespace {

void expect_size(uint32_t width, uint32_t height, uint32_t base_width, uint32_t base_height) {
    EXPECT_EQ(g_stVcaAnalysSize.width, width);
    EXPECT_EQ(g_stVcaAnalysSize.height, height);
    EXPECT_EQ(g_stVcaAnalysSize.base_width, base_width);
    EXPECT_EQ(g_stVcaAnalysSize.base_height, base_height);
}

class VcaTest : public testing::Test {
protected:
    VcaTest() { g_stVcaAnalysSize = kmr_default_analys_size; }
};

TEST_F(VcaTest, TheDefaultsAre176By144Twice) {
    expect_size(176, 144, 176, 144);
}

TEST_F(VcaTest, ASizeSegmentBringsTheFirstPairByteForByte) {
    const uint8_t segment[] = {0xD7, 0xFE, 8, 0, 0x80, 0x02, 0, 0, 0xE0, 0x01, 0x00, 0xFF};
    EXPECT_EQ(GetAnalysSize(segment), 0);
    expect_size(640, 0xFF0001E0, 176, 144);
}

TEST_F(VcaTest, ASizeSegmentIsTakenWhateverItsLengthSays) {
    const uint8_t segment[] = {0xD7, 0xFE, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0};
    EXPECT_EQ(GetAnalysSize(segment), 0);
    expect_size(1, 2, 176, 144);
}

TEST_F(VcaTest, AnyOtherFlagChangesNothing) {
    for (const int flag : {0xFED6, 0xFED8, 0xFED9, 0x00D7, 0xFE00, 0xD7FE, 0}) {
        uint8_t segment[12] = {static_cast<uint8_t>(flag), static_cast<uint8_t>(flag >> 8), 8, 0, 9, 9, 9, 9};
        EXPECT_EQ(GetAnalysSize(segment), 0);
        expect_size(176, 144, 176, 144);
    }
}

TEST_F(VcaTest, AnUnalignedSegmentIsRead) {
    const uint8_t bytes[] = {0, 0xD7, 0xFE, 8, 0, 3, 0, 0, 0, 4, 0, 0, 0};
    EXPECT_EQ(GetAnalysSize(bytes + 1), 0);
    expect_size(3, 4, 176, 144);
}

TEST_F(VcaTest, TheSizeIsReachedThroughItsAccessor) {
    EXPECT_EQ(GetVISize(), &g_stVcaAnalysSize);
}

} // namespace
