// Runs kmr_make in a folder of its own and hands back what it wrote.
#pragma once

#include "tests/support/recording_bytes.hpp"
#include "tests/support/run_program.hpp"
#include "tests/support/scratch.hpp"

#include <string>
#include <vector>

class composer {
public:
    using words = std::vector<std::string>;

    // The composed recording; a run that fails, or says anything on standard error, fails the test.
    recording::bytes recording_of(const words& arguments) const;
    recording::bytes index_file_of(const words& arguments) const;

    // Any run in the folder.
    run::result run_with(const words& arguments, const words& environment = {}) const;

    // Names of the files in the folder.
    words files() const;

    const scratch::folder& folder() const { return folder_; }

private:
    recording::bytes output_of(words arguments, const std::string& option) const;

    scratch::folder folder_;
};

// Two frames, an I-frame of 8 and a P-frame of 3 bytes, so small that a person can work out each byte: file header
// at 0, frames at 88 and 128, index at 163, 295 bytes in all.
extern const composer::words two_small_frames;

composer::words operator+(composer::words all, const composer::words& more);
