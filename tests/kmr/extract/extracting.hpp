// Streams taken out of recordings by the program.
#pragma once

#include "tests/kmr/program.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace kmr_test {

class ExtractingTest : public testing::Test { // NOLINT(readability-identifier-naming): a suite of tests
protected:
    // 75 frames of real video; I-frames are 1, 26 and 51, frames are 40 ms apart.
    void compose_clip(const std::string& name, const std::string& clip, const words& more = {}) const;

    run::result extract(const words& arguments, const words& environment = {}) const;
    recording::bytes content(const std::string& name) const;
    static recording::bytes clip(const std::string& name);
    std::vector<std::string> names() const;

    // Status 2, these words, and no file more or less.
    void expect_refused(const words& arguments, const std::string& message) const;

    workplace place_;
};

} // namespace kmr_test
