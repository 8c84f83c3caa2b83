// A frame that an index record ought to name.
#pragma once

#include "scan/video.hpp"

#include <cstdint>
#include <optional>

namespace kmr::scan {

struct indexed_frame {
    uint64_t offset = 0;
    uint32_t number = 0;
    uint32_t stamp = 0;
    int64_t stream_ms = 0;
    uint32_t clock_run = 0;
    picture_size own_size = {}; // of its parameter sets, where it has some
    // Its header says something else than its picture: with a record or without, the finding on it covers both.
    bool record_optional = false;
    // No picture of an I-frame is behind it, which is a finding only if the recording has such pictures elsewhere.
    bool doubtful = false;
    // Since the I-frame before it: damage or numbers that do not go on, so that bytes may have come or gone there.
    bool behind_break = false;
    bool frames_missing = false; // numbers among them that never came
    bool repeated = false;       // number and stamp have been met before
    // I-frames in front that never came, by its number, where they follow each other at one distance of numbers.
    std::optional<uint32_t> i_frames_missing = {};

    // The frames in front may miss their records by another distance.
    bool begins_anew() const { return behind_break && !repeated; }
};

} // namespace kmr::scan
