#include "UserDataOpt/user_data.h"

#include <algorithm>
#include <climits>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace {

using bytes = std::vector<uint8_t>;
using testing::ElementsAre;

int32_t find(const bytes& in, const bytes& pattern) {
    return FindPosByFlag(in.data(), static_cast<int32_t>(in.size()), pattern.data(),
                         static_cast<uint32_t>(pattern.size()));
}

TEST(PatternsTest, AreTheRecordersOwn) {
    EXPECT_THAT(kmr_user_data_start_h264, ElementsAre(0x00, 0x00, 0x00, 0x01, 0x06, 0xF0));
    EXPECT_THAT(kmr_user_data_start_h265, ElementsAre(0x00, 0x00, 0x00, 0x01, 0x4E, 0x01, 0xF0));
    EXPECT_THAT(ucNeedToRevert, ElementsAre(0x00, 0x00, 0x03));
}

TEST(FindPosByFlagTest, FindsAPatternAnywhere) {
    EXPECT_EQ(find({1, 2, 3, 4, 5}, {1, 2}), 0);
    EXPECT_EQ(find({1, 2, 3, 4, 5}, {3, 4}), 2);
    EXPECT_EQ(find({1, 2, 3, 4, 5}, {4, 5}), 3);
    EXPECT_EQ(find({1, 2, 3, 4, 5}, {5}), 4);
    EXPECT_EQ(find({1, 2, 3, 4, 5}, {2, 4}), -1);
}

TEST(FindPosByFlagTest, TheFirstOfTwoWins) {
    EXPECT_EQ(find({9, 7, 8, 7, 8}, {7, 8}), 1);
}

TEST(FindPosByFlagTest, SeesAMatchBehindAFalseStart) {
    EXPECT_EQ(find({0, 0, 0, 3}, {0, 0, 3}), 1);
    EXPECT_EQ(find({0, 0, 0, 0, 0, 0, 1, 6, 0xF0}, {0, 0, 0, 1, 6, 0xF0}), 3);
    EXPECT_EQ(find({1, 2, 1, 2, 1, 3}, {1, 2, 1, 3}), 2);
}

TEST(FindPosByFlagTest, ABufferAsLongAsThePatternIsComparedOnce) {
    EXPECT_EQ(find({0, 0, 3}, {0, 0, 3}), 0);
    EXPECT_EQ(find({0, 0, 4}, {0, 0, 3}), -1);
}

TEST(FindPosByFlagTest, APatternThatLeavesTheBufferIsNotThere) {
    const bytes in = {1, 0, 0, 3};
    EXPECT_EQ(FindPosByFlag(in.data(), 3, ucNeedToRevert, 3), -1);
    EXPECT_EQ(FindPosByFlag(in.data(), 4, ucNeedToRevert, 3), 1);
}

TEST(FindPosByFlagTest, ALongerPatternIsNotFoundAndNothingIsRead) {
    EXPECT_EQ(FindPosByFlag(nullptr, 2, ucNeedToRevert, 3), -1);
    EXPECT_EQ(FindPosByFlag(nullptr, 0, ucNeedToRevert, 3), -1);
    EXPECT_EQ(FindPosByFlag(nullptr, -1, ucNeedToRevert, 3), -1);
    EXPECT_EQ(FindPosByFlag(nullptr, INT_MIN, ucNeedToRevert, 3), -1);
    EXPECT_EQ(FindPosByFlag(nullptr, 100, ucNeedToRevert, 0xFFFFFFFF), -1);
    EXPECT_EQ(FindPosByFlag(nullptr, INT_MAX, ucNeedToRevert, 0x80000000), -1);
    EXPECT_EQ(FindPosByFlag(nullptr, -1, ucNeedToRevert, 0xFFFFFFFF), -1);
    EXPECT_EQ(FindPosByFlag(nullptr, -1, ucNeedToRevert, 0), -1);
}

TEST(FindPosByFlagTest, AnEmptyPatternStandsAtTheBeginning) {
    const bytes in = {1, 2};
    EXPECT_EQ(FindPosByFlag(in.data(), 2, ucNeedToRevert, 0), 0);
    EXPECT_EQ(FindPosByFlag(in.data(), 0, ucNeedToRevert, 0), 0);
}

