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

// Some headers have lengths that contradict each other, so that nothing proves others, and some another stamp. A header
// without lengths still is one: the frame in front of it may be believed for it alone.
class with_other_headers final : public scan::byte_source {
public:
    explicit with_other_headers(scan::byte_source& source) : source_(source) {}
    void break_lengths(uint64_t offset) { without_lengths_.push_back(offset); }
    void set(const std::vector<right_stamp>& stamps); // those from before stay
    std::span<const right_stamp> stamps() const { return stamps_; }

    uint64_t size() const override { return source_.size(); }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override;
    scan::source_change change() const override { return source_.change(); }

private:
    scan::byte_source& source_;
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
