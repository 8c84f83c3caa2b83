// kmr copy as a program. Twenty frames a second apart from 1 on, I-frames of 132 bytes at 88, 548, 1008 and 1468, P-frames
// of 82; the index at 1928. What is to come out is composed anew, as a recorder would have written it.
#include "tests/kmr/changed_file.hpp"
#include "tests/kmr/on_terminal.hpp"
#include "tests/program/viewer.hpp"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

namespace {

using kmr_test::as_nobody;
using kmr_test::is_old;
using kmr_test::make_old;
using kmr_test::names_in;
using kmr_test::words;
using kmr_test::workplace;
using recording::bytes;
using testing::ElementsAre;
using testing::HasSubstr;

class CopyTest : public testing::Test {
protected:
    CopyTest() { compose({"--tag", "1=six", "--tag", "3=sixteen"}); }

    void compose(const words& more) {
        compose_as("a.kmr", more);
        make_old(file_);
        before_ = kmr_test::read_quietly(file_);
    }
    void compose_as(const std::string& name, const words& more) const {
        words all = {"--frames", "20", "--stamp-step", "1000"};
        all.insert(all.end(), more.begin(), more.end());
        place_.compose(name, all);
    }

    run::result copy(const words& more, const words& environment = {}) const {
        words arguments = {"copy"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return place_.kmr(arguments, {.environment = environment});
    }

    bytes content(const std::string& name) const {
        return kmr_test::read_quietly(place_.folder().file(name));
    }
    std::vector<std::string> names() const { return names_in(place_.folder().path()); }
    std::string checked(const std::string& name) const { return place_.kmr({"check", "-v", name}).out; }

    void expect_untouched() const {
        EXPECT_EQ(kmr_test::read_quietly(file_), before_);
        EXPECT_TRUE(is_old(file_));
    }

    void expect_refused(const words& arguments, const std::string& message) const {
        const auto before = names();
        const auto run = copy(arguments);
        EXPECT_EQ(run.status, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "kmr: " + message + "\n");
        EXPECT_EQ(names(), before);
        expect_untouched();
    }

    // Rows of frames that the viewer shows, and whether it comes to a good end.
    size_t rows_shown(const std::string& name) const {
        const viewer::place place;
        std::filesystem::copy_file(place_.folder().file(name), place.path() / "r.kmr");
        const std::string report = place.report({"-f", "r.kmr", "-a"}, {"TZ=UTC"});
        EXPECT_THAT(report, HasSubstr("\nWell done :)\n"));
        size_t rows = 0;
        std::istringstream lines(report);
        for (std::string line; std::getline(lines, line);)
            rows += is_row_of_frame(line) ? 1 : 0;
        return rows;
    }

    // The last but one of eleven columns tells the class: ordinary or inserted.
    static bool is_row_of_frame(const std::string& line) {
        if (std::count(line.begin(), line.end(), '\t') != 10)
            return false;
        const size_t last = line.rfind('\t');
        const size_t begin = line.rfind('\t', last - 1) + 1;
        const std::string kind = line.substr(begin, last - begin);
        return kind.find_first_not_of(" 01") == std::string::npos &&
               kind.find_first_of("01") != std::string::npos;
    }

    // The bytes between the file header and the index stand in the recording, in one piece.
    bool is_piece_of(const std::string& part, const std::string& whole, size_t index_size) const {
        const bytes of = content(whole);
        const bytes copied = content(part);
        return std::search(of.begin(), of.end(), copied.begin() + 88,
                           copied.end() - static_cast<std::ptrdiff_t>(index_size)) != of.end();
    }

    const workplace place_;
    const std::string file_ = place_.folder().file("a.kmr");
    bytes before_;
};

struct part {
    words span;
    int first; // frame of the copy
    int frames;
};

constexpr int first_frames[] = {1, 6, 11, 16};

// A recording that began with this frame, by the second.
words as_recorded(const part& of) {
    words all = {"--frames", std::to_string(of.frames), "--first-number", std::to_string(of.first)};
    const std::string seconds = std::to_string(of.first + 4);
    all.insert(all.end(), {"--first-stamp", std::to_string(1000 * of.first), "--start",
                           "2015-01-02 03:04:" + std::string(seconds.size() < 2 ? "0" : "") + seconds});
    const std::string tags[] = {"", "six", "", "sixteen"};
    size_t record = 0;
    for (size_t i = 0; i < std::size(first_frames); ++i)
        if (first_frames[i] >= of.first && first_frames[i] < of.first + of.frames) {
            if (!tags[i].empty())
                all.insert(all.end(), {"--tag", std::to_string(record) + "=" + tags[i]});
            ++record;
        }
    return all;
}

TEST_F(CopyTest, GivesWhatARecorderWouldHaveWritten) {
    const part parts[] = {
        {{}, 1, 20},
        {{"--from", "6"}, 6, 15},
        {{"--from", "7", "--to", "12"}, 6, 6},
        {{"--from", "10", "--to", "11"}, 6, 5},
        {{"--to", "2"}, 1, 1},
        {{"--from", "0", "--to", "4294967295"}, 1, 20},
        {{"--from", "20"}, 16, 5},
        {{"--from", "0:05", "--to", "0:10"}, 6, 5},
        {{"--from", "0:04.999", "--to", "0:00:10.001"}, 1, 11},
        {{"--from", "0:00", "--to", "9:00:00"}, 1, 20},
        {{"--from", "0:19"}, 16, 5},
        {{"--from", "2015-01-02T03:04:10", "--to", "2015-01-02T03:04:15"}, 6, 5},
        {{"--from", "2015-01-02T04:04:10+01:00", "--to", "2015-01-02 02:04:14.500-01"}, 6, 5},
        {{"--from", "2000-01-01", "--to", "2015-01-02T03:04:06"}, 1, 1},
        {{"--from", "2015-01-02T03:04:21Z", "--to", "0:18"}, 16, 3},
        {{"--from", "12", "--to", "2030-01-01"}, 11, 10},
    };
    for (const part& each : parts) {
        SCOPED_TRACE(testing::PrintToString(each.span));
        words arguments = {"a.kmr", "b.kmr", "--force"};
        arguments.insert(arguments.end(), each.span.begin(), each.span.end());
        const auto run = copy(arguments);
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(run.status, 0);
        compose_as("expected.kmr", as_recorded(each));
        EXPECT_EQ(content("b.kmr"), content("expected.kmr"));
        EXPECT_THAT(checked("b.kmr"), testing::StartsWith("sound "));
        EXPECT_EQ(rows_shown("b.kmr"), static_cast<size_t>(each.frames));
        expect_untouched();
        EXPECT_THAT(names(), ElementsAre("a.kmr", "b.kmr", "expected.kmr"));
    }
}

TEST_F(CopyTest, TellsWhatItIsAndWhatIsLeftOut) {
    EXPECT_EQ(copy({"--from", "7", "--to", "12", "a.kmr", "b.kmr"}).out,
              "b.kmr\n"
              "  verdict       sound\n"
              "  size          892 bytes\n" // 88, 460, 132, and an index of two records
              "  span          2015-01-02T03:04:10.000+00:00 to 2015-01-02T03:04:15.000+00:00, 0:00:05.000\n"
              "  frames        6 of 20, from the I-frame 6 at 0:00:05.000 on\n"
              "  index         2 records, 1 tag\n"
              "  left out      14 frames outside of the span\n");
    EXPECT_THAT(copy({"a.kmr", "c.kmr"}).out, HasSubstr("\n  left out      nothing\n"));
    EXPECT_THAT(copy({"a.kmr", "d.kmr", "--from", "2015-01-02T04:04:20"}, {"TZ=CET-1"}).out,
                HasSubstr("\n  span          2015-01-02T04:04:20.000+01:00 to"));
    EXPECT_THAT(copy({"a.kmr", "e.kmr", "--utc", "--from", "2015-01-02T03:04:20"}, {"TZ=CET-1"}).out,
                HasSubstr("\n  span          2015-01-02T03:04:20.000+00:00 to"));
    // The header's date is one of the zone that it is read in, where it moves as far.
    EXPECT_EQ(content("d.kmr"), content("e.kmr"));
}

TEST_F(CopyTest, RefusesASpanThatHoldsNothing) {
    const std::string nothing = "a.kmr: there is no frame in the span that could be shown";
    for (const words& span :
         {words{"--from", "21"}, words{"--to", "1"}, words{"--from", "12", "--to", "7"},
          words{"--from", "7", "--to", "7"}, words{"--from", "0:20"}, words{"--to", "0:00"},
          words{"--from", "0:06.001", "--to", "0:06.999"}, words{"--from", "2015-01-02T03:04:25"},
          words{"--to", "2015-01-02T03:04:05"}, words{"--from", "0:10", "--to", "5"}}) {
        words arguments = {"a.kmr", "b.kmr"};
        arguments.insert(arguments.end(), span.begin(), span.end());
        expect_refused(arguments, nothing);
    }
    const std::string no_place =
        ": neither a frame number nor a stream time (M:SS.mmm) nor a time (ISO 8601)";
    expect_refused({"a.kmr", "b.kmr", "--from", "noon"}, "noon" + no_place);
    expect_refused({"a.kmr", "b.kmr", "--to", ""},
                   "--to: the value is empty\nkmr: see kmr --help, or kmr COMMAND --help");
    expect_refused({"a.kmr", "b.kmr", "--from", "4294967296"}, "4294967296: no frame has such a number");
}

TEST_F(CopyTest, TakesFramesOfEveryKindByteForByte) {
    const std::string clips = KMR_SOURCES "/tools/clips/";
    const struct {
        words how;
        size_t rows;
    } kinds[] = {{{"--codec", "h265"}, 6},
                 {{"--video", clips + "demo.h264"}, 0}, // its pictures say what is an I-frame
                 {{"--video", clips + "demo.h265"}, 0},
                 {{"--audio", "2x160"}, 6},
                 {{"--encrypt", "all"}, 6},
                 {{"--encrypt", "5-8"}, 6},
                 {{"--insert-after", "all"}, 12},
                 {{"--user-data", "every:2", "--segment", "osd=DOOR", "--segment", "gps=x"}, 6},
                 {{"--first-number", "4294967290"}, 0}, // wraps to 0 with the seventh frame
                 {{"--first-stamp", "4294960000"}, 6}};
    for (const auto& each : kinds) {
        SCOPED_TRACE(testing::PrintToString(each.how));
        words how = each.how;
        how.insert(how.end(), {"--frames", "60", "--stamp-step", "100"});
        compose(how);
        const bool numbered = each.how[0] != "--first-number";
        const auto run = copy({"a.kmr", "b.kmr", "--force", "--from", numbered ? "7" : "4294967295", "--to",
                               numbered ? "12" : "5"});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_THAT(checked("b.kmr"), testing::StartsWith("sound "));
        const size_t rows = rows_shown("b.kmr");
        EXPECT_GE(rows, 6U);
        EXPECT_TRUE(each.rows == 0 || rows == each.rows);
        const bytes made = content("b.kmr");
        const uint32_t index_size = recording::get_u32(made, made.size() - 4);
        EXPECT_TRUE(is_piece_of("b.kmr", "a.kmr", index_size));
        EXPECT_EQ(recording::get_u32(made, 80), made.size());
        expect_untouched();
    }
}

// P8 at 762 is gone, and the lengths of P9 at 844 contradict each other: 164 bytes, up to P10 at 926.
TEST_F(CopyTest, LeavesDamageOutAndTellsIt) {
    compose({"--zero", "762:40", "--overwrite", "848:53"});
    const auto run = copy({"a.kmr", "b.kmr", "--from", "6", "--to", "11"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("\n  verdict       damaged: frames-lost\n"));
    EXPECT_THAT(run.out, HasSubstr("\n  frames        3 of 18, from the I-frame 6 at 0:00:05.000 on\n"));
    EXPECT_THAT(run.out, HasSubstr("\n  left out      164 damaged bytes"));
    EXPECT_THAT(run.out, HasSubstr(" in the span; 15 frames outside of the span\n"));
    bytes expected(before_.begin() + 548, before_.begin() + 762); // I6 and P7
    expected.insert(expected.end(), before_.begin() + 926, before_.begin() + 1008);
    const bytes made = content("b.kmr");
    EXPECT_EQ(bytes(made.begin() + 88, made.begin() + 88 + 214 + 82), expected);
    EXPECT_EQ(rows_shown("b.kmr"), 3U);
    // Beside the damage the copy is sound.
    EXPECT_THAT(copy({"a.kmr", "c.kmr", "--from", "11"}).out, HasSubstr("\n  verdict       sound\n"));
    expect_untouched();
}

TEST_F(CopyTest, BeginsEarlierWhereTheIFrameInFrontIsLost) {
    compose({"--zero", "548:32"}); // I6
    const auto run = copy({"a.kmr", "b.kmr", "--from", "7", "--to", "9"});
    EXPECT_THAT(run.out, HasSubstr("\n  frames        7 of 19, from the I-frame 1 at 0:00:00.000 on\n"));
    EXPECT_THAT(run.out, HasSubstr("\n  left out      132 damaged bytes in the span; 12 frames outside"));
    EXPECT_EQ(rows_shown("b.kmr"), 7U);
}

TEST_F(CopyTest, LeavesOutFramesInFrontOfTheFirstIFrame) {
    compose({"--lose", "0:1"});
    const auto run = copy({"a.kmr", "b.kmr"});
    EXPECT_THAT(run.out, HasSubstr("\n  frames        15 of 19, from the I-frame 6 at 0:00:04.000 on\n"));
    EXPECT_THAT(run.out, HasSubstr("\n  left out      4 frames in front of the first I-frame\n"));
    expect_refused({"a.kmr", "c.kmr", "--to", "6"},
                   "a.kmr: there is no frame in the span that could be shown");
}

TEST_F(CopyTest, GivesARecordingWithoutAnIndexOne) {
    for (const words& unfinished : {words{"--no-index"}, words{"--torn-last", "40"}, words{"--no-trailer"}}) {
        SCOPED_TRACE(unfinished[0]);
        compose(unfinished);
        const auto run = copy({"a.kmr", "b.kmr", "--force", "--from", "0:05", "--to", "0:15"});
        EXPECT_EQ(run.status, 0) << run.err;
        // A torn index still tells the times.
        const std::string source = unfinished[0] == "--no-trailer" ? "" : " (by the header)";
        EXPECT_THAT(run.out, HasSubstr("\n  span          2015-01-02T03:04:10.000+00:00 to "
                                       "2015-01-02T03:04:19.000+00:00" +
                                       source + ", 0:00:09.000\n"));
        compose_as("expected.kmr", {"--frames", "10", "--first-number", "6", "--first-stamp", "6000",
                                    "--start", "2015-01-02 03:04:10"});
        EXPECT_EQ(content("b.kmr"), content("expected.kmr"));
        expect_untouched();
    }
    EXPECT_EQ(copy({"a.kmr", "c.kmr", "--from", "2015-01-02T03:04:10"}).status, 0);
}

TEST_F(CopyTest, KeepsTagsAsTheyStandThere) {
    compose({"--tag", "1=caf\xE9\x1b", "--tag", "2=" + std::string(63, 'x')});
    EXPECT_THAT(copy({"a.kmr", "b.kmr", "--from", "6"}).out, HasSubstr("3 records, 2 tags"));
    const auto listed = place_.kmr({"tag", "b.kmr"});
    EXPECT_EQ(listed.out, "  record  time                           text\n"
                          "       0  2015-01-02T03:04:10.000+00:00  caf\\xe9\\x1b\n"
                          "       1  2015-01-02T03:04:15.000+00:00  " +
                              std::string(63, 'x') + "\n");
    EXPECT_EQ(place_.kmr({"tag", "add", "b.kmr", "0:10", "last"}).status,
              0); // it is a recording like any other
}

TEST_F(CopyTest, RefusesWhatIsNoRecording) {
    place_.folder().write_text("text.txt", "no recording");
    place_.folder().write_text("empty", "");
    expect_refused({"text.txt", "b.kmr"}, "text.txt: not a recording");
    expect_refused({"empty", "b.kmr"}, "empty: not a recording");
    expect_refused({"missing.kmr", "b.kmr"}, "missing.kmr: No such file or directory");
    expect_refused({"/dev/null", "b.kmr"}, "/dev/null: not a regular file");
    expect_refused({".", "b.kmr"}, ".: not a regular file");
    compose_as("headless.kmr", {"--overwrite", "0:ffffffff"});
    compose_as("headless.kmr", {"--size", "1x1"});
    expect_refused({"headless.kmr", "b.kmr"},
                   "headless.kmr: its file header is damaged, and a copy would have the same (kmr repair "
                   "mends it)");
}

TEST_F(CopyTest, NeverWritesOntoTheRecording) {
    namespace fs = std::filesystem;
    const fs::path folder = place_.folder().path();
    fs::create_hard_link(file_, folder / "hard.kmr");
    fs::create_symlink("a.kmr", folder / "soft.kmr");
    fs::create_symlink(".", folder / "here");
    for (const words& force : {words{}, words{"--force"}}) {
        const auto onto = [&](const std::string& from, const std::string& to, const std::string& why) {
            words arguments = {from, to};
            arguments.insert(arguments.end(), force.begin(), force.end());
            expect_refused(arguments, to + ": " + why);
        };
        const std::string itself = "is the recording itself";
        onto("a.kmr", "a.kmr", itself);
        onto("a.kmr", "./a.kmr", itself);
        onto("a.kmr", "here/a.kmr", itself);
        onto("a.kmr", "hard.kmr", itself);
        onto("hard.kmr", "a.kmr", itself);
        onto("soft.kmr", "a.kmr", itself);
        onto("soft.kmr", "hard.kmr", itself);
        onto("a.kmr", "soft.kmr", "a symbolic link: nothing is written through it");
    }
}

TEST_F(CopyTest, WritesThroughNoLinkAndOntoNothingThatIsNoFile) {
    namespace fs = std::filesystem;
    const fs::path folder = place_.folder().path();
    place_.folder().write_text("other", "mine");
    fs::create_symlink("other", folder / "link");
    fs::create_symlink("nowhere", folder / "dangling");
    fs::create_directory(folder / "folder");
    for (const words& force : {words{}, words{"--force"}}) {
        const auto onto = [&](const std::string& to, const std::string& why) {
            words arguments = {"a.kmr", to};
            arguments.insert(arguments.end(), force.begin(), force.end());
            expect_refused(arguments, to + ": " + why);
        };
        onto("link", "a symbolic link: nothing is written through it");
        onto("dangling", "a symbolic link: nothing is written through it");
        onto("folder", "not a regular file");
        onto("/dev/null", "not a regular file");
        onto("no/b.kmr", "No such file or directory");
        onto("other/b.kmr", "Not a directory");
    }
    EXPECT_EQ(scratch::read_text(folder / "other"), "mine");
    expect_refused({"a.kmr", ""}, "OUT: the value is empty\nkmr: see kmr --help, or kmr COMMAND --help");
    expect_refused({"a.kmr"}, "OUT is required\nkmr: see kmr --help, or kmr COMMAND --help");
    // Reading follows links.
    fs::create_symlink("a.kmr", folder / "soft.kmr");
    EXPECT_EQ(copy({"soft.kmr", "b.kmr"}).status, 0);
}

TEST_F(CopyTest, ReplacesWhatIsThereOnlyWhenItIsTold) {
    place_.folder().write_text("b.kmr", "mine");
    expect_refused({"a.kmr", "b.kmr"}, "b.kmr: is there already (--force replaces it)");
    EXPECT_EQ(scratch::read_text(place_.folder().file("b.kmr")), "mine");
    EXPECT_EQ(copy({"--force", "a.kmr", "b.kmr"}).status, 0);
    EXPECT_EQ(content("b.kmr"), before_);
    const auto failed = place_.shell("ulimit -f 1; \"$1\" copy --force a.kmr b.kmr 2>&1 | cat; "
                                     "exit ${PIPESTATUS[0]}");
    EXPECT_EQ(failed.status, 2);
    EXPECT_EQ(content("b.kmr"), before_);
    EXPECT_THAT(names(), ElementsAre("a.kmr", "b.kmr"));
}

TEST_F(CopyTest, TakesNeitherTheRecordingNorAnUnfinishedFileForTheOther) {
    compose_as("b.kmr.kmr-new", {});
    const bytes before = content("b.kmr.kmr-new");
    for (const words& force : {words{}, words{"--force"}}) {
        words arguments = {"b.kmr.kmr-new", "b.kmr"};
        arguments.insert(arguments.end(), force.begin(), force.end());
        expect_refused(arguments,
                       "b.kmr: is called b.kmr.kmr-new while it is written, and so is the recording");
    }
    EXPECT_EQ(content("b.kmr.kmr-new"), before);
    EXPECT_EQ(copy({"a.kmr", "b.kmr"}).status, 0); // somebody else's, left behind
    EXPECT_THAT(names(), ElementsAre("a.kmr", "b.kmr"));
}

// As a disk that is full.
TEST_F(CopyTest, LeavesNothingBehindWhereThereIsNoRoom) {
    const auto run = place_.shell("ulimit -f 1; \"$1\" copy a.kmr b.kmr 2>&1 | cat; exit ${PIPESTATUS[0]}");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "kmr: b.kmr: File too large\n");
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
    expect_untouched();
}

TEST_F(CopyTest, LeavesNothingBehindWhereNothingMayBeWritten) {
    const as_nobody other(place_);
    const auto run = other.kmr("copy a.kmr b.kmr");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kmr: b.kmr: Permission denied\n");
    EXPECT_THAT(names(), ElementsAre("a.kmr", "kmr"));
}

// Half a gigabyte that takes no room until it is copied.
class LongCopyTest : public CopyTest {
protected:
    LongCopyTest() {
        place_.compose("long.kmr", {"--frames", "500", "--payload", "1000000", "--p-payload", "1000000",
                                    "--i-interval", "25", "--sparse"});
    }

