// Frames whose index record has not been met where it was to be expected.
#pragma once

#include "scan/finding.hpp"
#include "scan/indexed_frame.hpp"

#include <optional>
#include <vector>

namespace kmr::scan {

// Offsets as records tell them.
class absent_frames {
public:
    void add(const indexed_frame& frame);

    // The frame there has a record after all; whether it was absent.
    bool found_late(uint32_t offset);

    // A record named the frame there before its turn.
    void name_ahead(uint32_t offset);

    // One finding for all of them. `pictures_known`: doubtful frames had their own.
    std::optional<finding> told(bool pictures_known) const;

private:
    struct absent_frame {
        uint32_t offset = 0;
        uint32_t number = 0;
        int64_t stream_ms = 0;
        bool doubtful = false;
    };

    std::vector<absent_frame> first_ = {}; // so many as are remembered
    uint64_t count_ = 0;
    uint64_t doubtful_count_ = 0; // among them
    std::vector<uint32_t> named_ahead_ = {};
};

} // namespace kmr::scan
