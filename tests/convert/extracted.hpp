// What comes out of recordings that were composed in memory.
#pragma once

#include "convert/extract.hpp"
#include "tests/scan/compose.hpp"

#include <vector>

namespace convert_test {

using recording::bytes;
using numbers = std::vector<uint32_t>;

// Takes frames down.
class noted_output final : public kmr::convert::stream_output {
public:
    kmr::convert::stream_end take(const kmr::convert::stream_frame& frame, std::span<const uint8_t> video,
                                  std::span<const uint8_t> audio) override;
    kmr::convert::stream_end finish() override { return {}; }
    bool has_any() const override { return !frames.empty(); }

    std::vector<kmr::convert::stream_frame> frames = {};
    numbers taken = {};
    bytes video_bytes = {};
    bytes audio_bytes = {};
};

struct outcome {
    kmr::convert::extracted result = {};
    numbers taken = {};
    bytes video = {};
    bytes audio = {};
    std::vector<kmr::convert::stream_frame> frames = {};

    uint64_t left(kmr::convert::left_out why) const { return result.left.of(why); }
};

outcome extract(const bytes& recording, const kmr::convert::extract_options& options = {});

// Everything that is kept in memory.
class memory_sink final : public kmr::convert::byte_sink {
public:
    int write_at(uint64_t offset, std::span<const uint8_t> written) override;

    bytes content = {};
    uint64_t room = UINT64_MAX; // bytes, behind which it is full
};

} // namespace convert_test
