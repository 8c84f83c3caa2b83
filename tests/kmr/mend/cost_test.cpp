// What kmr repair reads and writes of a recording of 1 GiB, counted. It takes no room: its frames are holes.
#include "tests/kmr/mend/mending.hpp"

#include <sstream>

namespace {

using kmr_test::words;

struct counts {
    uint64_t read = 0;
    uint64_t written = 0;
};

class CostTest : public kmr_test::MendingTest {
protected:
    void compose_long(const words& more) const {
        words options = {"--sparse", "--frames", "2160", "--payload", "500000", "--p-payload", "500000"};
        options.insert(options.end(), more.begin(), more.end());
        place_.compose("a.kmr", options);
    }

    counts of(const words& arguments, int status) const {
        const auto run = kmr(
            arguments, {"LD_PRELOAD=" KMR_FAULTY_CALLS, "COUNT=1", "ASAN_OPTIONS=verify_asan_link_order=0"});
        EXPECT_EQ(run.status, status) << run.err;
        counts found;
        std::istringstream(scratch::read_text(place_.folder().path() / "counted")) >> found.read >>
            found.written;
        return found;
    }
};

TEST_F(CostTest, OfASoundRecordingIsThatOfACheck) {
    compose_long({});
    const counts check = of({"check", "a.kmr"}, 0);
    const counts repair = of({"repair", "-y", "a.kmr"}, 0);
    EXPECT_GT(check.read, 2160U * 32); // it does look at every header
    EXPECT_LE(repair.read, check.read + check.read / 20);
    EXPECT_EQ(repair.written, 0U);
}

// A cover, the counts, and what they were before; not the file, and no copy of it.
TEST_F(CostTest, OfOneRegionIsSomeKilobytes) {
    compose_long({"--zero", "frame1001:32"});
    const counts repair = of({"repair", "-y", "a.kmr"}, 0);
    EXPECT_GE(repair.written, 40U + 184U);
    EXPECT_LE(repair.written, 4096U);
    const counts undo = of({"undo", "a.kmr"}, 0);
    EXPECT_GE(undo.written, 40U);
    EXPECT_LE(undo.written, 4096U);
}

} // namespace