    void wait_for_unfinished_file() const {
        const std::string name = place_.folder().file("b.kmr.kmr-new");
        for (int i = 0; i < 20'000 && !std::filesystem::exists(name); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ASSERT_TRUE(std::filesystem::exists(name));
    }
};

TEST_F(LongCopyTest, LeavesNothingBehindWhenItIsInterrupted) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        kmr_test::on_terminal run(place_, {"copy", "long.kmr", "b.kmr"});
        wait_for_unfinished_file();
        kill(run.child(), signal);
        EXPECT_EQ(run.wait_status(), -signal);
        EXPECT_THAT(names(), ElementsAre("a.kmr", "long.kmr"));
    }
}

// As behind nohup.
TEST_F(LongCopyTest, GoesOnWhereItIsToIgnoreAnInterrupt) {
    const auto run = place_.shell("trap '' HUP INT TERM; \"$1\" copy long.kmr b.kmr & "
                                  "while [ ! -e b.kmr.kmr-new ] && [ ! -e b.kmr ]; do sleep 0.01; done; "
                                  "kill -HUP $!; kill -INT $!; kill -TERM $!; wait $!");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("500 of 500"));
    EXPECT_THAT(names(), ElementsAre("a.kmr", "b.kmr", "long.kmr"));
}

TEST_F(LongCopyTest, GivesNothingWhereTheRecordingIsRewrittenMeanwhile) {
    kmr_test::on_terminal run(place_, {"copy", "long.kmr", "b.kmr"});
    wait_for_unfinished_file();
    make_old(place_.folder().file("long.kmr")); // another time of change
    EXPECT_THAT(run.read_until(),
                HasSubstr("kmr: b.kmr: the recording was changed meanwhile; nothing was written\r\n"));
    EXPECT_EQ(run.wait_status(), 2);
    EXPECT_THAT(names(), ElementsAre("a.kmr", "long.kmr"));
}

