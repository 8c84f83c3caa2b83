// Stamps that are wrong, alone and a few in a row. Of ten frames the headers stand at 88 (I), 240, 336, 432, 528, 624 (I),
// 776, 872, 968 and 1064; stamps rise by 40 from 1000.
#include "mend/plan.hpp"
#include "tests/mend/mended.hpp"

#include <gmock/gmock.h>
#include <tuple>

namespace {

using namespace mend_test;
using kmr::mend::plan_status;
using recording::put_u32;
using ::testing::ElementsAre;

bytes ten() {
    return scan_test::recording_of(scan_test::sound_frames(10));
}

TEST(StampLineTest, OneStampOutOfLineIsSetBetweenItsNeighbours) {
    for (const uint32_t stamp : {0U, 5U, 900'000'000U, 1000U, 1121U}) {
        SCOPED_TRACE(stamp);
        bytes file = ten();
        put_u32(file, 336 + 16, stamp); // P3: 1080 between 1040 and 1120
        EXPECT_THAT(told(plan_of(file)), ElementsAre("set-stamp @352 +4 #3"));
        expect_mended(ten(), file, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    }
}

// P3 and P4 have 1080 and 1120, between 1040 and 1160.
TEST(StampLineTest, AFewStampsInARowAreSetByOneRepair) {
    const std::pair<uint32_t, uint32_t> stamps[] = {{0, 0},       {1000, 0},   {5, 900'000'000},
                                                    {3000, 3040}, {1300, 700}, {1300, 1200}};
    for (const auto& [third, fourth] : stamps) {
        SCOPED_TRACE(std::to_string(third) + " " + std::to_string(fourth));
        bytes file = ten();
        put_u32(file, 336 + 16, third);
        put_u32(file, 432 + 16, fourth);
        EXPECT_EQ(frames_by_number(mended(file)), frames_by_number(ten()));
        EXPECT_EQ(plan_of(mended(file)).status, plan_status::nothing_to_do);
    }
}

TEST(StampLineTest, EightStampsInARowAreSetAndNineAreNot) {
    auto all = scan_test::sound_frames(12);
    for (size_t i = 2; i < 10; ++i)
        all[i].time_stamp = 0;
    const bytes eight = scan_test::recording_of(all);
    EXPECT_EQ(frames_by_number(mended(eight)),
              frames_by_number(scan_test::recording_of(scan_test::sound_frames(12))));
    all[10].time_stamp = 0;
    EXPECT_EQ(plan_of(scan_test::recording_of(all)).status, plan_status::nothing_to_do);
}

// By the numbers a frame each second, then 25: between the first frame and the sixth the numbers rise by 46 in 1.84 s, as the
// header's rate would have it, and what stands there runs ahead. So it does where two recordings were joined.
TEST(StampLineTest, TheHeadersRateAloneMakesNoFewInARowWrong) {
    auto all = scan_test::sound_frames(10);
    const std::pair<uint32_t, uint32_t> numbers_and_stamps[] = {
        {1, 1000},  {4, 4000},  {5, 5000},  {7, 7000},  {9, 9000},
        {47, 2840}, {48, 2880}, {49, 2920}, {50, 2960}, {51, 3000}};
    for (size_t i = 0; i < all.size(); ++i)
        std::tie(all[i].number, all[i].time_stamp) = numbers_and_stamps[i];
    EXPECT_EQ(plan_of(scan_test::recording_of(all)).status, plan_status::nothing_to_do);
}

TEST(StampLineTest, AStampBesideATornFrameIsSetByTheNumbers) {
    bytes file = ten();
    overwrite(file, 240, 4);                // P2
    put_u32(file, 336 + 16, 1'821'015'227); // P3: two thirds of the way from 1000 to 1120
    EXPECT_THAT(told(plan_of(file)), ElementsAre("cover @240 +96", "set-stamp @352 +4 #3"));
    expect_mended(ten(), file, {1, 3, 4, 5, 6, 7, 8, 9, 10});
}

// The frames on both sides are 65 numbers apart, then 64.
TEST(StampLineTest, AStampIsNotSetWhereTooManyNumbersAreMissing) {
    auto all = scan_test::sound_frames(10);
    for (size_t i = 5; i < all.size(); ++i)
        all[i].number += 63;
    all[4].time_stamp = 0;
    EXPECT_EQ(plan_of(scan_test::recording_of(all)).status, plan_status::nothing_to_do);
    for (size_t i = 5; i < all.size(); ++i)
        --all[i].number;
    EXPECT_THAT(told(plan_of(scan_test::recording_of(all))), ElementsAre("set-stamp @544 +4 #5"));
}

TEST(StampLineTest, AStampBesideAnInsertedFrameIsSet) {
    auto all = scan_test::sound_frames(10);
    recording::frame extra = all[3];
    extra.tag = 0x7788;
    all.insert(all.begin() + 3, extra);
    const bytes sound = scan_test::recording_of(all);
    all[2].time_stamp = 0;
    EXPECT_EQ(mended(scan_test::recording_of(all)), sound);
}

TEST(StampLineTest, AClockThatIsSetStays) {
    for (const int by : {100'000, 5000, -100, -5000}) {
        SCOPED_TRACE(by);
        auto all = scan_test::sound_frames(20);
        for (size_t i = 4; i < all.size(); ++i)
            all[i].time_stamp += static_cast<uint32_t>(10'000 + by);
        for (size_t i = 0; i < 4; ++i)
            all[i].time_stamp += 10'000;
        EXPECT_EQ(plan_of(scan_test::recording_of(all)).status, plan_status::nothing_to_do);
    }
}

} // namespace
