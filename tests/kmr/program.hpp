// Runs kmr and kmr_make as a user would, in a folder of their own and in UTC.
#pragma once

#include "tests/support/run_program.hpp"
#include "tests/support/scratch.hpp"

#include <string>
#include <vector>

namespace kmr_test {

using words = std::vector<std::string>;

class workplace {
public:
    // A recording of ten frames with data of 100 and 50 bytes, every fifth an I-frame, and what else is asked for.
    std::string compose(const std::string& name, const words& more = {}) const;

    run::result kmr(const words& arguments, run::options how = {}) const;
    run::result shell(const std::string& script, const words& arguments = {}) const; // "$1" is the program

    const scratch::folder& folder() const { return folder_; }

private:
    scratch::folder folder_;
};

} // namespace kmr_test
