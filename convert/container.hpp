// A stream in a container that players know. The library that writes it is not there everywhere.
#pragma once

#include "convert/stream_output.hpp"

#include <memory>
#include <optional>

namespace kmr::convert {

enum class container_format : uint8_t { mp4, mkv };

// What a recording does not say of its sound.
enum class sound_coding : uint8_t { alaw, mulaw, s16le, u8 };

struct container_options {
    container_format format = container_format::mp4;
    std::optional<sound_coding> sound = {};      // none: without sound
    std::optional<int64_t> longest_step_ms = {}; // longer pauses are closed
};

// Whether containers can be written at all.
bool has_containers();

// Null where they cannot.
std::unique_ptr<stream_output> make_container(byte_sink& into, const container_options& options);

} // namespace kmr::convert
