// The commands that change recordings, where reads and writes fail, where somebody writes to the recording meanwhile, and
// at a terminal that is only their standard input.
#include "tests/kmr/mend/failing_calls.hpp"

#include <algorithm>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pty.h>
#include <unistd.h>

namespace {

using kmr_test::call_plan;
using kmr_test::told;
using kmr_test::words;
using recording::bytes;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

constexpr char io_error[] = "kmr: a.kmr: Input/output error\n";
constexpr char no_reading[] = "kmr: a.kmr: cannot be read\n"; // where what would come out was looked at

bytes sound() {
    return scan_test::recording_of(scan_test::sound_frames(10));
}

// The header of frame 3, at 336, is gone.
bytes torn() {
    bytes file = sound();
    std::fill_n(file.begin() + 336, 32, uint8_t{0});
    return file;
}

class MendCallsTest : public kmr_test::FailingCallsTest {
protected:
    void start_over(const bytes& file) const {
        for (const std::string& name : names())
            unlink(place_.file(name).c_str());
        set(file);
    }

    // Each read fails in turn: it is done all the same, or refused and nothing is changed. Gives what was said then.
    words said_at_every_read(const bytes& file, const words& arguments) const {
        start_over(file);
        EXPECT_EQ(kmr(arguments).status, 0);
        const bytes done = content();
        const words done_names = names();
        words said;
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE(nth);
            start_over(file);
            const told run = kmr(arguments, {.bad_read = nth});
            EXPECT_THAT(run.status, AnyOf(0, 2));
            EXPECT_EQ(content(), run.status == 0 ? done : file);
            EXPECT_EQ(names(), run.status == 0 ? done_names : words{"a.kmr"});
            EXPECT_EQ(run.err.empty(), run.status == 0);
            if (!has_failed())
                return said;
            if (run.status == 2)
                said.push_back(run.err);
        }
    }
};

TEST_F(MendCallsTest, ATagIsNotSetWhereAReadFails) {
    const words said = said_at_every_read(sound(), {"tag", "add", "a.kmr", "0:00.200", "Gate"});
    EXPECT_GT(said.size(), 10U);
    EXPECT_THAT(said, Each(io_error));
}

TEST_F(MendCallsTest, TagsAreNotListedWhereAReadFails) {
    set(sound());
    for (int nth = 1;; ++nth) {
        const told run = kmr({"tag", "a.kmr"}, {.bad_read = nth});
        if (!has_failed()) {
            EXPECT_GT(nth, 3);
            EXPECT_EQ(run.status, 0);
            break;
        }
        EXPECT_EQ(run.status, 2) << nth;
        EXPECT_EQ(run.err, io_error) << nth;
    }
}

TEST_F(MendCallsTest, NothingIsMendedWhereAReadFails) {
    for (const words& how :
         {words{"repair", "-y", "a.kmr"}, words{"repair", "-y", "--like-recorder", "a.kmr"}}) {
        const words said = said_at_every_read(torn(), how);
        EXPECT_GT(said.size(), 10U);
        EXPECT_THAT(said, Each(AnyOf(io_error, "kmr: a.kmr: not mended: Input/output error\n", no_reading)));
    }
}

TEST_F(MendCallsTest, NothingIsCopiedWhereAReadFails) {
    for (const words& how : {words{"repair", "-o", "b.kmr", "a.kmr"}, words{"copy", "a.kmr", "b.kmr"}}) {
        const words said = said_at_every_read(torn(), how);
        EXPECT_GT(said.size(), 10U);
        EXPECT_THAT(said, Each(AnyOf(io_error, "kmr: b.kmr: Input/output error\n", no_reading)));
    }
}

// A file that gives less than it has has become shorter.
TEST_F(MendCallsTest, NothingIsCopiedOfWhatBecomesShorter) {
    for (int nth = 1;; ++nth) {
        SCOPED_TRACE(nth);
        start_over(sound());
        const told run = kmr({"copy", "a.kmr", "b.kmr"}, {.bad_read = nth, .lasts = true, .error = 0});
        if (!has_failed()) {
            EXPECT_GT(nth, 5);
            EXPECT_EQ(run.status, 0);
            break;
        }
        EXPECT_EQ(run.status, 2);
        EXPECT_NE(run.err, "");
        EXPECT_THAT(names(), ElementsAre("a.kmr"));
    }
}

