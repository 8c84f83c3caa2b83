// kmr extract as a program, where the system refuses a call or memory, or it is to end: what was there is as it was, and of
// the new file there is all or nothing.
#include "tests/kmr/extract/extracting.hpp"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>

namespace {

using kmr_test::words;
using testing::AnyOf;
using testing::ElementsAre;
namespace fs = std::filesystem;

#ifdef KMR_WITHOUT_CONTAINERS
const words outputs = {"b.h264"};
#else
const words outputs = {"b.h264", "b.mp4", "b.mkv"};
#endif

class ExtractFailuresTest : public kmr_test::ExtractingTest {
protected:
    bool is_there(const std::string& name) const { return fs::exists(place_.folder().path() / name); }
    bool remove(const std::string& name) const { return fs::remove(place_.folder().path() / name); }

    run::result extract_with(const std::string& call, const std::string& out) const {
        return extract({"a.kmr", "-o", out, "--force"}, {"LD_PRELOAD=" KMR_FAULTY_CALLS, "CALL=" + call,
                                                         "ASAN_OPTIONS=verify_asan_link_order=0"});
    }
};

// Made, written and renamed: every call that changes a file in turn.
TEST_F(ExtractFailuresTest, EveryCallFails) {
    compose_clip("a.kmr", "demo.h264");
    for (const std::string& out : outputs) {
        place_.folder().write_text(out, "mine");
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE(out + " " + std::to_string(nth));
            const auto run = extract_with(std::to_string(nth) + ":" + std::to_string(EIO), out);
            if (!remove("happened")) {
                EXPECT_GT(nth, 3);
                EXPECT_EQ(run.status, 0);
                EXPECT_NE(scratch::read_text(place_.folder().file(out)), "mine");
                break;
            }
            EXPECT_EQ(run.status, 2);
            EXPECT_EQ(run.err, "kmr: " + out + ": Input/output error\n");
            EXPECT_EQ(scratch::read_text(place_.folder().file(out)), "mine");
            EXPECT_THAT(names(), ElementsAre("a.kmr", out));
        }
        remove(out);
    }
}

// An interrupt in front of a call, which is made. More than a megabyte is written in two pieces.
TEST_F(ExtractFailuresTest, InterruptedAtEveryCall) {
    place_.compose("a.kmr", {"--frames", "30", "--payload", "40000", "--p-payload", "40000"});
    for (int nth = 1;; ++nth) {
        SCOPED_TRACE(nth);
        const auto run = extract_with(std::to_string(nth) + ":int", "b.h264");
        if (!remove("happened")) {
            EXPECT_GT(nth, 4);
            EXPECT_EQ(run.status, 0);
            break;
        }
        EXPECT_THAT(run.status, AnyOf(-SIGINT, 128 + SIGINT));
        EXPECT_EQ(run.err, "");
        if (is_there("b.h264")) { // it had its name by then
            EXPECT_EQ(content("b.h264").size(), 30U * 40000);
            remove("b.h264");
        }
        EXPECT_THAT(names(), ElementsAre("a.kmr"));
    }
}

// Open in another program, and without a name.
TEST_F(ExtractFailuresTest, ARecordingWithoutANameIsRefused) {
    place_.compose("a.kmr");
    const auto run = place_.shell("exec 3<a.kmr && rm a.kmr && \"$1\" extract /proc/self/fd/3 -o b.h264");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kmr: /proc/self/fd/3: No such file or directory\n");
    EXPECT_TRUE(names().empty());
}

TEST_F(ExtractFailuresTest, PlacesThatDoNotExistAreRefused) {
    place_.compose("a.kmr");
    for (const std::string option : {"--from", "--to"})
        expect_refused({"a.kmr", "-o", "b.h264", option, "4294967296"},
                       "4294967296: no frame has such a number");
}

#ifndef KMR_WITHOUT_CONTAINERS
// The library is there, but cannot be loaded: what needs it is refused, and nothing else.
TEST_F(ExtractFailuresTest, WithoutTheLibraryThereAreNoContainers) {
    compose_clip("a.kmr", "demo.h264");
    fs::create_directory(place_.folder().path() / "lib");
    for (int version = 58; version < 80; ++version)
        place_.folder().write_text("lib/libavformat.so." + std::to_string(version), "no library");
    const words in_front = {"LD_LIBRARY_PATH=" + place_.folder().file("lib")};
    for (const std::string out : {"b.mp4", "b.mkv"}) {
        const auto run = extract({"a.kmr", "-o", out}, in_front);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.err,
                  "kmr: " + out +
                      ": without libavformat this program makes no .mp4 and no .mkv; there are .h264, "
                      ".h265, .mjpeg, .raw\n");
    }
    EXPECT_THAT(names(), ElementsAre("a.kmr", "lib"));
    EXPECT_EQ(extract({"a.kmr", "-o", "b.h264"}, in_front).status, 0);
    EXPECT_EQ(content("b.h264"), clip("demo.h264"));
}
#endif

} // namespace
