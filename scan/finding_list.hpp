// Collects findings: at most so many of one code, all of them counted.
#pragma once

#include "scan/finding.hpp"

#include <array>
#include <vector>

namespace kmr::scan {

class finding_list {
public:
    explicit finding_list(size_t most_per_code) : most_per_code_(most_per_code) {}

    void add(const finding& found) {
        if (found_[static_cast<size_t>(found.code)]++ < most_per_code_)
            listed_.push_back(found);
        else
            ++left_out_;
    }

    size_t most_per_code() const { return most_per_code_; }
    uint64_t left_out() const { return left_out_; }
    uint64_t count(finding_code code) const { return found_[static_cast<size_t>(code)]; }
    const std::array<uint64_t, finding_code_count>& counts() const { return found_; }

    // By offset, then as in the table, then as they came. Leaves the list empty.
    std::vector<finding> take_sorted();

private:
    size_t most_per_code_;
    uint64_t left_out_ = 0;
    std::array<uint64_t, finding_code_count> found_ = {};
    std::vector<finding> listed_ = {};
};

} // namespace kmr::scan
