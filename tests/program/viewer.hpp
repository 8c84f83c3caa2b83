// The program in a technician's place: a folder of its own with the modules in ./lib.
#pragma once

#include "tests/support/run_program.hpp"
#include "tests/support/scratch.hpp"

#include <string>
#include <vector>

namespace viewer {

using arguments = std::vector<std::string>;

class place {
public:
    // ./lib holds the plain-file modules; an empty `modules` leaves it out.
    explicit place(const std::filesystem::path& modules = KMR_MODULES);

    const scratch::folder& folder() const { return folder_; }
    const std::filesystem::path& path() const { return folder_.path(); }
    bool has(const std::string& name) const { return std::filesystem::exists(path() / name); }
    std::string text_of(const std::string& name) const { return scratch::read_text(path() / name); }

    // Makes a file with the composer.
    void compose(const arguments& words) const;

    // The output comes as the goldens have it: the program is called "kmr_viewer", its time "N".
    run::result run(const arguments& words, const std::vector<std::string>& environment = {}) const;
    // As run, but expects exit status 0 and silence on standard error.
    std::string report(const arguments& words, const std::vector<std::string>& environment = {}) const;

private:
    scratch::folder folder_;
};

std::string normalised(std::string output);

// A file of golden/: command lines, "$ kmr_make ..." for files that the composer makes, then one of the program, and
// all that it prints. Words with blanks in them stand in quotation marks.
struct golden {
    std::vector<arguments> compositions;
    std::vector<std::string> environment;
    arguments words;
    std::string report;
};

std::vector<std::string> golden_names();
golden read_golden(const std::string& name);

std::string replaced(std::string text, const std::string& what, const std::string& with);

} // namespace viewer
