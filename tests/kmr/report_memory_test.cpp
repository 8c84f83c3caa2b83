// What kmr report keeps in memory is no more for many frames than for few.
#include "tests/kmr/program.hpp"

#include <gtest/gtest.h>

namespace {

// The page is as large as all the memory that the program may have.
TEST(ReportMemoryTest, DoesNotGrowWithFrames) {
    const kmr_test::workplace place;
    place.compose("many.kmr", {"--frames", "400000", "--sparse"});
    const auto run = place.shell("ulimit -v 30000; \"$1\" report many.kmr -o page.html");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_GE(std::filesystem::file_size(place.folder().path() / "page.html"), 24'000'000U);
}

} // namespace
