#include "convert/shown_order.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

namespace kmr::convert {

bool operator==(const picture_times& left, const picture_times& right) {
    return left.shown == right.shown && left.decoded == right.decoded && left.lasts == right.lasts;
}

void PrintTo(const picture_times& times, std::ostream* to) { // NOLINT(readability-identifier-naming)
    *to << "{" << times.shown << ", " << times.decoded << ", " << times.lasts << "}";
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using all_times = std::vector<picture_times>;

// Every picture 40 ms behind the one before it.
class taken {
public:
    explicit taken(size_t depth) : shown_(depth, 40) {}

    all_times add(int32_t order, bool starts = false) {
        shown_.take(at_, {.order = order, .starts = starts});
        at_ += 40;
        return known();
    }
    all_times finish() {
        shown_.finish(50);
        return known();
    }

private:
    all_times known() {
        all_times all;
        while (const auto next = shown_.next())
            all.push_back(*next);
        return all;
    }

    shown_order shown_;
    int64_t at_ = 0;
};

TEST(ShownOrderTest, DepthIsHowManyStandInFrontOfAnEarlierOne) {
    EXPECT_EQ(depth_of({}), 0U);
    EXPECT_EQ(depth_of(std::vector<picture_place>{{0, true}, {2}, {4}}), 0U);
    EXPECT_EQ(depth_of(std::vector<picture_place>{{0, true}, {6}, {2}, {4}}), 1U);
    EXPECT_EQ(depth_of(std::vector<picture_place>{{0, true}, {8}, {4}, {2}, {6}}), 2U);
    // Behind one that starts the count begins anew.
    EXPECT_EQ(depth_of(std::vector<picture_place>{{0, true}, {8}, {0, true}, {2}}), 0U);
    EXPECT_EQ(depth_of(std::vector<picture_place>{{3}, {3}, {3}}), 0U);
}

TEST(ShownOrderTest, WhatStandsAsItIsShownWaitsForTheNextOneAlone) {
    taken pictures(0);
    EXPECT_THAT(pictures.add(0, true), IsEmpty());
    EXPECT_THAT(pictures.add(2), ElementsAre(picture_times{0, 0, 40}));
    EXPECT_THAT(pictures.add(1), ElementsAre(picture_times{40, 40, 40}));
    EXPECT_THAT(pictures.finish(), ElementsAre(picture_times{80, 80, 50}));
}

// I P b b, shown as I b b P: the times of the clock are those of the order of showing.
TEST(ShownOrderTest, EarlierPicturesGetEarlierTimes) {
    taken pictures(1);
    EXPECT_THAT(pictures.add(0, true), IsEmpty());
    EXPECT_THAT(pictures.add(6), ElementsAre(picture_times{0, -40, 40}));
    EXPECT_THAT(pictures.add(2), IsEmpty());
    EXPECT_THAT(pictures.add(4), IsEmpty());
    EXPECT_THAT(pictures.finish(),
                ElementsAre(picture_times{120, 0, 40}, picture_times{40, 40, 40}, picture_times{80, 80, 40}));
}

TEST(ShownOrderTest, WhatStartsIsShownBehindAllInFrontOfIt) {
    taken pictures(1);
    pictures.add(0, true);
    pictures.add(4);
    pictures.add(2); // 0 at 0, 4 at 80, 2 at 40
    EXPECT_THAT(pictures.add(0, true), ElementsAre(picture_times{80, 0, 40}, picture_times{40, 40, 40}));
    EXPECT_THAT(pictures.finish(), ElementsAre(picture_times{120, 80, 40}));
}

// One that claims to be shown behind all others does not hold them up for ever.
TEST(ShownOrderTest, NoPictureWaitsWithoutEnd) {
    taken pictures(1);
    pictures.add(0, true);
    EXPECT_THAT(pictures.add(1000000), ElementsAre(picture_times{0, -40, 40}));
    all_times all;
    for (int32_t i = 0; i < 100 && all.empty(); ++i)
        all = pictures.add(i);
    ASSERT_EQ(all.size(), 65U);
    EXPECT_EQ(all[0], (picture_times{2600, 0, 40}));
    EXPECT_EQ(all[1], (picture_times{40, 40, 40}));
    EXPECT_EQ(all[64], (picture_times{2560, 2560, 40}));
}

TEST(ShownOrderTest, NothingIsShownOfNothing) {
    EXPECT_THAT(taken(0).finish(), IsEmpty());
    EXPECT_THAT(taken(2).finish(), IsEmpty());
}

} // namespace
} // namespace kmr::convert
