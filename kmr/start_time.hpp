// When a recording began.
#pragma once

#include "kmr/command.hpp"
#include "scan/byte_source.hpp"

#include <cstdint>
#include <optional>

namespace kmr::program {

// The wall clock at stream time 0. Where header and index leave it open whether the clock ran on, the whole recording is
// asked for it.
std::optional<int64_t> start_of(scan::byte_source& source, session& with);

} // namespace kmr::program
