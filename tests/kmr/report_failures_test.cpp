// kmr report where the system refuses a call: of the page there is all or nothing, and what was there is as it was.
#include "tests/kmr/making_test.hpp"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
namespace fs = std::filesystem;

class ReportFailuresTest : public kmr_test::making_test {
protected:
    ReportFailuresTest() : making_test("report") {}

    std::string page() const { return text("p.html"); }
};

// Made, written in pieces, brought to the disk and renamed; behind that the folder is.
TEST_F(ReportFailuresTest, EveryCallFails) {
    place_.compose("a.kmr", {"--frames", "1000"});
    ASSERT_EQ(command({"a.kmr", "-o", "p.html"}).status, 0);
    const std::string whole = page();
    for (int nth = 1;; ++nth) {
        SCOPED_TRACE(nth);
        place_.folder().write_text("p.html", "mine");
        const auto run = command({"a.kmr", "-o", "p.html", "--force"},
                                 {.environment = {"LD_PRELOAD=" KMR_FAULTY_CALLS,
                                                  "CALL=" + std::to_string(nth) + ":" + std::to_string(EIO),
                                                  "ASAN_OPTIONS=verify_asan_link_order=0"}});
        if (!fs::remove(place_.folder().path() / "happened")) {
            EXPECT_GT(nth, 5);
            EXPECT_EQ(run.status, 0);
            EXPECT_EQ(page(), whole);
            break;
        }
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.err, "kmr: p.html: Input/output error\n");
        const std::string left = page();
        EXPECT_TRUE(left == "mine" || left == whole);
        EXPECT_THAT(names(), ElementsAre("a.kmr", "p.html"));
    }
}

// Behind the first piece that has no room nothing more is read.
TEST_F(ReportFailuresTest, ALongRecordingIsNotReadToItsEndForNothing) {
    place_.compose("a.kmr", {"--frames", "20000", "--sparse"});
    const auto run =
        place_.shell("ulimit -f 128; \"$1\" report a.kmr -o p.html 2>&1 | cat; exit ${PIPESTATUS[0]}");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "kmr: p.html: File too large\n");
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

// Open in another program, and without a name.
TEST_F(ReportFailuresTest, ARecordingWithoutANameIsRefused) {
    place_.compose("a.kmr");
    const auto run = place_.shell("exec 3<a.kmr && rm a.kmr && \"$1\" report /proc/self/fd/3 -o p.html");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kmr: /proc/self/fd/3: No such file or directory\n");
    EXPECT_TRUE(names().empty());
}

} // namespace
