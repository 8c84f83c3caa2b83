#include "tests/program/recordings.hpp"

#include <algorithm>
#include <string_view>

namespace recordings {
namespace {

constexpr size_t frame_rate = 0;
constexpr size_t mode = 6;
constexpr size_t cover_word = 24;
constexpr size_t frame_number_difference = 60;
constexpr size_t frame_count = 84;

bytes sound() {
    return recording::sound(five_frames());
}

bytes with_frame_count(uint32_t count) {
    bytes file = sound();
    recording::put_u32(file, frame_count, count);
    return file;
}

void put_text(bytes& file, size_t offset, std::string_view text) {
    std::copy(text.begin(), text.end(), file.begin() + static_cast<std::ptrdiff_t>(offset));
}

// Every field has a value of its own; 32-bit fields from 2^31 on show as negative numbers.
bytes every_field() {
    bytes file = sound();
    recording::put_u16(file, frame_rate, 60);
    recording::put_u16(file, 2, 65535);
    recording::put_u16(file, 4, 32768);
    recording::put_u16(file, mode, 20);
    recording::put_u16(file, 8, 1);
    recording::put_u16(file, 22, 40000);
    put_text(file, cover_word, "Gate 7");
    recording::put_u32(file, frame_number_difference, 0xFFFFFFFF);
    recording::put_u32(file, 64, 0x80000000);
    recording::put_u32(file, 68, 0x7FFFFFFF);
    recording::put_u16(file, 72, 65534);
    file[74] = 255;
    file[75] = 128;
    recording::put_u32(file, 76, 8000);
    recording::put_u32(file, 80, 0xFFFFFFF6);
    return file;
}

bytes with_mode(uint16_t value) {
    bytes file = sound();
    recording::put_u16(file, mode, value);
    return file;
}

// The text fills its field and goes on in the next one, whose last byte is 0.
bytes cover_word_runs_on() {
    bytes file = sound();
    fill(file, cover_word, 36, 'C');
    recording::put_u32(file, frame_number_difference, 0x00434241);
    return file;
}

// The text goes on to the last byte of the header.
bytes cover_word_without_end() {
    bytes file = sound();
    fill(file, cover_word, 88 - cover_word, 'C');
    return file;
}

bytes cut_header() {
    bytes file = sound();
    cut(file, 50);
    return file;
}

// 700 printable characters, none of them a 0: no frame anywhere.
bytes text() {
    constexpr std::string_view line = "This is no recording at all. ";
    bytes file;
    while (file.size() < 700)
        file.insert(file.end(), line.begin(), line.end());
    cut(file, 700);
    return file;
}

} // namespace

const table of_headers = {
    {"sound.kmr", sound},
    {"every_field.kmr", every_field},
    {"mode_0.kmr", [] { return with_mode(0); }},
    {"mode_21.kmr", [] { return with_mode(21); }},
    {"mode_41.kmr", [] { return with_mode(41); }},
    {"frame_rate_0.kmr",
     [] {
         bytes file = sound();
         recording::put_u16(file, frame_rate, 0);
         return file;
     }},
    {"cover_word_runs_on.kmr", cover_word_runs_on},
    {"cover_word_without_end.kmr", cover_word_without_end},
    {"frame_count_0.kmr", [] { return with_frame_count(0); }},
    {"frame_count_negative.kmr", [] { return with_frame_count(0xFFFFFFFF); }},
    {"frame_count_2.kmr", [] { return with_frame_count(2); }},
    {"frame_count_4.kmr", [] { return with_frame_count(4); }},
    {"frame_count_huge.kmr", [] { return with_frame_count(0x7FFFFFFF); }},
    {"empty.kmr", [] { return bytes{}; }},
    {"cut_header.kmr", cut_header},
    {"header_alone.kmr", [] { return recording::file_header(5); }},
    {"text.kmr", text},
};

} // namespace recordings
