#include "UserDataOpt/block_reader.hpp"
#include "analyse/vca/vca.h"
#include "tests/UserDataOpt/user_data_bytes.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace {

using namespace user_data;
using kmr::user_data_end;

struct seen_segment {
    uint16_t flag;
    uint32_t offset;
    bytes payload;

    bool operator==(const seen_segment&) const = default;
};

struct reading {
    kmr::user_data_block block;
    std::vector<seen_segment> segments;
    user_data_end end;
};

// Reads from a heap copy of exactly these bytes and takes segments up to the one with the flag `last`.
reading read(const bytes& payload, size_t window, int last = -1) {
    const auto copy = std::make_unique<uint8_t[]>(payload.size());
    std::copy(payload.begin(), payload.end(), copy.get());
    reading of = {.block = kmr::read_user_data_block({copy.get(), payload.size()}, window),
                  .segments = {},
                  .end = user_data_end::complete};
    of.end = kmr::for_each_segment(of.block, [&](const kmr::user_data_segment& segment) {
        of.segments.push_back(
            {segment.flag, segment.offset, bytes(segment.payload, segment.payload + segment.length)});
        return segment.flag != last;
    });
    return of;
}

reading read(const bytes& payload) {
    return read(payload, payload.size());
}

const bytes three_segments = segment(0xFED1, {1, 2}) + segment(0x1234, {3}) + segment(0xFED4, {});

// --- Finding the block ---

TEST(BlockReaderTest, HandsOutTheSegmentsOfABlock) {
    // 20 bytes of block: a text that is empty, a target of 5 and 3.
    const reading of =
        read({0x00, 0x00, 0x00, 0x01, 0x06, 0xF0, 0x14, 0x5A, 0x4E, 0x53, 0x54, 0x02, 0x00, 0x0C,
              0x00, 0xD1, 0xFE, 0x00, 0x00, 0xD9, 0xFE, 0x04, 0x00, 0x05, 0x00, 0x03, 0x00});
    EXPECT_EQ(of.end, user_data_end::complete);
    EXPECT_TRUE(of.block.is_h264);
    EXPECT_EQ(of.block.offset, 7u);
    EXPECT_EQ(of.block.size, 20u);
    EXPECT_EQ(of.block.segment_count, 2);
    EXPECT_EQ(of.segments, (std::vector<seen_segment>{{0xFED1, 8, {}}, {0xFED9, 12, {5, 0, 3, 0}}}));
}

TEST(BlockReaderTest, FindsAnH265Block) {
    const reading of = read(sei(h265, block(1, segment(0xFED4, {7}))));
    EXPECT_EQ(of.end, user_data_end::complete);
    EXPECT_FALSE(of.block.is_h264);
    EXPECT_EQ(of.block.offset, 8u);
    EXPECT_EQ(of.segments, (std::vector<seen_segment>{{0xFED4, 8, {7}}}));
}

TEST(BlockReaderTest, AnH264MarkerWinsOverAnH265MarkerBeforeIt) {
    const reading of =
        read(sei(h265, block(1, segment(0xFED1, {}))) + sei(h264, block(1, segment(0xFED4, {}))));
    EXPECT_TRUE(of.block.is_h264);
    EXPECT_EQ(of.block.offset, 27u); // 7 + 1 + 12 before the second marker, then 6 + 1
    EXPECT_EQ(of.segments, (std::vector<seen_segment>{{0xFED4, 8, {}}}));
}

TEST(BlockReaderTest, WithoutAMarkerThereIsNoBlock) {
    for (const bytes& payload :
         {bytes{}, bytes(2000, 0), bytes{0, 0, 1, 6, 0xF0, 12}, bytes{0, 0, 0, 1, 6}}) {
        const reading of = read(payload);
        EXPECT_EQ(of.end, user_data_end::no_marker);
        EXPECT_EQ(of.block.end, user_data_end::no_marker);
        EXPECT_FALSE(of.block.is_h264);
        EXPECT_TRUE(of.segments.empty());
    }
    EXPECT_EQ(kmr::read_user_data_block({}, 1024).end, user_data_end::no_marker);
}

