// Which stamps of a recording are wrong: few in a row, between frames that are in line with each other.
#pragma once

#include "analyse/format/frame_header.h"
#include "mend/covers.hpp"

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace kmr::mend {

// A frame's stamp as it ought to be.
struct right_stamp {
    uint64_t offset = 0; // of its header
    uint32_t stamp = 0;
};

class stamp_line {
public:
    explicit stamp_line(uint32_t frame_rate) : frame_rate_(frame_rate) {}

    // The ordinary frames, in the order of the file.
    void take(uint64_t offset, const kmr_frame_header& header);

    // Once, behind the last one: by offset, and no more than a plan may hold and one more.
    std::vector<right_stamp> finish();

    static constexpr size_t most_in_a_row = 8; // more than these are a clock that was set

private:
    struct stamped {
        uint64_t offset = 0;
        kmr_frame_header header = {};
    };

    void settle_front();
    size_t count_wrong() const;
    bool are_wrong(size_t count) const;
    bool rises_to(size_t at) const;
    static int64_t steps(const stamped& from, const stamped& to);
    bool fits(const stamped& from, const stamped& to) const;
    bool usual_step_proves(size_t count) const;
    int64_t error_past(size_t count) const;
    int64_t error(const stamped& from, const stamped& to) const;
    void set_right(size_t count);
    void accept_front();
    int64_t longest(int64_t numbers) const;

    uint32_t frame_rate_;
    std::optional<stamped> before_ = {}; // the last frame whose stamp is settled
    std::deque<stamped> waiting_ = {};
    int64_t last_step_ = 0;
    int64_t usual_step_ = 0; // the shorter of the last two: one leap makes no other step usual
    std::vector<right_stamp> found_ = {};
};

} // namespace kmr::mend
