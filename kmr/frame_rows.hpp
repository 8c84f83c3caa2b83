// One record a frame, as a table, as CSV or as JSON.
#pragma once

#include "kmr/output/times.hpp"
#include "kmr/user_data_text.hpp"
#include "scan/judge.hpp"

#include <memory>
#include <optional>
#include <string>

namespace kmr::program {

struct frame_row {
    const scan::seen_frame& seen;
    std::optional<int64_t> time_ms;                       // wall clock
    const std::vector<segment_text>* user_data = nullptr; // null: not asked for
};

enum class frame_format : uint8_t {
    table,
    csv,
    json,
    json_columns, // the names of the columns as the heading, and then the values of each frame; without the wall clock
};

class frame_writer {
public:
    frame_writer() = default;
    frame_writer(const frame_writer&) = delete;
    frame_writer& operator=(const frame_writer&) = delete;
    virtual ~frame_writer() = default;

    virtual void append_heading(std::string& to, bool user_data) = 0;
    virtual void append(std::string& to, const frame_row& row) = 0;

    static std::unique_ptr<frame_writer> make(frame_format format, output::time_zone zone);
};

} // namespace kmr::program