TEST(BlockReaderTest, TheMarkerLiesWithinTheWindowAndTheBlockMayLieBehindIt) {
    const bytes payload = bytes(10, 0x55) + sei(h264, block(1, segment(0xFED1, {9})));
    EXPECT_EQ(read(payload, 15).end, user_data_end::no_marker);
    const reading of = read(payload, 16);
    EXPECT_EQ(of.end, user_data_end::complete);
    EXPECT_EQ(of.block.offset, 17u);
    EXPECT_EQ(of.segments, (std::vector<seen_segment>{{0xFED1, 8, {9}}}));
    EXPECT_EQ(read(payload, 5000).end, user_data_end::complete);
}

// --- What is wrong with a block ---

TEST(BlockReaderTest, TheLargestBlockHas1024Bytes) {
    const reading of = read(sei(h264, block(1, segment(0xFED1, bytes(1012, 0x55)))));
    EXPECT_EQ(of.end, user_data_end::complete);
    EXPECT_EQ(of.block.offset, 11u);
    EXPECT_EQ(of.segments, (std::vector<seen_segment>{{0xFED1, 8, bytes(1012, 0x55)}}));
}

TEST(BlockReaderTest, ALargerBlockIsTooLarge) {
    EXPECT_EQ(read(sei(h264, block(1, segment(0xFED1, bytes(1013, 0x55))))).end,
              user_data_end::block_too_large);
    const reading of = read(h265 + bytes(5, 0xFF) + bytes(2000, 0));
    EXPECT_EQ(of.end, user_data_end::block_too_large);
    EXPECT_EQ(of.block.size, 1275u);
    EXPECT_EQ(of.block.offset, 12u);
    EXPECT_TRUE(of.segments.empty());
}

TEST(BlockReaderTest, ABlockOfLessThanFiveBytesIsTooSmall) {
    for (uint8_t size = 0; size < 5; ++size) {
        const reading of = read(h264 + bytes{size, 'Z', 'N', 'S', 'T', 0, 0, 0, 0});
        EXPECT_EQ(of.end, user_data_end::block_too_small);
        EXPECT_EQ(of.block.size, size);
        EXPECT_EQ(of.block.offset, 7u);
    }
    EXPECT_EQ(read(h264 + bytes{5, 'Z', 'N', 'S', 'T', 0, 0, 0, 0}).end, user_data_end::wrong_length);
}

TEST(BlockReaderTest, AWrongMagicIsSaid) {
    EXPECT_EQ(read(sei(h264, bytes{'Z', 'N', 'S', 'S', 0, 0, 0, 0})).end, user_data_end::wrong_magic);
    EXPECT_EQ(read(h264 + bytes{5, 'z', 'N', 'S', 'T', 0}).end, user_data_end::wrong_magic);
}

TEST(BlockReaderTest, ALengthThatIsOneOffIsSaid) {
    for (const uint8_t length : bytes{3, 5}) {
        const reading of = read(sei(h264, bytes{'Z', 'N', 'S', 'T', 1, 0, length, 0, 0xD1, 0xFE, 0, 0}));
        EXPECT_EQ(of.end, user_data_end::wrong_length);
        EXPECT_TRUE(of.segments.empty());
    }
}

// --- Segments ---

TEST(BlockReaderTest, ASegmentThatRunsPastTheBlockIsCutOff) {
    const reading of = read(sei(h264, block(2, segment(0xFED1, {1}) + bytes{0xD4, 0xFE, 4, 0, 1, 2, 3})));
    EXPECT_EQ(of.end, user_data_end::segment_cut_off);
    EXPECT_EQ(of.block.end, user_data_end::complete);
    EXPECT_EQ(of.segments, (std::vector<seen_segment>{{0xFED1, 8, {1}}}));
}

