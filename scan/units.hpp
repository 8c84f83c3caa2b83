// The units of an H.264 or H.265 stream, as start codes part them.
#pragma once

#include "scan/user_data.hpp"
#include "scan/video.hpp"

#include <cstddef>
#include <cstdint>
#include <span>

namespace kmr::scan {

enum class unit_kind : uint8_t { other, video_set, sequence_set, picture_set, random_access, picture };

// Of a unit by its first byte; H.264's where the codec is not known.
unit_kind kind_of_unit(video_codec codec, uint8_t first);

// The byte behind the next start code, `bytes.size()` when there is none.
size_t next_unit(std::span<const uint8_t> bytes, size_t from);

// The unit that `bytes` begins with, alone: they may go on with others.
std::span<const uint8_t> without_next(std::span<const uint8_t> bytes);

// Where the codec's own units begin: behind the recorder's, whose bytes may look like anything.
size_t behind_user_data(std::span<const uint8_t> payload, const user_data_look& user_data);

} // namespace kmr::scan
