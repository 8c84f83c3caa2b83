// What `check` says about a file, and about all of them.
#pragma once

#include "kmr/judged_file.hpp"
#include "kmr/output/times.hpp"

#include <array>
#include <string>

namespace kmr::program {

struct check_style {
    bool json = false;
    bool verbose = false; // a line for each finding
    bool colored = false;
};

// One line, with `verbose` one more for each finding.
void append_checked(std::string& to, const judged_file& file, const check_style& style, output::clock& clock);

// One object of kmr.check/1 and a line feed.
void append_checked_json(std::string& to, const judged_file& file, output::clock& clock);

struct check_totals {
    std::array<uint64_t, 5> files = {}; // by verdict
    uint64_t skipped = 0;               // met in folders, and no recordings
    uint64_t frames = 0;
    uint64_t bytes = 0;
    int64_t duration_ms = 0;

    void add(const scan::report& judged);
    uint64_t all_files() const;
};

void append_totals(std::string& to, const check_totals& totals);

} // namespace kmr::program