TEST(BlockReaderTest, ASegmentThatIsAnnouncedAndNotThereIsCutOff) {
    for (size_t left = 0; left < 4; ++left) {
        const reading of = read(sei(h264, block(2, segment(0xFED1, bytes(1012 - left, 7)) + bytes(left, 0))));
        EXPECT_EQ(of.end, user_data_end::segment_cut_off);
        EXPECT_EQ(of.segments.size(), 1u);
    }
}

TEST(BlockReaderTest, BytesBehindTheAnnouncedSegmentsAreNotLookedAt) {
    EXPECT_EQ(read(sei(h264, block(1, segment(0xFED1, {}) + bytes{0xD4}))).end, user_data_end::complete);
    const reading none = read(sei(h264, block(0, segment(0xFED1, {}))));
    EXPECT_EQ(none.end, user_data_end::complete);
    EXPECT_TRUE(none.segments.empty());
}

TEST(BlockReaderTest, AConsumerMayGoOnBehindAnUnknownFlag) {
    const reading of = read(sei(h264, block(3, three_segments)));
    EXPECT_EQ(of.end, user_data_end::complete);
    EXPECT_EQ(of.segments,
              (std::vector<seen_segment>{{0xFED1, 8, {1, 2}}, {0x1234, 14, {3}}, {0xFED4, 19, {}}}));
}

TEST(BlockReaderTest, AConsumerMayStopAtAnUnknownFlag) {
    const bytes payload = sei(h264, block(3, three_segments));
    const reading of = read(payload, payload.size(), 0x1234);
    EXPECT_EQ(of.end, user_data_end::unknown_flag);
    EXPECT_EQ(of.segments.size(), 2u);
}

TEST(BlockReaderTest, AConsumerMayStopAnywhere) {
    const bytes payload = sei(h264, block(3, three_segments));
    EXPECT_EQ(read(payload, payload.size(), 0xFED1).end, user_data_end::stopped);
    EXPECT_EQ(read(payload, payload.size(), 0xFED4).end, user_data_end::stopped); // at the last one, too
}

TEST(BlockReaderTest, EightBytesOfAnyPayloadMayBeRead) {
    const bytes content = block(2, segment(0xFED1, bytes(1008, 0x55)) + segment(0xFED7, {}));
    const bytes payload = sei(h264, content) + bytes(20, 0x55);
    const kmr::user_data_block of = kmr::read_user_data_block(payload, payload.size());
    bytes last;
    kmr::for_each_segment(of, [&](const kmr::user_data_segment& segment) {
        last = bytes(segment.payload, segment.payload + 8);
        return true;
    });
    EXPECT_EQ(last, bytes(8, 0));
}

// --- Escapes, and the end of the payload ---

TEST(BlockReaderTest, EscapesAreTakenOutAndBytesFromBehindComeIn) {
    const bytes on_disk = {'Z', 'N', 'S', 'T', 1, 0, 11, 0, 0xD9, 0xFE, 7, 0, 5, 0, 0, 3, 9, 1, 0xAA};
    const bytes payload = h264 + bytes{19} + on_disk;
    EXPECT_EQ(read(payload + bytes{0xBB, 0xCC}).segments,
              (std::vector<seen_segment>{{0xFED9, 8, {5, 0, 0, 9, 1, 0xAA, 0xBB}}}));
    EXPECT_EQ(read(payload).segments, (std::vector<seen_segment>{{0xFED9, 8, {5, 0, 0, 9, 1, 0xAA, 0x00}}}));
}

