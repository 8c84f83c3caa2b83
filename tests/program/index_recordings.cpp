#include "tests/program/recordings.hpp"

namespace recordings {
namespace {

constexpr uint32_t start_time = 1420167845; // 2015-01-02 03:04:05 UTC

// The index block of five_frames().
constexpr size_t block = 948;
constexpr size_t record_count = block + 32;
constexpr size_t record_size = block + 36;

bytes five() {
    return recording::sound(five_frames());
}

bytes five_cut_at(size_t size) {
    bytes file = five();
    cut(file, size);
    return file;
}

bytes with_word(size_t offset, uint32_t value) {
    bytes file = five();
    recording::put_u32(file, offset, value);
    return file;
}

bytes with_trailer_magic(uint32_t value) {
    return with_word(five().size() - 8, value);
}
bytes with_trailer_length(uint32_t value) {
    return with_word(five().size() - 4, value);
}

bytes with_index(const std::vector<index_record>& records) {
    bytes file = five();
    cut(file, block);
    recording::append(file, recording::index_block(records));
    return file;
}

const frame sixth{.number = 6, .time_stamp = 6000, .kind = 0};
const frame seventh{.number = 7, .time_stamp = 7000, .kind = 1};

// Two frames behind the index, and no index at the end.
bytes frames_behind_index() {
    bytes file = five();
    recording::put_u32(file, 84, 7);
    recording::append(file, recording::frame_record(sixth));
    recording::append(file, recording::frame_record(seventh));
    return file;
}

// An old index in the middle, frames behind it, and the whole index at the end.
bytes two_indexes() {
    bytes file = frames_behind_index();
    recording::append(file, recording::index_block({{.time = start_time, .position = 88},
                                                    {.time = start_time + 3, .position = 404},
                                                    {.time = start_time + 5, .position = 1160}}));
    return file;
}

bytes tags() {
    return with_index({
        {.time = start_time, .position = 88, .tag = "gate"},
        {.time = start_time + 3, .position = 404, .sign = 0xFFFFFFFF, .tag = std::string(64, 'T')},
        {.time = start_time + 4,
         .position = 856,
         .sign = 7,
         .width = 65535,
         .height = 32768,
         .tag = "123456789"},
    });
}

bytes after_2038() {
    return with_index({
        {.time = 0x7FFFFFFF, .position = 0x80000000},
        {.time = 0x80000000, .position = 0xFFFFFFFF},
        {.time = 0xFFFFFFFF, .position = 404},
    });
}

bytes times_run_back() {
    return with_index({{.time = start_time, .position = 88}, {.time = start_time - 86400, .position = 404}});
}

// The length in the trailer leads back before the frames, which are then walked again until the count is used up.
bytes trailer_length_of_the_file() {
    return with_trailer_length(1160);
}

// The same with nothing but an inserted frame to walk again.
bytes index_reached_twice() {
    bytes file = recording::file_header(1);
    recording::append(file, recording::frame_record({.tag = 0x7788}));
    recording::append(file, recording::index_block({{.time = start_time, .position = 88}}));
    recording::put_u32(file, file.size() - 4, static_cast<uint32_t>(file.size()));
    return file;
}

bytes index_alone() {
    bytes file = recording::file_header(0);
    recording::put_u32(file, 84, 1);
    recording::append(file, recording::index_block({}));
    return file;
}

} // namespace

const table of_indexes = {
    {"cut_in_index_header.kmr", [] { return five_cut_at(block + 16); }},
    {"cut_in_index_head.kmr", [] { return five_cut_at(block + 40); }},
    {"cut_in_index_records.kmr", [] { return five_cut_at(block + 44 + 100); }},
    {"cut_in_trailer.kmr", [] { return five_cut_at(1160 - 4); }},
    {"cut_before_trailer.kmr", [] { return five_cut_at(1160 - 8); }},
    {"trailer_magic_wrong.kmr", [] { return with_trailer_magic(0x0123ABCE); }},
    {"trailer_zeroed.kmr",
     [] {
         bytes file = five();
         fill(file, file.size() - 8, 8, 0);
         return file;
     }},
    {"trailer_length_0.kmr", [] { return with_trailer_length(0); }},
    {"trailer_length_40.kmr", [] { return with_trailer_length(40); }},
    {"trailer_length_8_more.kmr", [] { return with_trailer_length(220); }},
    {"trailer_length_beyond_the_file.kmr", [] { return with_trailer_length(1161); }},
    {"trailer_length_of_the_file.kmr", trailer_length_of_the_file},
    {"index_reached_twice.kmr", index_reached_twice},
    {"index_alone.kmr", index_alone},
    {"index_without_records.kmr", [] { return with_index({}); }},
    {"index_of_one_record.kmr", [] { return with_index({{.time = start_time, .position = 88}}); }},
    {"record_count_0.kmr", [] { return with_word(record_count, 0); }},
    {"record_count_negative.kmr", [] { return with_word(record_count, 0xFFFFFFFF); }},
    {"record_count_4.kmr", [] { return with_word(record_count, 4); }},
    {"record_count_1.kmr", [] { return with_word(record_count, 1); }},
    {"record_size_0.kmr", [] { return with_word(record_size, 0); }},
    {"record_size_100.kmr", [] { return with_word(record_size, 100); }},
    {"record_size_wraps.kmr", [] { return with_word(record_size, 0x80000000); }},
    {"record_size_negative.kmr", [] { return with_word(record_size, 0xFFFFFFFF); }},
    {"frames_behind_index.kmr", frames_behind_index},
    {"two_indexes.kmr", two_indexes},
    {"tags.kmr", tags},
    {"after_2038.kmr", after_2038},
    {"times_run_back.kmr", times_run_back},
};

} // namespace recordings
