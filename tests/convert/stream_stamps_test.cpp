#include "convert/stream_stamps.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

namespace {

using kmr::convert::stream_stamps;
using testing::ElementsAre;

std::vector<int64_t> stamped(stream_stamps stamps, const std::vector<int64_t>& stream_ms) {
    std::vector<int64_t> all;
    for (const int64_t each : stream_ms)
        all.push_back(stamps.next(each));
    return all;
}

TEST(StreamStampsTest, TheFirstIsZeroAndPausesStay) {
    EXPECT_THAT(stamped(stream_stamps(40), {5000, 5040, 65040, 65080}), ElementsAre(0, 40, 60040, 60080));
}

TEST(StreamStampsTest, EqualAndBackwardOnesComeAMillisecondLater) {
    EXPECT_THAT(stamped(stream_stamps(40), {0, 40, 40, 80}), ElementsAre(0, 40, 41, 80));
    // One stamp alone was wrong: those behind it stand where they would have.
    EXPECT_THAT(stamped(stream_stamps(40), {0, 40, 20, 80, 120}), ElementsAre(0, 40, 41, 80, 120));
    // The clock has run back by an hour and goes on from there.
    EXPECT_THAT(stamped(stream_stamps(40), {3600000, 3600040, 80, 120, 160}),
                ElementsAre(0, 40, 41, 81, 121));
    // And twice.
    EXPECT_THAT(stamped(stream_stamps(40), {10000, 10040, 5000, 5040, 1000, 1040}),
                ElementsAre(0, 40, 41, 81, 82, 122));
    EXPECT_THAT(stamped(stream_stamps(40), {100, 90, 80, 70, 110}), ElementsAre(0, 1, 2, 3, 10));
}

TEST(StreamStampsTest, ClosesPauses) {
    EXPECT_THAT(stamped(stream_stamps(40, 1000), {0, 50, 60050, 60100, 61100, 62101}),
                ElementsAre(0, 50, 100, 150, 1150, 2150));
    // In front of the second frame there was no step yet.
    EXPECT_THAT(stamped(stream_stamps(40, 1000), {0, 5000, 5100}), ElementsAre(0, 40, 140));
    // What closing moved stays moved when the clock runs back.
    EXPECT_THAT(stamped(stream_stamps(40, 1000), {0, 40, 60000, 59000, 59040}),
                ElementsAre(0, 40, 80, 81, 121));
}

TEST(StreamStampsTest, TheLastFrameLastsAsLongAsTheStepBefore) {
    stream_stamps stamps(40);
    EXPECT_EQ(stamps.next(7), 0);
    EXPECT_EQ(stamps.last_step(), 40);
    EXPECT_EQ(stamps.next(107), 100);
    EXPECT_EQ(stamps.last_step(), 100);
    EXPECT_EQ(stamps.next(107), 101);
    EXPECT_EQ(stamps.last_step(), 1);
}

} // namespace
