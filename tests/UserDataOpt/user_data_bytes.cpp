#include "tests/UserDataOpt/user_data_bytes.hpp"

#include "UserDataOpt/user_data.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>

namespace user_data {
namespace {

bytes u16(size_t value) {
    return {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8)};
}

} // namespace

bytes operator+(bytes left, const bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

bytes segment(uint16_t flag, const bytes& payload) {
    return u16(flag) + u16(payload.size()) + payload;
}

bytes block(uint16_t segment_count, const bytes& segments) {
    return bytes{'Z', 'N', 'S', 'T'} + u16(segment_count) + u16(segments.size()) + segments;
}

bytes size_field(uint32_t size) {
    bytes field(size / 255, 0xFF);
    field.push_back(static_cast<uint8_t>(size % 255));
    return field;
}

bytes sei(const bytes& marker, const bytes& content) {
    return marker + size_field(static_cast<uint32_t>(content.size())) + content;
}

outcome decode(const bytes& payload, uint32_t loc, const bytes& behind) {
    const size_t readable = payload.size() + USER_DATA_READ_AHEAD;
    const auto buffer = std::make_unique<uint8_t[]>(readable);
    const bytes content = payload + behind;
    std::copy_n(content.begin(), std::min(content.size(), readable), buffer.get());
    uint64_t before[32];
    std::copy(std::begin(g_u64UserDataLine), std::end(g_u64UserDataLine), before);
    testing::internal::CaptureStdout();
    outcome of;
    of.result = AnalyzeUserDataInOneFrame(loc, buffer.get(), static_cast<int32_t>(payload.size()), 0);
    of.text = testing::internal::GetCapturedStdout();
    for (int i = 0; i < 32; ++i)
        if (g_u64UserDataLine[i] != before[i])
            of.counters[i] = g_u64UserDataLine[i] - before[i];
    return of;
}

} // namespace user_data
