// Calls that fail while kmr plot and kmr report work, and a recording that somebody writes meanwhile.
#include "tests/kmr/mend/failing_calls.hpp"

#include <gmock/gmock.h>

namespace {

using kmr_test::told;
using kmr_test::words;
using testing::ElementsAre;
using testing::EndsWith;

class PictureCallsTest : public kmr_test::FailingCallsTest {
protected:
    PictureCallsTest() { set(scan_test::recording_of(scan_test::sound_frames(10))); }

    // Each read or write fails in turn, until none is left: status 2, these words, and nothing there.
    void expect_refused_at_every_call(const words& arguments, int kmr_test::call_plan::*which,
                                      const std::string& message) const {
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE(arguments[0] + " " + std::to_string(nth));
            kmr_test::call_plan plan;
            plan.*which = nth;
            const told run = kmr(arguments, plan);
            if (!has_failed()) {
                EXPECT_GT(nth, 1);
                EXPECT_EQ(run.status, 0);
                unlink(place_.file(arguments.back()).c_str());
                return;
            }
            EXPECT_EQ(run.status, 2);
            EXPECT_EQ(run.err, message);
            EXPECT_THAT(names(), ElementsAre("a.kmr"));
        }
    }
};

TEST_F(PictureCallsTest, NothingIsThereWhereAReadFails) {
    const std::string message = "kmr: a.kmr: Input/output error\n";
    expect_refused_at_every_call({"plot", "a.kmr", "-o", "b.svg"}, &kmr_test::call_plan::bad_read, message);
    expect_refused_at_every_call({"report", "a.kmr", "-o", "b.html"}, &kmr_test::call_plan::bad_read,
                                 message);
}

TEST_F(PictureCallsTest, NothingIsThereWhereAWriteFails) {
    expect_refused_at_every_call({"plot", "a.kmr", "-o", "b.svg"}, &kmr_test::call_plan::bad_write,
                                 "kmr: b.svg: Input/output error\n");
    expect_refused_at_every_call({"report", "a.kmr", "-o", "b.html"}, &kmr_test::call_plan::bad_write,
                                 "kmr: b.html: Input/output error\n");
}

// They are of what was read, say so, and have the status of kmr check.
TEST_F(PictureCallsTest, OfARewrittenRecordingItIsTold) {
    const std::string message = "kmr: a.kmr: changed while it was read\n";
    EXPECT_EQ(kmr({"check", "a.kmr"}, {.is_rewritten = true}).status, 2);
    const told plot = kmr({"plot", "a.kmr", "-o", "-"}, {.is_rewritten = true});
    EXPECT_EQ(plot.status, 2);
    EXPECT_EQ(plot.err, message);
    EXPECT_THAT(plot.out, testing::HasSubstr("<title>a.kmr: sound, changed while it was read</title>"));
    const told report = kmr({"report", "a.kmr", "-o", "b.html"}, {.is_rewritten = true});
    EXPECT_EQ(report.status, 2);
    EXPECT_EQ(report.err, message);
    EXPECT_THAT(scratch::read_text(place_.file("b.html")), EndsWith("</html>\n"));
}

} // namespace
