// Takes an input apart, value by value from its beginning. What is missing behind its end is 0.
#pragma once

#include "fuzz/target.hpp"

#include <algorithm>
#include <string>

namespace fuzz {

class byte_feed {
public:
    explicit byte_feed(input data) : left_(data) {}

    bool is_empty() const { return left_.empty(); }
    input rest() const { return left_; }

    uint8_t u8() {
        if (left_.empty())
            return 0;
        const uint8_t value = left_.front();
        left_ = left_.subspan(1);
        return value;
    }
    uint16_t u16() {
        const uint8_t low = u8();
        return static_cast<uint16_t>(low | u8() << 8);
    }
    uint32_t u32() {
        const uint16_t low = u16();
        return low | uint32_t{u16()} << 16;
    }
    fuzz::bytes bytes(size_t most) {
        const input taken = left_.first(std::min(most, left_.size()));
        left_ = left_.subspan(taken.size());
        return {taken.begin(), taken.end()};
    }
    // Up to the first NUL, which is taken too, or to the end.
    std::string text(size_t most) {
        const input within = left_.first(std::min(most, left_.size()));
        const auto end = std::find(within.begin(), within.end(), uint8_t{0});
        std::string taken(within.begin(), end);
        left_ = left_.subspan(taken.size() + (end == within.end() ? 0 : 1));
        return taken;
    }

private:
    input left_;
};

} // namespace fuzz
