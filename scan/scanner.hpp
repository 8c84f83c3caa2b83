// What in a recording is a frame: the one place where it is decided.
//
// A scan begins behind the file header and steps from frame to frame. Where the chain breaks it searches forward for
// the next frame to be believed: a header of an ordinary or inserted frame whose successor is a header too, or the
// index, or the end. When that one is known, the bytes between are gone through once more for frames that stand alone
// in the damage: whole, in front of it, and with number and stamp between their neighbours'. Frames whose number and
// stamp both lie behind the last good one's are an older recording on the same blocks and no frames of this one.
//
// Every byte is looked at twice at the most, plus 32 to 52 bytes for each header that is looked at: work is linear in
// the size, memory is one window. The scanner reads its source and nothing else, and throws nothing but bad_alloc.
#pragma once

#include "scan/byte_source.hpp"
#include "scan/events.hpp"

#include <memory>
#include <optional>

namespace kmr::scan {

class scanner {
public:
    // The source must outlive the scanner.
    explicit scanner(byte_source& source);
    ~scanner();

    // The next event. end_event comes last and is repeated from then on.
    event next();

    // The index block that the trailer at the end of the file names, when the head there agrees. Known before the
    // first event; the scan may still find another one first, or none where it breaks off.
    std::optional<index_event> expected_index() const;

private:
    class state;
    std::unique_ptr<state> state_;
};

} // namespace kmr::scan
