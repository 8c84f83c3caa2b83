// Bytes that no encoder writes. The decoder gets them from the heap with not one readable byte more than it asks for;
// a build with sanitizers sees every byte that is read or written out of bounds.
#include "UserDataOpt/user_data.h"
#include "tests/UserDataOpt/user_data_bytes.hpp"

#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <vector>

namespace {

using namespace user_data;

// Everything that must be readable for this many payload bytes, filled with a pattern again and again.
bytes repeated(const bytes& pattern, size_t payload) {
    bytes all;
    while (all.size() < payload + USER_DATA_READ_AHEAD)
        all.insert(all.end(), pattern.begin(), pattern.end());
    all.resize(payload + USER_DATA_READ_AHEAD);
    return all;
}

// Decodes from a heap copy of exactly these bytes; the last USER_DATA_READ_AHEAD stand behind the payload.
int32_t decode_all(const bytes& readable) {
    const auto copy = std::make_unique<uint8_t[]>(readable.size());
    std::memcpy(copy.get(), readable.data(), readable.size());
    return AnalyzeUserDataInOneFrame(0, copy.get(),
                                     static_cast<int32_t>(readable.size() - USER_DATA_READ_AHEAD), 0);
}

class HostileTest : public testing::Test {
protected:
    HostileTest() { testing::internal::CaptureStdout(); }
    ~HostileTest() override { testing::internal::GetCapturedStdout(); }
};

TEST_F(HostileTest, TheReadableSizeIsThatOfTheFurthestByte) {
    EXPECT_EQ(USER_DATA_READ_AHEAD, 1540);
    EXPECT_EQ(USER_DATA_READABLE, 2564);
}

TEST_F(HostileTest, TheFurthestByteIsReached) {
    // The marker ends with the payload; behind it the widest size of the largest block, all of it escapes.
    for (const bytes& marker : {h264, h265}) {
        bytes readable = repeated({0}, 1024);
        const size_t start = 1024 - marker.size();
        const bytes tail = marker + bytes{0xFF, 0xFF, 0xFF, 0xFF, 0x04};
        std::copy(tail.begin(), tail.end(), readable.begin() + static_cast<std::ptrdiff_t>(start));
        for (size_t i = 1024 + 5, n = 0; i < readable.size(); ++i, ++n)
            readable[i] = n % 3 == 2 ? 3 : 0;
        EXPECT_EQ(decode_all(readable), 0);
    }
}

TEST_F(HostileTest, EveryPlaceOfTheMarkerIsSafe) {
    for (const bytes& fill :
         {bytes{0xFF}, bytes{0}, bytes{0, 0, 3}, bytes{0xFF, 0xFF, 0xFF, 0xFF, 4, 0, 0, 3}})
        for (size_t payload = 6; payload <= 40; ++payload)
            for (size_t at = 0; at + 6 <= payload; ++at) {
                bytes readable = repeated(fill, payload);
                std::copy(h264.begin(), h264.end(), readable.begin() + static_cast<std::ptrdiff_t>(at));
                const int32_t result = decode_all(readable);
                ASSERT_TRUE(result == 0 || result == -1);
            }
}

TEST_F(HostileTest, EverySizeAndEverySegmentLengthIsSafe) {
    for (uint32_t size = 8; size <= 1024; ++size)
        for (const uint32_t back : {0u, 1u, 2u, 3u, 4u, 5u, 8u, 12u}) {
            // A segment that leaves `back` bytes of the block, and behind it the head of an empty analysis size.
            if (size < 12 + back)
                continue;
            const auto length = static_cast<uint16_t>(size - 12 - back);
            bytes content(size, 0x55);
            const bytes head = {'Z', 'N', 'S', 'T', 0xFF, 0xFF};
            std::copy(head.begin(), head.end(), content.begin());
            content[6] = static_cast<uint8_t>(size - 8);
            content[7] = static_cast<uint8_t>((size - 8) >> 8);
            content[8] = 0xD9;
            content[9] = 0xFE;
            content[10] = static_cast<uint8_t>(length);
            content[11] = static_cast<uint8_t>(length >> 8);
            const bytes empty_size = {0xD7, 0xFE, 0, 0};
            for (size_t i = 0; i < 4 && i < back; ++i)
                content[size - back + i] = empty_size[i];
            ASSERT_EQ(decode_all(sei(h264, content) + bytes(USER_DATA_READ_AHEAD, 0x55)), 0);
        }
}

TEST_F(HostileTest, RandomBlocksAreSafe) {
    std::mt19937 random(20150102);
    const auto below = [&](unsigned limit) { return static_cast<uint32_t>(random() % limit); };
    for (int round = 0; round < 20000; ++round) {
        // Few different bytes, so that escapes, flags and lengths come about by themselves.
        static constexpr uint8_t likely[] = {0x00, 0x00, 0x00, 0x03, 0xFE, 0xD7,
                                             0xD9, 0xD1, 0xFF, 0x01, 0x04};
        const uint32_t size = 8 + below(1017);
        bytes content(size);
        for (uint8_t& each : content)
            each = likely[below(sizeof likely)];
        const bytes head = {'Z', 'N', 'S', 'T', static_cast<uint8_t>(below(256)), 0x00};
        std::copy(head.begin(), head.end(), content.begin());
        content[6] = static_cast<uint8_t>(size - 8);
        content[7] = static_cast<uint8_t>((size - 8) >> 8);
        for (size_t at = 8; at + 4 < size && below(8) != 0; at += 4u + content[at + 2]) {
            content[at] = static_cast<uint8_t>(0xD1 + below(9));
            content[at + 1] = 0xFE;
            content[at + 2] = static_cast<uint8_t>(below(32));
            content[at + 3] = 0;
        }
        bytes readable = sei(below(2) != 0 ? h264 : h265, content);
        // The payload may end anywhere behind the marker.
        const size_t payload = 7 + below(static_cast<uint32_t>(readable.size() - 6));
        readable.resize(payload + USER_DATA_READ_AHEAD, 0);
        ASSERT_EQ(decode_all(readable), 0);
    }
}

} // namespace
