// Memory refused to kmr repair and kmr undo at each request, once and for good: status 2 and a message, or the work is
// done all the same; the way back and the way forward are there.
#include "tests/kmr/mend/ended.hpp"

#include <cstdlib>
#include <gmock/gmock.h>

namespace {

using kmr_test::words;

class RefusedMemoryTest : public kmr_test::EndedTest {
protected:
    // Each request of so many; KMR_REFUSE_EVERY=1 takes all of them.
    static int step() {
        const char* const wanted = std::getenv("KMR_REFUSE_EVERY");
        return wanted != nullptr ? std::atoi(wanted) : 23;
    }

    // What stands in front of main asks too, and knows no other way out; nothing was read by then.
    static bool ended_before_main(const run::result& run) { return run.err.find("terminate called") == 0; }

    template <typename Check>
    void at_each_request(const words& arguments, bool from_mended, Check check) const {
        for (const std::string lasting : {"", "+"}) {
            int refusals = 0;
            for (int nth = 1;; nth += step(), ++refusals) {
                SCOPED_TRACE(arguments[0] + ", request " + std::to_string(nth) + lasting);
                start_over(from_mended);
                const auto run =
                    place_.kmr(arguments, {.environment = {"LD_PRELOAD=" KMR_REFUSE_MEMORY,
                                                           "REFUSE=" + std::to_string(nth) + lasting}});
                if (!is_there("refused"))
                    break;
                if (ended_before_main(run)) {
                    EXPECT_LT(nth, 500);
                } else {
                    EXPECT_TRUE(run.status == 0 || run.status == 2) << run.status << run.err;
                    EXPECT_EQ(run.err.substr(0, 5), run.status == 0 ? "" : "kmr: ");
                }
                EXPECT_FALSE(is_there("a.kmr.kmr-undo-new") || is_there("b.kmr.kmr-new"));
                check(run);
                if (HasFailure())
                    return;
            }
            EXPECT_GT(refusals * step(), 1000);
        }
    }
};

TEST_F(RefusedMemoryTest, ToARepair) {
    int which = 0;
    at_each_request({"repair", "-y", "a.kmr"}, false, [&](const run::result& run) {
        EXPECT_TRUE(run.status != 0 || content_of("a.kmr") == mended_);
        EXPECT_TRUE(run.status == 0 || is_interrupted() || content_of("a.kmr") == damaged_.content ||
                    content_of("a.kmr") == mended_);
        which++ % 2 == 0 ? expect_way_back() : expect_way_forward();
    });
}

TEST_F(RefusedMemoryTest, ToAnUndo) {
    int which = 0;
    at_each_request({"undo", "a.kmr"}, true, [&](const run::result& run) {
        EXPECT_TRUE(run.status != 0 || content_of("a.kmr") == damaged_.content);
        which++ % 2 == 0 ? expect_way_back() : expect_way_forward();
    });
}

TEST_F(RefusedMemoryTest, ToACopy) {
    at_each_request({"repair", "-o", "b.kmr", "a.kmr"}, false, [&](const run::result& run) {
        expect_state("a.kmr", damaged_);
        EXPECT_TRUE(run.status != 0 || is_there("b.kmr"));
        EXPECT_TRUE(!is_there("b.kmr") || content_of("b.kmr") == mended_);
    });
}

} // namespace
