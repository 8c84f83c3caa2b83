// The program in a process that fails the calls that a test names: the linker leads them to failing_calls.cpp.
#pragma once

#include "tests/scan/compose.hpp"
#include "tests/support/scratch.hpp"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace kmr_test {

using words = std::vector<std::string>;

// What becomes of the program's calls. Calls count from 1.
struct call_plan {
    int bad_read = 0;
    int bad_write = 0;
    bool lasts = false;          // those behind it fail as well
    int error = EIO;             // 0: gives nothing
    bool is_rewritten = false;   // each look at an open file shows a later date
    bool is_interrupted = false; // each other call at a terminal is interrupted by a signal
    int terminal = -1;           // its standard input
    const char* err = nullptr;   // its standard error, where that is no file of the test
    int reads = 0;               // so far
    int writes = 0;

    bool is_bad(int call, int bad) const { return bad != 0 && (call == bad || (lasts && call > bad)); }
    bool has_failed() const {
        return (bad_read != 0 && reads >= bad_read) || (bad_write != 0 && writes >= bad_write);
    }
};

struct told {
    int status = -1;
    std::string out = {};
    std::string err = {};
};

// A folder with the recording "a.kmr".
class FailingCallsTest : public testing::Test { // NOLINT(readability-identifier-naming): a suite of tests
protected:
    ~FailingCallsTest() override;

    void set(const recording::bytes& content) const { place_.write("a.kmr", content); }
    told kmr(words arguments, const call_plan& plan = {}) const;
    static bool has_failed(); // a call of the last run

    recording::bytes content(const std::string& name = "a.kmr") const {
        return scratch::read_file(place_.file(name));
    }
    words names() const;

    const scratch::folder place_ = {};

private:
    const scratch::folder told_ = {};
};

} // namespace kmr_test
