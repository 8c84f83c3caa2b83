#include "tests/program/recordings.hpp"

namespace recordings {
namespace {

// Offsets in a frame header.
constexpr size_t frame_size = 4;
constexpr size_t video_size = 20;
constexpr size_t tag = 30;

// Offsets of frames in eight_frames().
constexpr size_t third = 88 + 2 * 132;
constexpr size_t fourth = 88 + 3 * 132;

bytes five_cut_at(size_t size) {
    bytes file = recording::sound(five_frames());
    cut(file, size);
    return file;
}

// More of the last frame's data is there than is looked at, but not all of it.
bytes torn_large_frame() {
    bytes file = recording::file_header(2);
    recording::append(file, recording::frame_record({}));
    recording::append(file, recording::frame_record(
                                {.number = 2, .time_stamp = 2000, .kind = 1, .video = bytes(2000, 0xAA)}));
    cut(file, file.size() - 500);
    return file;
}

bytes damaged_at(size_t frame, size_t field, uint32_t value) {
    bytes file = eight_frames();
    recording::put_u32(file, frame + field, value);
    return file;
}

bytes filled(size_t offset, size_t size, uint8_t value) {
    bytes file = eight_frames();
    fill(file, offset, size, value);
    return file;
}

bytes with_frames(const std::vector<frame>& frames) {
    return recording::sound(frames);
}

bytes lost_frames() {
    return with_frames({
        {.number = 1, .time_stamp = 1000, .kind = 0},
        {.number = 2, .time_stamp = 2000, .kind = 1},
        {.number = 7, .time_stamp = 7000, .kind = 1},
        {.number = 8, .time_stamp = 8000, .kind = 0},
        {.number = 9, .time_stamp = 9000, .kind = 1},
        {.number = 10, .time_stamp = 10000, .kind = 0},
        {.number = 11, .time_stamp = 11000, .kind = 0},
        {.number = 3, .time_stamp = 12000, .kind = 0},
        {.number = 2000000003, .time_stamp = 13000, .kind = 0},
        {.number = 2000000004, .time_stamp = 14000, .kind = 1},
    });
}

// Back by a second, on by half an hour and a second, the same again (which restarts the measuring), beyond 2^31.
bytes clock_jumps() {
    return with_frames({
        {.number = 1, .time_stamp = 5000, .kind = 0},
        {.number = 2, .time_stamp = 4000, .kind = 1},
        {.number = 3, .time_stamp = 1805000, .kind = 1},
        {.number = 6, .time_stamp = 1805000, .kind = 1},
        {.number = 7, .time_stamp = 1806000, .kind = 1},
        {.number = 8, .time_stamp = 1807000, .kind = 1},
        {.number = 9, .time_stamp = 0x80000000, .kind = 0},
    });
}

bytes encrypted() {
    return with_frames({
        {.number = 1, .time_stamp = 1000, .kind = 0, .tag = 2},
        {.number = 2, .time_stamp = 2000, .kind = 1, .video = bytes(63, 0xAA), .tag = 2},
        {.number = 3, .time_stamp = 3000, .kind = 1, .video = bytes(64, 0xAA), .tag = 2},
        {.number = 4, .time_stamp = 4000, .kind = 1, .tag = 1},
        {.number = 5, .time_stamp = 5000, .kind = 1, .tag = 3},
        {.number = 6, .time_stamp = 6000, .kind = 1, .tag = 6},
        {.number = 7,
         .time_stamp = 7000,
         .kind = 1,
         .video = bytes(32, 0xAA),
         .audio_count = 2,
         .audio_size = 16,
         .tag = 0xFFFE},
    });
}

bytes inserted_frames() {
    std::vector<frame> frames = five_frames();
    frames.insert(frames.begin() + 1, {.number = 1, .time_stamp = 1500, .kind = 0, .tag = 0x7788});
    frames.insert(frames.begin() + 4, {.number = 9, .time_stamp = 3500, .kind = 1, .tag = 0x7788});
    bytes file = recording::sound(frames);
    recording::put_u32(file, 84, 5);
    return file;
}

bytes inserted_frame_with_wrong_lengths() {
    bytes file = damaged_at(third, video_size, 101);
    recording::put_u16(file, third + tag, 0x7788);
    return file;
}

bytes odd_kinds() {
    return with_frames({
        {.number = 1, .time_stamp = 1000, .kind = 0x100},
        {.number = 2, .time_stamp = 2000, .kind = 0x101},
        {.number = 3, .time_stamp = 3000, .kind = 0xFFFFFF00},
        {.number = 4, .time_stamp = 4000, .kind = 0xFF},
    });
}

bytes frame_without_video() {
    std::vector<frame> frames = five_frames();
    frames[2].video = {};
    return recording::sound(frames);
}

bytes first_stamp_0() {
    std::vector<frame> frames = five_frames();
    frames[0].time_stamp = 0;
    return recording::sound(frames);
}

bytes longest_frame() {
    std::vector<frame> frames = five_frames();
    frames[1].video = bytes(0x100000 - 32, 0xAA);
    return recording::sound(frames);
}

} // namespace

const table of_frames = {
    {"eight_frames.kmr", eight_frames},
    {"cut_in_frame_header.kmr", [] { return five_cut_at(404 + 31); }},
    {"cut_behind_frame_header.kmr", [] { return five_cut_at(404 + 32); }},
    {"cut_in_video.kmr", [] { return five_cut_at(404 + 32 + 99); }},
    {"cut_in_audio.kmr", [] { return five_cut_at(404 + 32 + 100 + 50); }},
    {"cut_behind_frames.kmr", [] { return five_cut_at(948); }},
    {"torn_large_frame.kmr", torn_large_frame},
    {"video_size_wrong.kmr", [] { return damaged_at(third, video_size, 101); }},
    {"frame_size_wrong.kmr", [] { return damaged_at(third, frame_size, 142); }},
    {"frame_size_0.kmr", [] { return damaged_at(third, frame_size, 0); }},
    {"frame_size_too_large.kmr", [] { return damaged_at(third, frame_size, 0x100001); }},
    {"video_size_too_large.kmr", [] { return damaged_at(third, video_size, 0x100001); }},
    {"sync_word_wrong.kmr", [] { return damaged_at(third, 0, 0x01000000); }},
    {"sync_word_0.kmr", [] { return damaged_at(third, 0, 0); }},
    {"zeroed.kmr", [] { return filled(third - 20, 100, 0); }},
    {"zeroed_i_frame.kmr", [] { return filled(fourth, 132, 0); }},
    {"zeroed_to_the_end.kmr", [] { return filled(fourth, 1436 - fourth, 0); }},
    {"overwritten.kmr", [] { return filled(third, 132, 0xFF); }},
    {"overwritten_payload.kmr", [] { return filled(third + 32, 100, 0xFF); }},
    {"overwritten_to_the_end.kmr", [] { return filled(third, 1436 - third, 'x'); }},
    {"lost_frames.kmr", lost_frames},
    {"clock_jumps.kmr", clock_jumps},
    {"encrypted.kmr", encrypted},
    {"inserted_frames.kmr", inserted_frames},
    {"inserted_frame_with_wrong_lengths.kmr", inserted_frame_with_wrong_lengths},
    {"odd_kinds.kmr", odd_kinds},
    {"frame_without_video.kmr", frame_without_video},
    {"first_stamp_0.kmr", first_stamp_0},
    {"longest_frame.kmr", longest_frame},
};

} // namespace recordings
