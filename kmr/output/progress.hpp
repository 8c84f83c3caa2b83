// Tells how far long work has come, where somebody sits at a terminal.
#pragma once

#include "kmr/output/messages.hpp"

#include <chrono>
#include <cstdint>
#include <string>

namespace kmr::output {

struct work_done {
    uint64_t files = 0;
    uint64_t bytes = 0;
};

// "files 3 of 40, 1.2 of 18.4 GB, 310 MB/s, 0:55 left"
std::string progress_line(const work_done& done, const work_done& all, double seconds);

class progress {
public:
    progress(messages& on, const work_done& all) : on_(on), all_(all) {}
    ~progress() { on_.show_progress({}); }
    progress(const progress&) = delete;
    progress& operator=(const progress&) = delete;

    void show(const work_done& done);

private:
    using steady = std::chrono::steady_clock;

    messages& on_;
    work_done all_;
    steady::time_point begun_ = steady::now();
    steady::time_point shown_ = {};
};

} // namespace kmr::output
