#include "kmr/ordered_work.hpp"

#include <gtest/gtest.h>
#include <stdexcept>

namespace {

template <typename Work, typename Take>
void run(size_t count, size_t threads, std::atomic<bool>& stop, Work work, Take take) {
    const auto wait = [] {};
    kmr::program::ordered_work<size_t, Work, Take, decltype(wait)>(count, stop, work, take, wait)
        .run(threads);
}

TEST(OrderedWorkTest, HandsResultsOutInOrder) {
    for (const size_t threads : {1U, 2U, 7U, 64U}) {
        std::atomic<bool> stop = false;
        std::vector<size_t> taken;
        const auto slow_at_first = [](size_t which) {
            std::this_thread::sleep_for(std::chrono::milliseconds(which == 0 ? 20 : 0));
            return which;
        };
        run(200, threads, stop, slow_at_first, [&](size_t result) { taken.push_back(result); });
        ASSERT_EQ(taken.size(), 200U);
        for (size_t i = 0; i < taken.size(); ++i)
            EXPECT_EQ(taken[i], i);
        EXPECT_FALSE(stop);
    }
}

TEST(OrderedWorkTest, RunsNoFurtherAheadThanItMay) {
    std::atomic<bool> stop = false;
    std::atomic<size_t> taken = 0;
    std::atomic<size_t> furthest = 0;
    const auto work = [&](size_t which) {
        furthest = std::max<size_t>(furthest, which - std::min<size_t>(which, taken));
        return which;
    };
    const auto take = [&](size_t) {
        ++taken;
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    };
    run(2000, 2, stop, work, take);
    EXPECT_LE(furthest, 2 * 128 + 1); // 128 for each thread, and the one that is being taken
}

TEST(OrderedWorkTest, OfNothingEndsAtOnce) {
    std::atomic<bool> stop = false;
    run(
        0, 4, stop, [](size_t which) { return which; }, [](size_t) { FAIL(); });
    EXPECT_FALSE(stop);
}

TEST(OrderedWorkTest, ThrowsOnWhatWorkThrew) {
    std::atomic<bool> stop = false;
    const auto work = [](size_t which) {
        if (which == 5)
            throw std::runtime_error("the sixth");
        return which;
    };
    EXPECT_THROW(run(100, 4, stop, work, [](size_t) {}), std::runtime_error);
    EXPECT_TRUE(stop);
}

TEST(OrderedWorkTest, HandsOutWhatStandsInFrontOfAFailure) {
    for (const size_t threads : {1U, 4U}) {
        std::atomic<bool> stop = false;
        std::vector<size_t> taken;
        const auto slow_before_it_fails = [](size_t which) {
            if (which == 5 || which == 6)
                throw std::runtime_error(which == 5 ? "the sixth" : "the seventh");
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            return which;
        };
        std::string told;
        try {
            run(100, threads, stop, slow_before_it_fails, [&](size_t result) { taken.push_back(result); });
        } catch (const std::runtime_error& why) {
            told = why.what();
        }
        EXPECT_EQ(taken, (std::vector<size_t>{0, 1, 2, 3, 4}));
        EXPECT_EQ(told, "the sixth");
    }
}

TEST(OrderedWorkTest, StopsTheOthersWhenAResultCannotBeTaken) {
    std::atomic<bool> stop = false;
    const auto work = [&](size_t which) {
        while (which > 0 && !stop)
            std::this_thread::yield();
        return which;
    };
    EXPECT_THROW(run(100, 4, stop, work, [](size_t) { throw std::runtime_error("no room"); }),
                 std::runtime_error);
}

} // namespace
