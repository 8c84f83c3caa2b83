#include "tests/tools/hex_bytes.hpp"

recording::bytes hex(const std::string& digits) {
    std::string pair;
    recording::bytes all;
    for (const char digit : digits) {
        if (digit == ' ')
            continue;
        pair += digit;
        if (pair.size() < 2)
            continue;
        all.push_back(static_cast<uint8_t>(std::stoul(pair, nullptr, 16)));
        pair.clear();
    }
    return all;
}
