// A database in a folder that goes away, and recordings of every verdict to put into it.
#pragma once

#include "kmr/store/result_store.hpp"
#include "tests/scan/compose.hpp"
#include "tests/support/scratch.hpp"

#include <string>
#include <vector>

namespace store_test {

inline constexpr size_t usual_cap = 100;
inline constexpr kmr::store::file_stamp old_stamp = {.size = 1372, .modified_ns = 1420167845123456789};

// Recordings of tests/scan/compose.hpp with one thing wrong, or nothing.
recording::bytes sound_recording();
recording::bytes unfinished_recording();
recording::bytes torn_recording();                      // frame 3, at 336, is 96 torn bytes
recording::bytes wrong_index_recording();               // the second record names a byte too far
recording::bytes many_findings_recording(size_t count); // as many frames-lost

// All that a report tells but what only `show` needs.
std::vector<std::string> told_by(const kmr::scan::report& of);

class folder_with_database {
public:
    std::string database() const { return folder.file("results.db"); }
    kmr::store::result_store open(const std::string& host = "north",
                                  const std::string& version = "1.0") const {
        return {database(), host, version};
    }
    // Each row as its columns with "|" between, null as "-".
    std::vector<std::string> ask(const std::string& sql) const;

    scratch::folder folder = {};
};

} // namespace store_test
