// Bits of a parameter set, escapes taken out on the way. Behind the end it reads zeros and remembers that it did.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kmr::scan {

class bit_reader {
public:
    explicit bit_reader(std::span<const uint8_t> unit) : unit_(unit) {}

    bool overrun() const { return overrun_; }

    uint32_t bit() {
        if (left_ == 0)
            next_byte();
        --left_;
        return byte_ >> left_ & 1;
    }

    uint32_t bits(unsigned count) {
        uint32_t value = 0;
        while (count-- > 0)
            value = value << 1 | bit();
        return value;
    }

    void skip(unsigned count) {
        while (count-- > 0)
            bit();
    }

    // Unsigned Exp-Golomb. A prefix of more than 31 zeros is no number of any parameter set and counts as an overrun.
    uint32_t number() {
        unsigned zeros = 0;
        while (bit() == 0) {
            if (++zeros > 31 || overrun_) {
                overrun_ = true;
                return 0;
            }
        }
        return ((uint32_t{1} << zeros) - 1) + bits(zeros);
    }

    int32_t signed_number() {
        const uint32_t code = number();
        const auto half = static_cast<int32_t>(code / 2);
        return code % 2 == 0 ? -half : half + 1;
    }

private:
    void next_byte() {
        constexpr unsigned escape = 3;
        if (zeros_ >= 2 && at_ < unit_.size() && unit_[at_] == escape) {
            ++at_;
            zeros_ = 0;
        }
        overrun_ = overrun_ || at_ >= unit_.size();
        byte_ = at_ < unit_.size() ? unit_[at_++] : 0U;
        zeros_ = byte_ == 0 ? zeros_ + 1 : 0;
        left_ = 8;
    }

    std::span<const uint8_t> unit_;
    size_t at_ = 0;
    uint32_t byte_ = 0;
    unsigned left_ = 0;
    unsigned zeros_ = 0;
    bool overrun_ = false;
};

} // namespace kmr::scan
