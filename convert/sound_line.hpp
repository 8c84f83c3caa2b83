// Sound of frames one behind the other: what one frame has too few, the next finds as silence in front of it.
#pragma once

#include "convert/container.hpp"

#include <algorithm>
#include <cstdint>

namespace kmr::convert {

struct sound_format {
    uint32_t rate = 0; // samples a second
    uint32_t channels = 0;
    uint32_t sample_bytes = 0; // of one channel
    uint8_t silence = 0;       // every byte of it

    uint32_t block() const { return channels * sample_bytes; }
};

constexpr sound_format format_of(sound_coding coding, uint32_t rate, uint32_t channels) {
    switch (coding) { // uncovered: every value has its case
    case sound_coding::alaw:
        return {rate, channels, 1, 0xD5};
    case sound_coding::mulaw:
        return {rate, channels, 1, 0xFF};
    case sound_coding::s16le:
        return {rate, channels, 2, 0};
    case sound_coding::u8:
        break;
    }
    return {rate, channels, 1, 0x80};
}

class sound_line {
public:
    explicit sound_line(const sound_format& format) : format_(format) {}

    // Blocks of silence in front of the sound of a frame that is shown at `ms`. The recorder's clock and its sound need
    // not agree to the millisecond: what is missing is filled when it can be heard.
    uint64_t missing_before(int64_t ms) const {
        const auto due = static_cast<uint64_t>(ms) * format_.rate / 1000;
        return due > position_ + uint64_t{format_.rate} / audible ? due - position_ : 0;
    }

    // Of the next block.
    uint64_t position() const { return position_; }
    void advance(uint64_t blocks) { position_ += blocks; }

    const sound_format& format() const { return format_; }

private:
    static constexpr uint32_t audible = 10; // a tenth of a second

    sound_format format_;
    uint64_t position_ = 0;
};

} // namespace kmr::convert