TEST_F(LongCopyTest, GoesOnWhereTheRecorderDoes) {
    kmr_test::on_terminal run(place_, {"copy", "long.kmr", "b.kmr"});
    wait_for_unfinished_file();
    std::ofstream(place_.folder().file("long.kmr"), std::ios::app) << "more";
    EXPECT_THAT(run.read_until(), HasSubstr("500 of 500"));
    EXPECT_EQ(run.wait_status(), 0);
    EXPECT_THAT(checked("b.kmr"), testing::StartsWith("sound "));
}

// Hours of work in a file that takes no room.
TEST_F(CopyTest, TellsHowFarItHasCome) {
    place_.folder().write_text("zeros", "");
    std::filesystem::resize_file(place_.folder().path() / "zeros", uint64_t{1} << 40);
    kmr_test::on_terminal run(place_, {"copy", "zeros", "b.kmr"});
    const std::string text = run.read_until(" left");
    EXPECT_THAT(text, HasSubstr("\r\x1b[Kfiles 0 of 1, "));
    EXPECT_THAT(text, HasSubstr(" of 1099.5 GB, "));
    kill(run.child(), SIGINT);
    EXPECT_EQ(run.wait_status(), -SIGINT);
    EXPECT_THAT(names(), ElementsAre("a.kmr", "zeros"));
}

} // namespace
