// Judging with a memory: what has not changed since it was judged is not read again.
#pragma once

#include "kmr/judged_file.hpp"
#include "kmr/store/result_store.hpp"

#include <optional>
#include <string>

namespace kmr::program {

struct kept_results_options {
    std::string database = {}; // empty: nothing is kept
    std::string host = {};     // empty: the name of this machine
    bool read_all = false;     // also what has not changed
};

class kept_results {
public:
    // Throws store_error where the database cannot be used.
    explicit kept_results(const kept_results_options& options);

    // Whether a file met in a folder is the database, or one of those that it keeps beside it.
    bool is_own(const std::string& path) const;

    // Any number of threads may ask at once.
    judged_file judge(const found_file& file, const scan::judge_options& options, scan::observer& watching);

    // When all files were judged: what is not there any more is marked.
    void finish(const std::vector<std::string>& roots);

private:
    bool read_all_;
    std::string database_;
    std::optional<store::result_store> store_ = {};
};

} // namespace kmr::program
