// Where the bytes of a stream go.
#pragma once

#include <cstdint>
#include <span>

namespace kmr::convert {

class byte_sink {
public:
    byte_sink() = default;
    byte_sink(const byte_sink&) = delete;
    byte_sink& operator=(const byte_sink&) = delete;
    virtual ~byte_sink() = default;

    // All of them, or an errno value. Elementary streams and sound are written from front to back; containers go back
    // to what they have written.
    virtual int write_at(uint64_t offset, std::span<const uint8_t> bytes) = 0;
};

} // namespace kmr::convert