TEST_F(MendCallsTest, NothingIsChangedWhereAFileIsWrittenMeanwhile) {
    set(torn());
    for (const words& how :
         {words{"-y"}, words{"-n"}, words{"-y", "--like-recorder"}, words{"-o", "b.kmr"}}) {
        words arguments = {"repair", "a.kmr"};
        arguments.insert(arguments.end(), how.begin(), how.end());
        const told run = kmr(arguments, {.is_rewritten = true});
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.err, "kmr: a.kmr: changed while it was read: is it still being recorded?\n");
    }
    EXPECT_EQ(content(), torn());
    set(sound());
    const told tag = kmr({"tag", "add", "a.kmr", "0", "Gate"}, {.is_rewritten = true});
    EXPECT_EQ(tag.status, 2);
    EXPECT_EQ(tag.err, "kmr: a.kmr: it was changed meanwhile; nothing was written\n");
    EXPECT_EQ(content(), sound());
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

// The text of a tag is written first, then the count of tags.
TEST_F(MendCallsTest, WithoutAnUndoFileThereIsNoWayBack) {
    set(sound());
    const told run = kmr({"tag", "add", "--no-undo", "a.kmr", "0", "Gate"}, {.bad_write = 2});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err,
              "kmr: a.kmr: Input/output error; not finished, and without an undo file there is no way "
              "back\n");
    EXPECT_NE(content(), sound());
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

TEST_F(MendCallsTest, WithAnUndoFileThereIsAWayBackFromEveryWrite) {
    size_t interrupted = 0;
    for (int nth = 1;; ++nth) {
        SCOPED_TRACE(nth);
        start_over(sound());
        const told run = kmr({"tag", "add", "a.kmr", "0", "Gate"}, {.bad_write = nth, .lasts = true});
        if (!has_failed()) {
            EXPECT_EQ(run.status, 0);
            break;
        }
        EXPECT_EQ(run.status, 2);
        if (names() == words{"a.kmr"}) {
            EXPECT_EQ(run.err, io_error);
            EXPECT_EQ(content(), sound());
            continue;
        }
        ++interrupted;
        EXPECT_EQ(run.err,
                  "kmr: a.kmr: Input/output error; not finished: kmr undo or kmr repair takes back what "
                  "was written\n");
        EXPECT_EQ(kmr({"undo", "a.kmr"}).status, 0);
        EXPECT_EQ(content(), sound());
    }
    EXPECT_EQ(interrupted, 3U); // the text, the count, and the mark of the undo file
}

// The way back is there, and no step of it can be done.
TEST_F(MendCallsTest, AnInterruptedChangeThatCannotBeTakenBackStaysOne) {
    set(torn());
    ASSERT_EQ(kmr({"repair", "-y", "a.kmr"}).status, 0);
    const bytes mended = content();
    bytes way_back = content("a.kmr.kmr-undo");
    const std::string changing = "changing"; // the state stands at 16
    std::copy(changing.begin(), changing.end(), way_back.begin() + 16);
    place_.write("a.kmr.kmr-undo", way_back);
    const told run = kmr({"repair", "-y", "a.kmr"}, {.bad_write = 1, .lasts = true});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, StartsWith("kmr: a.kmr: Input/output error; not finished: "));
    EXPECT_EQ(content(), mended);
    EXPECT_EQ(kmr({"undo", "a.kmr"}).status, 0);
    EXPECT_EQ(content(), torn());
}

// --- a terminal that is only the standard input ---

class OnlyInputTest : public MendCallsTest {
protected:
    OnlyInputTest() {
        EXPECT_EQ(openpty(&master_, &terminal_, nullptr, nullptr, nullptr), 0);
        set(torn());
    }
    ~OnlyInputTest() override {
        close(master_);
        close(terminal_);
    }

    told repair(const std::string& typed, call_plan plan = {}) const {
        EXPECT_EQ(write(master_, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
        plan.terminal = terminal_;
        return kmr({"repair", "a.kmr"}, plan);
    }

    int master_ = -1;
    int terminal_ = -1;
};

constexpr char question[] = "a.kmr: mend it? [y/N] ";

TEST_F(OnlyInputTest, IsAskedAndAnswers) {
    const told no = repair("n\n");
    EXPECT_EQ(no.status, 1);
    EXPECT_EQ(no.err, question + std::string("kmr: a.kmr: declined; nothing was written\n"));
    EXPECT_EQ(content(), torn());
    const told yes = repair("\t Y\x16\r \n"); // with a return that is quoted
    EXPECT_EQ(yes.err, question);
    EXPECT_EQ(yes.status, 0);
    EXPECT_THAT(yes.out, EndsWith("  mended; kmr undo takes it back\n"));
}

TEST_F(OnlyInputTest, IsAskedWholeWhateverInterrupts) {
    const told run = repair("yes\n", {.is_interrupted = true});
    EXPECT_EQ(run.err, question);
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, EndsWith("  mended; kmr undo takes it back\n"));
}

TEST_F(OnlyInputTest, AnswersNothingWhereItCannotBeAsked) {
    EXPECT_EQ(repair("y\n", {.err = "/dev/full"}).status, 2);
    EXPECT_EQ(content(), torn());
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

} // namespace
