// The file that is written: its name, and what happens to others.
#include "tests/kmr/changed_file.hpp"
#include "tests/kmr/extract/extracting.hpp"
#include "tests/kmr/on_terminal.hpp"

#include <filesystem>
#include <gmock/gmock.h>
#include <thread>

namespace {

using kmr_test::as_nobody;
using kmr_test::is_old;
using kmr_test::make_old;
using kmr_test::words;
using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

class ExtractFilesTest : public kmr_test::ExtractingTest {
protected:
    ExtractFilesTest() {
        place_.compose("a.kmr");
        make_old(file_);
        before_ = kmr_test::read_quietly(file_);
    }
    ~ExtractFilesTest() override {
        EXPECT_EQ(kmr_test::read_quietly(file_), before_);
        EXPECT_TRUE(is_old(file_));
    }

    const std::string file_ = place_.folder().file("a.kmr");
    recording::bytes before_;
};

TEST_F(ExtractFilesTest, UnknownSuffixesAreRefused) {
#ifdef KMR_WITHOUT_CONTAINERS
    const std::string there = ".h264, .h265, .mjpeg, .raw";
    for (const std::string name : {"b.mp4", "b.mkv"})
        expect_refused({"a.kmr", "-o", name},
                       name + ": without libavformat this program makes no .mp4 and no .mkv; there are " +
                           there);
#else
    const std::string there = ".h264, .h265, .mjpeg, .raw, .mp4, .mkv";
#endif
    for (const std::string name : {"b.avi", "b", "b.", ".mp4", "mkv", "b.mp4x", "b.mkv/"})
        expect_refused({"a.kmr", "-o", name},
                       name + ": nothing is made for such a suffix; there are " + there);
    expect_refused({"a.kmr", "-o", ""},
                   "--output: the value is empty\nkmr: see kmr --help, or kmr COMMAND --help");
    expect_refused({"a.kmr"}, "--output is required\nkmr: see kmr --help, or kmr COMMAND --help");
}

TEST_F(ExtractFilesTest, OptionsOfContainersAreRefusedElsewhere) {
    for (const words& option : {words{"--audio", "alaw"}, words{"--close-pauses", "2"}})
        for (const std::string name : {"b.h264", "b.raw", "-"})
            expect_refused({"a.kmr", "-o", name, option[0], option[1]},
                           name + ": --audio and --close-pauses are for .mp4 and .mkv");
    EXPECT_EQ(extract({"a.kmr", "-o", "b.mkv", "--audio", "mp3"}).status, 2);
    for (const std::string seconds : {"-1", "2147484", "soon", "nan", "inf", "1e400", ""})
        EXPECT_EQ(extract({"a.kmr", "-o", "b.mkv", "--close-pauses", seconds}).status, 2) << seconds;
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

TEST_F(ExtractFilesTest, NeverWritesOntoTheRecording) {
    place_.folder().write("a.h264", before_);
    const fs::path folder = place_.folder().path();
    fs::create_hard_link(folder / "a.h264", folder / "hard.h264");
    fs::create_symlink("a.h264", folder / "soft.h264");
    fs::create_symlink(".", folder / "here");
    for (const words& force : {words{}, words{"--force"}}) {
        const auto onto = [&](const std::string& from, const std::string& to, const std::string& why) {
            words arguments = {from, "-o", to};
            arguments.insert(arguments.end(), force.begin(), force.end());
            expect_refused(arguments, to + ": " + why);
        };
        const std::string itself = "is the recording itself";
        onto("a.h264", "a.h264", itself);
        onto("a.h264", "here/a.h264", itself);
        onto("a.h264", "hard.h264", itself);
        onto("hard.h264", "a.h264", itself);
        onto("soft.h264", "a.h264", itself);
        onto("a.h264", "soft.h264", "a symbolic link: nothing is written through it");
        onto("a.kmr", "no/b.h264", "No such file or directory");
    }
    EXPECT_EQ(content("a.h264"), before_);
}

TEST_F(ExtractFilesTest, ReplacesWhatIsThereOnlyWhenItIsTold) {
    place_.folder().write_text("b.h264", "mine");
    expect_refused({"a.kmr", "-o", "b.h264"}, "b.h264: is there already (--force replaces it)");
    EXPECT_EQ(scratch::read_text(place_.folder().file("b.h264")), "mine");
    EXPECT_EQ(extract({"a.kmr", "-o", "b.h264", "--force"}).status, 0);
    EXPECT_EQ(content("b.h264").size(), 600U);
    place_.compose("c.kmr", {"--encrypt", "all", "--p-payload", "80"});
    EXPECT_EQ(extract({"c.kmr", "-o", "b.h264", "--force"}).status, 2);
    EXPECT_EQ(content("b.h264").size(), 600U); // what failed replaces nothing
    EXPECT_THAT(names(), ElementsAre("a.kmr", "b.h264", "c.kmr"));
}

TEST_F(ExtractFilesTest, LeavesNothingBehindWhereItCannotBeWritten) {
    place_.compose("long.kmr", {"--frames", "100"});
    for (const std::string name : {"b.h264", "b.raw"}) {
        place_.compose("long.kmr", {"--frames", "100", "--audio", "2x100"});
        const auto run = place_.shell(
            "ulimit -f 1; \"$1\" extract long.kmr -o \"$2\" 2>&1 | cat; exit ${PIPESTATUS[0]}", {name});
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.out, "kmr: " + name + ": File too large\n");
    }
    const as_nobody other(place_);
    const auto run = other.kmr("extract a.kmr -o b.h264");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kmr: b.h264: Permission denied\n");
    EXPECT_THAT(names(), ElementsAre("a.kmr", "kmr", "long.kmr"));
}

TEST_F(ExtractFilesTest, RefusesWhatIsNoRecording) {
    place_.folder().write_text("text.txt", "no recording");
    expect_refused({"text.txt", "-o", "b.h264"}, "text.txt: not a recording");
    expect_refused({"missing.kmr", "-o", "b.h264"}, "missing.kmr: No such file or directory");
    expect_refused({".", "-o", "b.h264"}, ".: not a regular file");
    expect_refused({"/dev/null", "-o", "-"}, "/dev/null: not a regular file");
}

TEST_F(ExtractFilesTest, AReaderThatIsGoneEndsItQuietly) {
    place_.compose("long.kmr", {"--frames", "5000", "--payload", "4000"});
    const auto run =
        place_.shell("\"$1\" extract long.kmr -o - | head -c 10 >/dev/null; echo ${PIPESTATUS[0]}");
    EXPECT_EQ(run.out, "141\n");
    EXPECT_EQ(run.err, "");
    const auto full = place_.shell("\"$1\" extract a.kmr -o - >/dev/full");
    EXPECT_EQ(full.status, 2);
    EXPECT_EQ(full.err, "kmr: standard output: No space left on device\n");
}

// More than a pipe holds, so that it is not read to its end when it grows.
TEST_F(ExtractFilesTest, TellsOfARecordingThatGrowsMeanwhile) {
    compose_clip("long.kmr", "demo.h264", {"--frames", "3000"});
    place_.shell("{ \"$1\" extract long.kmr -o - 2>said; echo $? >status; } | "
                 "{ head -c 1 >first; printf x >>long.kmr; cat >rest; }");
    EXPECT_EQ(scratch::read_text(place_.folder().file("said")),
              "kmr: long.kmr: has grown while it was read; what came behind is left out\n");
    EXPECT_EQ(scratch::read_text(place_.folder().file("status")), "1\n");
    EXPECT_GT(fs::file_size(place_.folder().path() / "rest"), 1'000'000U);
}

TEST_F(ExtractFilesTest, NothingIsWrittenToATerminal) {
    kmr_test::on_terminal run(place_, {"extract", "a.kmr", "-o", "-"});
    EXPECT_EQ(run.read_until(), "kmr: standard output is a terminal, and a stream is nothing to read\r\n");
    EXPECT_EQ(run.wait_status(), 2);
}

// Half a gigabyte that takes no room until it is written.
class LongExtractTest : public ExtractFilesTest {
protected:
    LongExtractTest() {
        place_.compose("long.kmr", {"--frames", "500", "--payload", "1000000", "--p-payload", "1000000",
                                    "--i-interval", "25", "--sparse"});
    }

