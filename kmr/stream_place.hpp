// The places of a recording that a user has named.
#pragma once

#include "kmr/command.hpp"
#include "kmr/frame_selection.hpp"
#include "scan/place.hpp"

#include <optional>
#include <string>

namespace kmr::program {

class stream_places {
public:
    stream_places(const std::string& path, scan::byte_source& source, session& with)
        : path_(path), source_(source), with_(with) {}

    // False: the recording has no such place, and that is told.
    bool take(const std::optional<frame_place>& named, std::optional<scan::place>& into);

private:
    const std::string& path_;
    scan::byte_source& source_;
    session& with_;
    std::optional<int64_t> start_ms_ = {}; // once it was asked for
};

} // namespace kmr::program
