#include "kmr/output/progress.hpp"

#include <gtest/gtest.h>

namespace {

using kmr::output::progress_line;

TEST(ProgressLineTest, TellsFilesBytesRateAndTimeLeft) {
    EXPECT_EQ(progress_line({3, 1'200'000'000}, {40, 18'400'000'000}, 4),
              "files 3 of 40, 1.2 of 18.4 GB, 300.0 MB/s, 0:57 left"); // 17.2 GB at 0.3 GB a second
    EXPECT_EQ(progress_line({1, 500}, {2, 1000}, 1), "files 1 of 2, 0.5 of 1.0 kB, 500.0 B/s, 0:01 left");
    EXPECT_EQ(progress_line({2, 1000}, {2, 1000}, 2), "files 2 of 2, 1.0 of 1.0 kB, 500.0 B/s, 0:00 left");
}

TEST(ProgressLineTest, PromisesNothingWithoutARate) {
    EXPECT_EQ(progress_line({0, 0}, {2, 1000}, 2), "files 0 of 2, 0.0 of 1.0 kB");
    EXPECT_EQ(progress_line({0, 0}, {0, 0}, 0), "files 0 of 0, 0.0 of 0.0 B");
}

} // namespace