    void wait_for_unfinished_file() const {
        const std::string name = place_.folder().file("b.h264.kmr-new");
        for (int i = 0; i < 20'000 && !fs::exists(name); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ASSERT_TRUE(fs::exists(name));
    }
};

TEST_F(LongExtractTest, LeavesNothingBehindWhenItIsInterrupted) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        kmr_test::on_terminal run(place_, {"extract", "long.kmr", "-o", "b.h264"});
        wait_for_unfinished_file();
        kill(run.child(), signal);
        EXPECT_EQ(run.wait_status(), -signal);
        EXPECT_THAT(names(), ElementsAre("a.kmr", "long.kmr"));
    }
}

TEST_F(LongExtractTest, GivesNothingWhereTheRecordingIsRewrittenMeanwhile) {
    kmr_test::on_terminal run(place_, {"extract", "long.kmr", "-o", "b.h264"});
    wait_for_unfinished_file();
    make_old(place_.folder().file("long.kmr")); // another time of change
    EXPECT_THAT(run.read_until(),
                HasSubstr("kmr: b.h264: the recording was changed meanwhile; nothing was written\r\n"));
    EXPECT_EQ(run.wait_status(), 2);
    EXPECT_THAT(names(), ElementsAre("a.kmr", "long.kmr"));
}

// Hours of work in a file that takes no room.
TEST_F(ExtractFilesTest, TellsHowFarItHasCome) {
    place_.folder().write_text("zeros", "");
    fs::resize_file(place_.folder().path() / "zeros", uint64_t{1} << 40);
    kmr_test::on_terminal run(place_, {"extract", "zeros", "-o", "b.h264"});
    const std::string text = run.read_until(" left");
    EXPECT_THAT(text, HasSubstr("\r\x1b[Kfiles 0 of 1, "));
    EXPECT_THAT(text, HasSubstr(" of 1099.5 GB, "));
    kill(run.child(), SIGINT);
    EXPECT_EQ(run.wait_status(), -SIGINT);
    EXPECT_THAT(names(), ElementsAre("a.kmr", "zeros"));
}

} // namespace
