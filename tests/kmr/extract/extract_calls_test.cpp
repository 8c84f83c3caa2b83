// Calls that fail, or are interrupted, while kmr extract works: status 2 and words, and no file that is half one.
#include "tests/kmr/mend/failing_calls.hpp"

#include <gmock/gmock.h>

namespace {

using kmr_test::told;
using recording::bytes;
using testing::ElementsAre;

class ExtractCallsTest : public kmr_test::FailingCallsTest {
protected:
    ExtractCallsTest() { set(scan_test::recording_of(scan_test::sound_frames(10))); }

    void start_over() const { unlink(place_.file("b.h264").c_str()); }
};

bytes video() {
    bytes all;
    for (const auto& each : scan_test::sound_frames(10))
        recording::append(all, each.video);
    return all;
}

TEST_F(ExtractCallsTest, NothingIsTakenWhereAReadFails) {
    for (const int error : {EIO, 0}) { // 0: a recording that becomes shorter
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE(nth);
            start_over();
            const told run = kmr({"extract", "a.kmr", "-o", "b.h264"}, {.bad_read = nth, .error = error});
            if (!has_failed()) {
                EXPECT_GT(nth, 1);
                EXPECT_EQ(run.status, 0);
                EXPECT_EQ(content("b.h264"), video());
                break;
            }
            EXPECT_EQ(run.status, 2);
            EXPECT_EQ(run.err, error == EIO ? "kmr: a.kmr: Input/output error\n"
                                            : "kmr: a.kmr: became shorter while it was read\n");
            EXPECT_THAT(names(), ElementsAre("a.kmr"));
        }
    }
}

TEST_F(ExtractCallsTest, NothingIsThereWhereAWriteFails) {
    for (int nth = 1;; ++nth) {
        SCOPED_TRACE(nth);
        start_over();
        const told run = kmr({"extract", "a.kmr", "-o", "b.h264"}, {.bad_write = nth, .error = EDQUOT});
        if (!has_failed()) {
            EXPECT_GT(nth, 1);
            EXPECT_EQ(run.status, 0);
            break;
        }
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.err, "kmr: b.h264: Disk quota exceeded\n");
        EXPECT_THAT(names(), ElementsAre("a.kmr"));
    }
}

// What is out already stays out, and the status tells.
TEST_F(ExtractCallsTest, OnStandardOutputARewrittenRecordingIsTold) {
    const told run = kmr({"extract", "a.kmr", "-o", "-"}, {.is_rewritten = true});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kmr: a.kmr: was changed while it was read\n");
    const told file = kmr({"extract", "a.kmr", "-o", "b.h264"}, {.is_rewritten = true});
    EXPECT_EQ(file.status, 2);
    EXPECT_EQ(file.err, "kmr: b.h264: the recording was changed meanwhile; nothing was written\n");
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

} // namespace
