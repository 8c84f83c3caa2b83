// Header and frame checks, and the header's report: each number that is printed stands in the file.
//
//   88 bytes of a file header, 32 of a frame header, u32 largest frame, u32 time, u32 time before, more bytes
#include "analyse/analyse.h"
#include "analyse/format/file_header.h"
#include "analyse/options.h"
#include "file_op/common/frame_check.h"
#include "file_op/common/rec_status.h"
#include "file_op/frame_search.h"
#include "fuzz/byte_feed.hpp"
#include "fuzz/memory_disk.hpp"
#include "fuzz/printed.hpp"
#include "fuzz/seed_recordings.hpp"
#include "tools/compose/record_fields.hpp"

#include <algorithm>
#include <cstring>
#include <string>

namespace fuzz {
namespace {

template <typename Record>
Record record_of(const bytes& from) {
    Record record = {};
    if (!from.empty())
        std::memcpy(&record, from.data(), std::min(from.size(), sizeof record));
    return record;
}

// --- frames ---

// As the layout of a frame says it, in 64 bits.
int32_t class_of(const kmr_frame_header& frame, uint64_t largest) {
    const uint64_t sum =
        uint64_t{KMR_FRAME_HEADER_SIZE} + frame.VideoSize + uint64_t{frame.AFrameNum} * frame.AFrameSize;
    if (frame.SyncWord == 0 && frame.FrameSize == 0)
        return KMR_FRAME_EMPTY;
    if (frame.SyncWord != KMR_SYNC_WORD || frame.FrameSize > largest || frame.VideoSize > largest)
        return KMR_FRAME_INVALID;
    if (frame.FrameSize != sum)
        return KMR_FRAME_DAMAGED;
    if (frame.Tag == KMR_INSERTED_FRAME_TAG)
        return KMR_FRAME_INSERTED;
    const bool is_bare =
        frame.Tag == 0 && frame.AFrameNum == 0 && frame.AFrameSize == 0 && frame.TimeStamp == 0;
    return is_bare ? KMR_FRAME_INDEX : KMR_FRAME_ORDINARY;
}

void check_frame(const kmr_frame_header& frame, uint32_t largest) {
    const int32_t found = rec_ValidFrame(&frame, largest);
    expect(found == class_of(frame, largest == 0 ? uint32_t{KMR_MAX_FRAME_SIZE} : largest),
           "a frame has the class of its fields");
    const bool is_valid = rec_IsValidFrame(frame) == REC_OK;
    const int32_t with_limit = class_of(frame, KMR_MAX_FRAME_SIZE);
    if (frame.SyncWord == KMR_SYNC_WORD)
        expect(is_valid == (with_limit >= KMR_FRAME_ORDINARY && with_limit != KMR_FRAME_DAMAGED),
               "both checks agree on the lengths");
}

void check_times(uint32_t time, uint32_t before) {
    // Forward by ten hours at the most; across the wrap one less is counted.
    const uint64_t distance =
        time >= before ? uint64_t{time} - before : (uint64_t{1} << 32) + time - before - 1;
    expect((rec_CheckFrameTm(time, before) == 1) == (distance <= 36'000'000),
           "a step of time is at most ten hours");
}

void find_last(const bytes& block, uint32_t limit) {
    uint32_t number = 0;
    int64_t offset = -1;
    kmr_frame_header header = {};
    const auto most = static_cast<int32_t>(limit & INT32_MAX);
    if (rec_FindOneFrame(block.data(), static_cast<int32_t>(block.size()), most, &number, &offset, &header) !=
        1) {
        expect(number == 0 && offset == -1, "a frame that is not found stores nothing");
        return;
    }
    expect(offset >= 0 && static_cast<uint64_t>(offset) + sizeof header <= block.size(),
           "a frame lies in its block");
    expect(std::memcmp(&header, block.data() + offset, sizeof header) == 0 && header.FrameNo == number,
           "its header is that of the block");
    expect(class_of(header, KMR_MAX_FRAME_SIZE) == KMR_FRAME_ORDINARY && number != 0, "and an ordinary one");
    expect(most == 0 || offset + int64_t{header.FrameSize} <= most, "that ends within the file");
}

// --- the file header ---

void check_header(const kmr_file_header& header) {
    const int32_t found = Common_IsValidFileHeader(&header);
    expect(found == -1 || found == 1 || found == 2, "a header is valid, valid and upright, or neither");
    const bool is_upright = IsLobbyByWH(header.Width, header.Height) == 1;
    expect(found == -1 || header.FrameRate <= 60, "a valid header has at most 60 frames a second");
    expect(header.FrameRate > 60 || is_upright == (found == 2), "an upright picture is told");
    expect(!is_upright || header.Height > header.Width, "and is higher than wide");
}

std::string report_of(const bytes& header) {
    const memory_disk disk(header, work_bound::report(header));
    printed out;
    analyse_kmr(memory_disk::path, KMR_OPTION_SAMPLE);
    return std::string(out.text());
}

uint32_t value_in(const bytes& header, const compose::record_field& field) {
    uint32_t value = 0;
    for (size_t i = 0; i < std::min<size_t>(field.width, 4); ++i)
        value |= uint32_t{header[field.offset + i]} << 8 * i;
    return value;
}

// The line of a field; that of a text may hold any others, so what stands in front of it is looked for from the front.
std::string_view line_of(std::string_view report, const std::string& label, bool from_front) {
    const std::string sought = label + " :\t";
    const size_t at = from_front ? report.find(sought) : report.rfind(sought);
    expect(at != std::string_view::npos, "each field has its line");
    const std::string_view behind = report.substr(at + sought.size());
    return behind.substr(0, behind.find('\n'));
}

void expect_report(const bytes& header) {
    const std::string report = report_of(header);
    constexpr size_t text_offset = 24;
    for (const compose::record_field& field : compose::file_header_fields) {
        const std::string label = field.name;
        if (label == "Mode") // shown as a word
            continue;
        uint32_t value = value_in(header, field);
        if (label == "FrameRate" && value == 0)
            value = 25;
        const std::string_view shown = line_of(report, label, field.offset < text_offset);
        expect(std::stol(std::string(shown)) == static_cast<int32_t>(value),
               "each number is that of the file");
    }
}

// So that the report is the header's alone.
bytes without_frames(bytes header) {
    header.resize(KMR_FILE_HEADER_SIZE);
    recording::put_u32(header, 84, 0);
    return header;
}

} // namespace

void run(input data) {
    byte_feed feed(data);
    const bytes header = feed.bytes(KMR_FILE_HEADER_SIZE);
    const auto frame = record_of<kmr_frame_header>(feed.bytes(KMR_FRAME_HEADER_SIZE));
    const uint32_t largest = feed.u32();
    const uint32_t time = feed.u32();
    const uint32_t before = feed.u32();
    check_header(record_of<kmr_file_header>(header));
    check_frame(frame, largest);
    check_frame(frame, 0);
    check_times(time, before);
    find_last(feed.bytes(SIZE_MAX), largest);
    expect_report(without_frames(header));
}

std::vector<seed> seeds() {
    std::vector<seed> all = seed_recordings();
    for (seed& each : all) {
        constexpr uint8_t values[] = {0, 0, 16, 0, 0xE8, 3, 0, 0, 0xD0, 7, 0, 0};
        constexpr size_t behind_headers = sizeof(kmr_file_header) + sizeof(kmr_frame_header);
        const size_t at = std::min(each.content.size(), behind_headers);
        each.content.insert(each.content.begin() + static_cast<std::ptrdiff_t>(at), std::begin(values),
                            std::end(values));
    }
    return all;
}

} // namespace fuzz