TEST(BlockReaderTest, WhatIsMissingReadsAsZero) {
    const bytes payload = h264 + bytes{20, 'Z', 'N', 'S', 'T', 1, 0, 12, 0, 0xD9, 0xFE, 8, 0, 1, 2, 3};
    EXPECT_EQ(read(payload).segments, (std::vector<seen_segment>{{0xFED9, 8, {1, 2, 3, 0, 0, 0, 0, 0}}}));
    EXPECT_EQ(read(h264).end, user_data_end::block_too_small);           // size 0
    EXPECT_EQ(read(h264 + bytes{0xFF}).end, user_data_end::wrong_magic); // size 255
    EXPECT_EQ(read(h264 + bytes{8, 'Z', 'N', 'S'}).end, user_data_end::wrong_magic);
    EXPECT_EQ(read(h264 + bytes{8, 'Z', 'N', 'S', 'T'}).end,
              user_data_end::complete); // no segments, length 0
}

// --- Nothing but the result ---

TEST(BlockReaderTest, TouchesNoGlobalAndPrintsNothing) {
    g_stVcaAnalysSize = {1, 2, 3, 4};
    g_stVcaTarget = {.flag = 1, .length = 2, .payload = {3}};
    uint64_t before[32];
    std::copy(std::begin(g_u64UserDataLine), std::end(g_u64UserDataLine), before);
    testing::internal::CaptureStdout();
    const reading of = read(sei(h264, block(4, three_segments + segment(0xFED7, bytes(8, 9)))));
    const reading target = read(sei(h265, block(1, segment(0xFED9, bytes(300, 9)))));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(of.segments.size(), 4u);
    EXPECT_EQ(target.segments.size(), 1u);
    EXPECT_TRUE(std::equal(std::begin(before), std::end(before), std::begin(g_u64UserDataLine)));
    EXPECT_EQ(g_stVcaAnalysSize.width, 1u);
    EXPECT_EQ(g_stVcaTarget.length, 2);
}

TEST(BlockReaderTest, ManyThreadsReadAtTheSameTime) {
    std::vector<std::thread> threads;
    int sound[4] = {};
    for (int& each : sound)
        threads.emplace_back([&each, number = static_cast<uint8_t>(&each - sound)] {
            const bytes payload = sei(h264, block(1, segment(0xFED4, bytes(200, number))));
            for (int round = 0; round < 1000; ++round)
                each += read(payload).segments == std::vector<seen_segment>{{0xFED4, 8, bytes(200, number)}};
        });
    for (std::thread& each : threads)
        each.join();
    for (const int each : sound)
        EXPECT_EQ(each, 1000);
}

// Few different bytes, so that markers' ends, escapes, flags and lengths come about by themselves. What is handed out
// lies inside of the block, and a payload that ends early reads as one with zeros behind it.
TEST(BlockReaderTest, RandomPayloadsAreSafe) {
    static constexpr uint8_t likely[] = {0x00, 0x00, 0x00, 0x03, 0xFE, 0xD7, 0xD9, 0xD1, 0xFF, 0x01, 0x04};
    std::mt19937 random(20150102);
    const auto below = [&](size_t limit) { return static_cast<uint32_t>(random() % limit); };
    for (int round = 0; round < 20000; ++round) {
        bytes content(8 + below(1024));
        for (uint8_t& each : content)
            each = likely[below(sizeof likely)];
        const auto length = static_cast<uint32_t>(content.size() - 8);
        const bytes head = {'Z',
                            'N',
                            'S',
                            'T',
                            static_cast<uint8_t>(below(256)),
                            0,
                            static_cast<uint8_t>(length),
                            static_cast<uint8_t>(length >> 8)};
        std::copy(head.begin(), head.end(), content.begin());
        bytes payload = sei(below(2) != 0 ? h264 : h265, content);
        payload.resize(6 + below(payload.size() - 5));
        const reading of = read(payload, 1024);
        uint32_t behind = 8;
        for (const seen_segment& each : of.segments) {
            ASSERT_EQ(each.offset, behind);
            behind += 4 + static_cast<uint32_t>(each.payload.size());
            ASSERT_LE(behind, of.block.size);
        }
        const reading padded = read(payload + bytes(2000, 0), std::min<size_t>(payload.size(), 1024));
        ASSERT_EQ(of.end, padded.end);
        ASSERT_EQ(of.segments, padded.segments);
    }
}

} // namespace