TEST(FindPosByFlagTest, AgreesWithAPlainScanOverAllShortBuffers) {
    constexpr int length = 8;
    for (int code = 0; code < 6561; ++code) { // 3 to the power of 8
        bytes in;
        for (int i = 0, rest = code; i < length; ++i, rest /= 3)
            in.push_back(static_cast<uint8_t>(rest % 3));
        for (const bytes& pattern : {bytes{0}, bytes{0, 0, 2}, bytes{0, 1, 0, 1}, bytes{0, 0, 0, 1, 2, 0}}) {
            const auto plain = std::search(in.begin(), in.end(), pattern.begin(), pattern.end());
            ASSERT_EQ(find(in, pattern), plain == in.end() ? -1 : static_cast<int32_t>(plain - in.begin()));
        }
    }
}

// What stands in the output, which is filled with 0xEE before. Source and output end where they may be used to.
bytes revert(const bytes& src, int32_t srclen, size_t room) {
    const auto source = std::make_unique<uint8_t[]>(src.size());
    std::copy(src.begin(), src.end(), source.get());
    bytes out(room, 0xEE);
    EXPECT_EQ(RevertUserData(source.get(), out.data(), srclen), 0);
    return out;
}

TEST(RevertUserDataTest, CopiesWhatHasNoEscape) {
    EXPECT_EQ(revert({1, 0, 3, 0, 1}, 5, 6), (bytes{1, 0, 3, 0, 1, 0xEE}));
    EXPECT_EQ(revert({7}, 1, 2), (bytes{7, 0xEE}));
}

TEST(RevertUserDataTest, MakesUpForADroppedByteWithOneFromBehind) {
    EXPECT_EQ(revert({0x41, 0x00, 0x00, 0x03, 0x01, 0x42, 0x99}, 6, 7),
              (bytes{0x41, 0x00, 0x00, 0x01, 0x42, 0x99, 0xEE}));
}

TEST(RevertUserDataTest, DropsEscapesThatFollowEachOther) {
    EXPECT_EQ(revert({0, 0, 3, 0, 0, 3, 0xA1, 0xA2}, 6, 7), (bytes{0, 0, 0, 0, 0xA1, 0xA2, 0xEE}));
}

TEST(RevertUserDataTest, AnEscapeMayFollowAnotherZero) {
    EXPECT_EQ(revert({0, 0, 0, 3, 0x77}, 4, 5), (bytes{0, 0, 0, 0x77, 0xEE}));
}

TEST(RevertUserDataTest, AnEscapeNeedsNoParticularByteBehindIt) {
    EXPECT_EQ(revert({0, 0, 3, 0xFF, 0x55}, 4, 5), (bytes{0, 0, 0xFF, 0x55, 0xEE}));
}

TEST(RevertUserDataTest, ThreesAndZerosAroundAnEscapeStay) {
    EXPECT_EQ(revert({0, 0, 3, 3, 0x55}, 4, 5), (bytes{0, 0, 3, 0x55, 0xEE}));
    EXPECT_EQ(revert({0, 0, 3, 0, 3, 0x55}, 5, 6), (bytes{0, 0, 0, 3, 0x55, 0xEE}));
}

TEST(RevertUserDataTest, AnEscapeAtTheVeryEndIsDropped) {
    EXPECT_EQ(revert({9, 0, 0, 3, 0x55}, 4, 5), (bytes{9, 0, 0, 0x55, 0xEE}));
}

TEST(RevertUserDataTest, AnEscapeThatIsCutOffByTheEndStays) {
    EXPECT_EQ(revert({9, 0, 0, 3}, 3, 4), (bytes{9, 0, 0, 0xEE}));
}

TEST(RevertUserDataTest, ABorrowedByteMayCompleteAnotherEscape) {
    // Without the first escape the range would end before the second 03; with it, the second one lies inside.
    EXPECT_EQ(revert({0, 0, 3, 0, 0, 3, 0x55}, 5, 6), (bytes{0, 0, 0, 0, 0x55, 0xEE}));
}

TEST(RevertUserDataTest, TheLargestBlockReadsHalfAsMuchBehindItself) {
    bytes src;
    while (src.size() < 1024 + 511)
        src.insert(src.end(), {0, 0, 3});
    src.resize(1024 + 511);
    src[1533] = 0xA1; // behind the 511th escape
    src[1534] = 0xA2;
    bytes expected(1024, 0);
    expected[1022] = 0xA1;
    expected[1023] = 0xA2;
    EXPECT_EQ(revert(src, 1024, 1024), expected);
}

TEST(RevertUserDataTest, NothingIsCopiedForNoLength) {
    EXPECT_EQ(revert({0, 0, 3}, 0, 2), (bytes{0xEE, 0xEE}));
    EXPECT_EQ(revert({0, 0, 3}, -1, 2), (bytes{0xEE, 0xEE}));
    EXPECT_EQ(revert({0, 0, 3}, INT_MIN, 2), (bytes{0xEE, 0xEE}));
}

} // namespace
