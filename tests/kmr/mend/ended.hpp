// A recording that a program was about to mend, or to take back, when something happened to it.
#pragma once

#include "tests/kmr/mend/mending.hpp"

namespace kmr_test {

// "a.kmr" is torn in the middle and cut off in the last frame: to be mended are a cover, counts and a new index.
class EndedTest : public MendingTest { // NOLINT(readability-identifier-naming): a suite of tests
protected:
    void SetUp() override;

    // Nothing there but the damaged recording, or the mended one and its way back.
    void start_over(bool from_mended) const;

    // By undo to the beginning, dates too, whatever was done.
    void expect_way_back() const;
    // By repair to what an undisturbed one gives, and back behind it.
    void expect_way_forward() const;

    bool has_undo_file() const;
    bool is_interrupted() const; // by its undo file
    bool is_there(const std::string& name) const;

    file_state damaged_ = {};
    recording::bytes mended_ = {};
    recording::bytes way_back_ = {};
};

} // namespace kmr_test
