// A recording seen otherwise than it is, so that the scan tells what would be there.
#pragma once

#include "analyse/format/file_header.h"
#include "analyse/format/frame_header.h"
#include "mend/stamp_line.hpp"
#include "scan/byte_source.hpp"
#include "scan/events.hpp"

#include <cstdint>
#include <span>
#include <vector>

namespace kmr::mend {

// Some headers have lengths that contradict each other, so that nothing proves others, some another stamp, and some bytes
// are left out. A header without lengths still is one: the frame in front of it may be believed for it alone.
class with_other_headers final : public scan::byte_source {
public:
    explicit with_other_headers(scan::byte_source& source) : source_(source) {}
    void break_lengths(uint64_t offset) { without_lengths_.push_back(offset); }
    void set(const std::vector<right_stamp>& stamps); // those from before stay
    std::span<const right_stamp> stamps() const { return stamps_; }

    void leave_out(uint64_t from, uint64_t to); // and no others
    uint64_t gap() const { return gap_; }
    uint64_t left_out() const { return left_out_; }
    bool leaves_out_within() const { return left_out_ > 0 && gap_ + left_out_ < source_.size(); }
    uint64_t place_of(uint64_t offset) const { return offset < gap_ ? offset : offset + left_out_; }

    uint64_t size() const override { return source_.size() - left_out_; }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override;
    scan::source_change change() const override { return source_.change(); }

private:
    scan::read_result read_pieces(uint64_t offset, std::span<uint8_t> into);

    scan::byte_source& source_;
    uint64_t gap_ = 0; // where bytes are left out
    uint64_t left_out_ = 0;
    std::vector<uint64_t> without_lengths_ = {};
    std::vector<right_stamp> stamps_ = {}; // by offset
};

// What stands behind the index, as if it were a recording with the same file header.
class behind_index final : public scan::byte_source {
public:
    behind_index(scan::byte_source& source, const scan::trailing_event& rest)
        : source_(source), rest_(rest) {}

    uint64_t size() const override { return KMR_FILE_HEADER_SIZE + rest_.length; }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override;

private:
    scan::byte_source& source_;
    scan::trailing_event rest_;
};

} // namespace kmr::mend
