// Bytes that look random and are the same for the same seed on every machine.
#pragma once

#include <cstdint>

namespace compose {

class noise {
public:
    explicit noise(uint64_t seed) : state_(seed) {}

    uint8_t next() {
        state_ = state_ * 6364136223846793005u + 1442695040888963407u;
        return static_cast<uint8_t>(state_ >> 56);
    }

    // Without zero bytes no start code and no sync word can come about by chance.
    uint8_t next_not_zero() { return static_cast<uint8_t>(next() % 255 + 1); }

private:
    uint64_t state_;
};

} // namespace compose
