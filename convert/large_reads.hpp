// A recording read once, in large pieces: what looks at the beginning of a frame and what takes its data are served from
// the same memory.
#pragma once

#include "scan/byte_source.hpp"

#include <array>
#include <vector>

namespace kmr::convert {

class large_reads final : public scan::byte_source {
public:
    // The source must outlive it.
    explicit large_reads(scan::byte_source& source) : source_(source) {}

    uint64_t size() const override { return source_.size(); }
    scan::source_change change() const override { return source_.change(); }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override;

    struct seen {
        std::span<const uint8_t> bytes = {}; // fewer than asked for: the source ends there
        int error = 0;
    };
    // Valid until the next call of this or of `read_at`.
    seen view(uint64_t offset, size_t length);

private:
    // Two: data of a frame may begin in one and end in the next, and the scan has seen the next one already.
    static constexpr uint64_t piece_size = uint64_t{1} << 20;
    struct piece {
        uint64_t number = UINT64_MAX;
        std::vector<uint8_t> bytes = {};
        size_t filled = 0;
    };

    struct held {
        const piece* bytes = nullptr; // null: the read failed
        int error = 0;
    };
    held hold(uint64_t number);

    scan::byte_source& source_;
    std::array<piece, 2> pieces_ = {};
    size_t latest_ = 0;
    std::vector<uint8_t> joined_ = {};
};

} // namespace kmr::convert
