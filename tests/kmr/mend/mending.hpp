// Recordings that are mended and taken back by the program.
#pragma once

#include "tests/kmr/program.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace kmr_test {

// All that tells whether a file is the one that it was.
struct file_state {
    recording::bytes content = {};
    timespec accessed = {};
    timespec modified = {};
};

class MendingTest : public testing::Test { // NOLINT(readability-identifier-naming): a suite of tests
protected:
    // Composed, with dates of long ago: 1400000000.123456789 and a second later.
    void compose(const std::string& name, const words& more = {}) const;
    file_state composed(const std::string& name, const words& more) const;
    file_state state_of(const std::string& name) const;
    recording::bytes content_of(const std::string& name) const { return state_of(name).content; }
    void expect_state(const std::string& name, const file_state& state) const;

    // Without a terminal: who runs the tests may sit at one.
    run::result kmr(const words& arguments, const words& environment = {}) const;
    std::vector<std::string> files() const; // by name

    void expect_mended(const std::string& name) const; // no error, and nothing to do

    workplace place_;
};

} // namespace kmr_test
