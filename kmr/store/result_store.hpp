// Verdicts, counts and findings of recordings, kept from run to run. docs/fleet.md describes the tables.
#pragma once

#include "kmr/store/database.hpp"
#include "scan/report.hpp"

#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kmr::store {

// What tells that a file has been written.
struct file_stamp {
    uint64_t size = 0;
    int64_t modified_ns = 0; // since 1970, modulo 2^64

    bool operator==(const file_stamp&) const = default;
};

file_stamp stamp_of(uint64_t size, const timespec& modified);

// Of a file as the host has it now, links followed; none where it cannot be asked, or is no regular file.
std::optional<file_stamp> stamp_of(const std::string& path);

struct run_totals {
    uint64_t recordings = 0;
    uint64_t read = 0; // not taken from the database
    uint64_t gone = 0; // found to be gone by this run
};

// Any number of threads may use one, any number of processes one file. All of it throws store_error.
class result_store {
public:
    // Makes the file where there is none. `version` is that of the program: a judgement of another one is not taken.
    result_store(const std::string& file, std::string host, std::string version);
    ~result_store();
    result_store(const result_store&) = delete;
    result_store& operator=(const result_store&) = delete;

    // What is known of a file that is as it was when it was read, listing findings up to the same cap; none where it
    // must be read.
    std::optional<scan::report> unchanged(const std::string& path, const file_stamp& now,
                                          size_t most_per_code);

    // Keeps a judgement. The stamp is that of the opened file; none where it could not be opened.
    void keep(const std::string& path, const std::optional<file_stamp>& stamp, const scan::report& judged,
              size_t most_per_code);

    // Marks what once was below these folders, or these files, and is not there any more. Ends the run.
    run_totals finish(const std::vector<std::string>& roots);

private:
    class implementation;
    std::string file_;
    std::unique_ptr<implementation> implementation_;
};

// Takes over what `from` knows later than `into` does, of any host; how many recordings that were. `from` stays as it is.
uint64_t merge(const std::string& into, const std::string& from);

// The name of this machine.
std::string host_name();

} // namespace kmr::store
