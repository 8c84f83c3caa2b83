// Output that is interrupted, refused, taken in parts, or lost on closing.
#include "kmr/output/messages.hpp"
#include "kmr/output/progress.hpp"
#include "kmr/output/standard_output.hpp"

#include <cerrno>
#include <chrono>
#include <gmock/gmock.h>
#include <optional>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int everything = 0;
constexpr ssize_t one_byte = -1; // of an answer below: only so much is taken

std::vector<ssize_t> answers; // to the next writes: an errno, or one of the above
std::string written;
std::optional<int> closing_error; // nothing is really closed while it is there

} // namespace

// The linker leads the program's calls of these here.
extern "C" ssize_t __wrap_write(int, const void* bytes, size_t count) {
    const ssize_t answer = answers.empty() ? everything : answers.front();
    if (!answers.empty())
        answers.erase(answers.begin());
    if (answer > 0) {
        errno = static_cast<int>(answer);
        return -1;
    }
    const size_t taken = answer == one_byte ? 1 : count;
    written.append(static_cast<const char*>(bytes), taken);
    return static_cast<ssize_t>(taken);
}
extern "C" int __real_close(int descriptor);
extern "C" int __wrap_close(int descriptor) {
    if (!closing_error)
        return __real_close(descriptor);
    errno = *closing_error;
    return *closing_error == 0 ? 0 : -1;
}

namespace {

using kmr::output::messages;
using kmr::output::not_written;
using kmr::output::standard_output;

class OutputCallsTest : public ::testing::Test {
protected:
    OutputCallsTest() { forget(); }
    ~OutputCallsTest() override { forget(); }

    static void forget() {
        answers.clear();
        written.clear();
        closing_error.reset();
    }

    // The error that finishing gives; 0: none.
    static int finish(standard_output& out, int error) {
        closing_error = error;
        try {
            out.finish();
        } catch (const not_written& lost) {
            return lost.error;
        }
        return 0;
    }

    messages said;
};

TEST_F(OutputCallsTest, AMessageIsWrittenWholeThoughInterruptedAndCut) {
    answers = {EINTR, one_byte, EINTR, one_byte};
    said.say("disk", "full");
    EXPECT_EQ(written, "kmr: disk: full\n");
}

TEST_F(OutputCallsTest, AMessageThatNobodyTakesIsLeft) {
    answers = {one_byte, EIO};
    said.say("lost");
    EXPECT_EQ(written, "k");
    written.clear();
    said.say("next");
    EXPECT_EQ(written, "kmr: next\n");
}

// As where a program that shares the output has set it not to wait.
TEST_F(OutputCallsTest, DataWaitForRoom) {
    standard_output out(said);
    answers = {EAGAIN, one_byte, EAGAIN, EAGAIN};
    out.write("data");
    out.flush();
    EXPECT_EQ(written, "data");
}

TEST_F(OutputCallsTest, AMessageTakesThePlaceOfProgress) {
    said.show_progress({}); // of nothing
    EXPECT_EQ(written, "");
    said.show_progress("half");
    said.say("torn");
    said.show_progress({}); // the message has erased it
    EXPECT_EQ(written, "\r\x1b[Khalf\r\x1b[Kkmr: torn\n");
    written.clear();
    said.show_progress("more");
    said.show_progress({});
    EXPECT_EQ(written, "\r\x1b[Kmore\r\x1b[K");
}

// Not in the first second, and not before the line can be read.
TEST_F(OutputCallsTest, ProgressIsShownSeldom) {
    kmr::output::progress shown(said, {.files = 2, .bytes = 0});
    shown.show({});
    EXPECT_EQ(written, "");
    std::this_thread::sleep_for(std::chrono::milliseconds(1001));
    const auto begun = std::chrono::steady_clock::now();
    shown.show({.files = 1, .bytes = 0});
    const std::string once = written;
    shown.show({.files = 2, .bytes = 0});
    const bool at_once = std::chrono::steady_clock::now() - begun < std::chrono::milliseconds(200);
    EXPECT_EQ(once, "\r\x1b[Kfiles 1 of 2, 0.0 of 0.0 B");
    EXPECT_TRUE(written == once || !at_once) << "a machine that stands still for a moment may be shown more";
}

TEST_F(OutputCallsTest, DataIsWrittenWholeThoughInterruptedAndCut) {
    standard_output out(said);
    out.write("sound\n");
    answers = {EINTR, one_byte, EINTR};
    EXPECT_EQ(finish(out, 0), 0);
    EXPECT_EQ(written, "sound\n");
}

TEST_F(OutputCallsTest, DataThatIsNotTakenIsAnError) {
    standard_output out(said);
    out.write("sound\n");
    answers = {one_byte, ENOSPC};
    EXPECT_EQ(finish(out, 0), ENOSPC);
}

TEST_F(OutputCallsTest, DataThatIsLostOnClosingIsAnError) {
    standard_output out(said);
    EXPECT_EQ(finish(out, EIO), EIO);
    standard_output closed(said);
    EXPECT_EQ(finish(closed, EBADF), 0) << "it wrote nothing, and nothing is lost";
}

} // namespace
