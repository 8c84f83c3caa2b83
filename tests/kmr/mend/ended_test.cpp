// kmr repair and kmr undo ended, interrupted or failed at each of their calls: the way back and the way forward are there.
#include "tests/kmr/mend/ended.hpp"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>

namespace {

using kmr_test::words;
using testing::AnyOf;
namespace fs = std::filesystem;

class CallsTest : public kmr_test::EndedTest {
protected:
    run::result run_with(const std::string& call, const words& arguments) const {
        return kmr(arguments,
                   {"LD_PRELOAD=" KMR_FAULTY_CALLS, "CALL=" + call, "ASAN_OPTIONS=verify_asan_link_order=0"});
    }
    bool happened() const { return fs::remove(place_.folder().path() / "happened"); }

    // Each event at each call, both ways out of what it leaves.
    template <typename Check>
    int at_every_call(const words& arguments, const std::string& event, bool from_mended, Check check) const {
        for (int nth = 1;; ++nth)
            for (const bool forward : {false, true}) {
                SCOPED_TRACE(arguments[0] + ", call " + std::to_string(nth) + event);
                start_over(from_mended);
                const auto run = run_with(std::to_string(nth) + event, arguments);
                if (!happened())
                    return nth - 1;
                check(run);
                forward ? expect_way_forward() : expect_way_back();
                if (HasFailure())
                    return nth;
            }
    }
};

const words repair = {"repair", "-y", "a.kmr"};
const words undo = {"undo", "a.kmr"};

TEST_F(CallsTest, KilledAtEveryCall) {
    const auto killed = [](const run::result& run) {
        EXPECT_THAT(run.status, AnyOf(-SIGKILL, 128 + SIGKILL));
    };
    for (const std::string event : {":kill", ":half"}) {
        EXPECT_GT(at_every_call(repair, event, false, killed), 12);
        EXPECT_GT(at_every_call(undo, event, true, killed), 6);
    }
}

// Ctrl-C waits until the change is whole, or is met before it: what it leaves is never half.
TEST_F(CallsTest, InterruptedAtEveryCall) {
    const auto interrupted = [this](const run::result& run) {
        EXPECT_THAT(run.status, AnyOf(-SIGINT, 128 + SIGINT));
        EXPECT_FALSE(is_interrupted());
        EXPECT_FALSE(is_there("a.kmr.kmr-undo-new"));
        const auto content = content_of("a.kmr");
        EXPECT_TRUE(content == mended_ || content == damaged_.content);
    };
    EXPECT_GT(at_every_call(repair, ":int", false, interrupted), 12);
    EXPECT_GT(at_every_call(undo, ":int", true, interrupted), 6);
}

// What fails once is taken back at once; what fails for good may stay in the middle, and says so.
TEST_F(CallsTest, FailingAtEveryCall) {
    for (const int error : {EIO, ENOSPC})
        for (const std::string lasting : {":", "+:"}) {
            const auto told = [&](const run::result& run) {
                EXPECT_TRUE(run.status == 0 || (run.status == 2 && !run.err.empty())) << run.status;
                EXPECT_TRUE(run.status != 0 || !is_interrupted());
                const bool says_so =
                    run.err.find("; not finished: kmr undo or kmr repair takes back what was "
                                 "written\n") != std::string::npos;
                EXPECT_TRUE(says_so || !is_interrupted() || content_of("a.kmr") == damaged_.content)
                    << run.err;
            };
            at_every_call(repair, lasting + std::to_string(error), false, told);
            at_every_call(undo, lasting + std::to_string(error), true, told);
        }
}

TEST_F(CallsTest, SaysWhenThereIsNoWayBack) {
    const words without = {"repair", "-y", "--no-undo", "a.kmr"};
    size_t half_done = 0;
    for (int nth = 1;; ++nth) {
        SCOPED_TRACE(nth);
        start_over(false);
        const auto run = run_with(std::to_string(nth) + ":5", without);
        if (!happened())
            break;
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.err,
                  "kmr: a.kmr: Input/output error; not finished, and without an undo file there is no way "
                  "back\n");
        const auto content = content_of("a.kmr");
        half_done += content != mended_ && content != damaged_.content ? 1 : 0;
        EXPECT_EQ(kmr({"repair", "-y", "--no-undo", "a.kmr"}).status,
                  0); // what is left can be mended all the same
        EXPECT_TRUE(content_of("a.kmr") == mended_);
    }
    EXPECT_GT(half_done, 0U);
}

TEST_F(CallsTest, ACopyIsWholeOrNotThere) {
    const words copy = {"repair", "-o", "b.kmr", "a.kmr"};
    for (const std::string event : {":int", ":28", "+:28"})
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE(std::to_string(nth) + event);
            start_over(false);
            const auto run = run_with(std::to_string(nth) + event, copy);
            if (!happened()) {
                EXPECT_GT(nth, 5);
                break;
            }
            EXPECT_NE(run.status, 0);
            expect_state("a.kmr", damaged_);
            const bool is_made = is_there("b.kmr");
            EXPECT_TRUE(!is_made || content_of("b.kmr") == mended_);
            const bool can_clean = event != "+:28"; // a disk that refuses to unlink keeps it
            EXPECT_TRUE(!can_clean || !is_there("b.kmr.kmr-new"));
        }
}

} // namespace
