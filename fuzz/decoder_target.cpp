// User data: any bytes are decoded within their bounds and counted right, and what was encoded is decoded to the same
// segments.
#include "UserDataOpt/block_reader.hpp"
#include "UserDataOpt/user_data.h"
#include "analyse/vca/vca.h"
#include "fuzz/byte_feed.hpp"
#include "fuzz/printed.hpp"
#include "fuzz/seed_recordings.hpp"
#include "tools/compose/usage_error.hpp"
#include "tools/compose/user_data.hpp"

#include <algorithm>
#include <numeric>

namespace fuzz {
namespace {

void forget_all() {
    std::fill(std::begin(g_u64UserDataLine), std::end(g_u64UserDataLine), 0);
    g_stVcaTarget = {};
    g_stVcaAnalysSize = kmr_default_analys_size;
}

// What must be readable behind a payload, all zeros.
bytes with_zeros_behind(input payload) {
    bytes readable(payload.begin(), payload.end());
    readable.resize(payload.size() + USER_DATA_READ_AHEAD);
    return readable;
}

// --- any bytes ---

void expect_counters() {
    const uint64_t* const counter = g_u64UserDataLine;
    expect(counter[0] + counter[1] == 1, "a call is counted once, by its marker");
    expect(counter[2] + counter[3] <= 1, "a block is too large or looked into");
    expect(counter[3] >= counter[4] && counter[4] >= counter[5], "what is accepted was right before");
    const uint64_t kinds = std::accumulate(counter + 8, counter + 18, uint64_t{0});
    expect(counter[6] == kinds + counter[7], "every segment is of one kind, or cut off");
    expect(counter[7] <= 1 && counter[17] <= 1, "a segment that is cut off or unknown is the last one");
    expect(counter[5] == 1 || counter[6] == 0, "segments are read of accepted blocks alone");
    expect(std::all_of(counter + 18, counter + std::size(g_u64UserDataLine),
                       [](uint64_t each) { return each == 0; }),
           "nothing else is counted");
}

size_t rows_in(std::string_view report) {
    return static_cast<size_t>(std::count(report.begin(), report.end(), '\n'));
}

struct segments_seen {
    kmr::user_data_end end;
    size_t count = 0;
};

segments_seen read_segments(const kmr::user_data_block& block) {
    segments_seen seen{};
    uint32_t behind = KMR_USER_DATA_HEAD_SIZE;
    seen.end = kmr::for_each_segment(block, [&](const kmr::user_data_segment& segment) {
        expect(segment.offset == behind, "segments stand back to back");
        behind = segment.offset + KMR_SEGMENT_HEAD_SIZE + segment.length;
        expect(behind <= block.size, "a segment lies within its block");
        ++seen.count;
        return kmr::is_known_segment(segment.flag);
    });
    return seen;
}

// Heading, rows and end as they are printed: 3 lines around the rows, and none where the block is refused.
constexpr size_t lines_around = 4;

void decode_anything(input payload) {
    forget_all();
    const bytes readable = with_zeros_behind(payload);
    printed out;
    const int32_t result =
        AnalyzeUserDataInOneFrame(0, readable.data(), static_cast<int32_t>(payload.size()), 0);
    expect_counters();
    const kmr::user_data_block block = kmr::read_user_data_block(payload, payload.size());
    const segments_seen seen = read_segments(block);
    expect((result == -1) == (block.end == kmr::user_data_end::block_too_large),
           "too large a block alone is an error");
    expect((g_u64UserDataLine[5] == 1) == (block.end == kmr::user_data_end::complete),
           "reader and report agree");
    expect(g_u64UserDataLine[6] - g_u64UserDataLine[7] == seen.count, "on the segments too");
    expect(g_u64UserDataLine[7] == (seen.end == kmr::user_data_end::segment_cut_off ? 1 : 0),
           "and on the last one");
    const size_t rows = rows_in(out.text());
    expect(rows == (g_u64UserDataLine[5] == 1 ? seen.count + lines_around : 0), "each segment has its row");
}

// --- the parts of it ---

void search_and_revert(input payload) {
    const bytes readable = with_zeros_behind(payload);
    const auto size = static_cast<int32_t>(payload.size());
    for (const input pattern :
         {input(kmr_user_data_start_h264), input(kmr_user_data_start_h265), input(ucNeedToRevert)}) {
        const auto found = std::search(payload.begin(), payload.end(), pattern.begin(), pattern.end());
        const int32_t expected = found == payload.end() ? -1 : static_cast<int32_t>(found - payload.begin());
        expect(FindPosByFlag(payload.data(), size, pattern.data(), static_cast<uint32_t>(pattern.size())) ==
                   expected,
               "the first place of a pattern is found");
    }
    if (payload.size() > USER_DATA_MAX_BLOCK)
        return;
    bytes plain(payload.size());
    RevertUserData(readable.data(), plain.data(), size);
    size_t from = 0;
    int zeros = 0;
    for (const uint8_t byte : plain) {
        if (zeros >= 2 && readable[from] == 3) {
            ++from;
            zeros = 0;
        }
        expect(byte == readable[from], "nothing but escapes is dropped");
        zeros = readable[from] == 0 ? zeros + 1 : 0;
        ++from;
    }
}

// --- decode of encode ---

compose::user_data_block composed_of(byte_feed& feed) {
    constexpr uint16_t flags[] = {0x0001, 0xFED1, 0xFED2, 0xFED3, 0xFED4,
                                  0xFED5, 0xFED6, 0xFED7, 0xFED8, 0xFED9};
    compose::user_data_block block;
    while (!feed.is_empty() && block.segments.size() < 300) {
        const uint8_t kind = feed.u8();
        const size_t length = kind >= 0xF0 ? feed.u16() % 1100 : feed.u8();
        block.segments.push_back({.flag = flags[kind % std::size(flags)], .payload = feed.bytes(length)});
    }
    return block;
}

void expect_same(const compose::user_data_block& composed, const kmr::user_data_block& block) {
    size_t number = 0;
    const kmr::user_data_end end = kmr::for_each_segment(block, [&](const kmr::user_data_segment& segment) {
        expect(number < composed.segments.size(), "no segment is added");
        const compose::user_data_segment& expected = composed.segments[number++];
        expect(segment.flag == expected.flag && segment.length == expected.payload.size() &&
                   std::equal(expected.payload.begin(), expected.payload.end(), segment.payload),
               "a segment is decoded as it was encoded");
        return true;
    });
    expect(end == kmr::user_data_end::complete && number == composed.segments.size(), "no segment is lost");
}

void decode_encoded(input data) {
    byte_feed feed(data);
    const bool is_h264 = feed.u8() % 2 == 0;
    const compose::user_data_block composed = composed_of(feed);
    bytes unit;
    try {
        unit = compose::sei_unit(composed, is_h264 ? compose::codec::h264 : compose::codec::h265);
    } catch (const compose::usage_error&) {
        return; // too long for any block
    }
    const kmr::user_data_block block = kmr::read_user_data_block(unit, unit.size());
    if (block.size > USER_DATA_MAX_BLOCK) {
        expect(block.end == kmr::user_data_end::block_too_large, "a block has a largest size");
        return;
    }
    expect(block.is_h264 == is_h264 && block.end == kmr::user_data_end::complete,
           "what was encoded is decoded");
    expect(block.segment_count == composed.segments.size(), "the number of segments is kept");
    expect_same(composed, block);
    decode_anything(unit);
}

} // namespace

void run(input data) {
    decode_anything(data);
    search_and_revert(data);
    decode_encoded(data);
}

// The payloads of recordings, and lists of segments.
std::vector<seed> seeds() {
    std::vector<seed> all;
    for (const seed& each : seed_recordings()) {
        const auto marker =
            std::search(each.content.begin(), each.content.end(), std::begin("ZNST"), std::end("ZNST") - 1);
        if (marker - each.content.begin() < 120)
            continue;
        const auto from = marker == each.content.end() ? each.content.begin() + 120 : marker - 8;
        const auto size = std::min<std::ptrdiff_t>(each.content.end() - from, 1200);
        all.push_back({each.name, bytes(from, from + size)});
    }
    all.push_back(
        {"segments", {0, 1, 4, 't', 'e', 'x', 't', 7, 8, 1, 0, 0, 0, 2, 0, 0, 0, 9, 4, 5, 0, 6, 0}});
    all.push_back({"escapes", {1, 1, 12, 0, 0, 0, 0, 0, 1, 0, 0, 3, 0, 0, 2, 0xF1, 0, 1}});
    return all;
}

} // namespace fuzz
