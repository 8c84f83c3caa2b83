// Where the index block stands, and whether it is whole. A header that looks like the index's is one only where
// something else bears it out; else it belongs to a frame whose stamp is 0.
#pragma once

#include "scan/events.hpp"
#include "scan/window.hpp"

#include <optional>

namespace kmr::scan {

class index_places {
public:
    explicit index_places(window& recording);

    // Where the trailer at the end of the file says that the block begins, when the head there agrees.
    std::optional<uint64_t> expected() const { return agreed_ ? named_ : std::nullopt; }

    // The start that the trailer names, borne out or not: the last guess where nothing else is left.
    std::optional<uint64_t> named() const { return named_; }

    // Frames end here at the latest.
    uint64_t frames_end() const { return agreed_ ? *named_ : recording_.size(); }

    enum class proof : uint8_t {
        none,    // no index begins here
        runs_on, // all that speaks for it is that it would not fit into the file
        established,
    };
    // `header` is what stands at `offset`. Throws read_stopped.
    proof begins_at(uint64_t offset, const kmr_frame_header& header);

    // The block that begins at `offset`. Throws read_stopped.
    index_event describe(uint64_t offset);

private:
    bool names(uint64_t offset, const kmr_frame_header& header) const;
    bool counts_its_records(uint64_t offset, const kmr_frame_header& header);
    bool has_trailer(uint64_t offset, uint64_t length);

    window& recording_;
    std::optional<uint64_t> named_ = {};
    bool agreed_ = false;
};

} // namespace kmr::scan
