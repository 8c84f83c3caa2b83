#include "tools/option_table.hpp"

#include "analyse/format/file_header.h"
#include "tools/compose/usage_error.hpp"

#include <utility>

namespace {

using namespace compose;

codec parse_codec(const std::string& text) {
    if (text == "h264")
        return codec::h264;
    if (text == "h265")
        return codec::h265;
    throw usage_error("'" + text + "' is neither h264 nor h265");
}

uint32_t parse_positive(const std::string& text) {
    const uint32_t value = parse_u32(text);
    if (value == 0)
        throw usage_error("it must be at least 1");
    return value;
}

constexpr option_row video_rows[] = {
    {"video", "FILE",
     "Annex-B elementary stream; every access unit becomes a frame, an IDR or\n"
     "random access picture an I-frame",
     [](request& to, const std::string& v) { to.recording.video.clip = v; }},
    {"codec", "h264|h265", "else by the name of the video file (.h265, .265, .hevc), else h264",
     [](request& to, const std::string& v) { to.recording.video.coding = parse_codec(v); }},
    {"frames", "N",
     "number of frames (else all of the video, which begins anew where it is\n"
     "too short; 100 without one)",
     [](request& to, const std::string& v) { to.recording.video.frames = parse_u32(v); }},
    {"i-interval", "N", "without a video: every N-th frame is an I-frame (25)",
     [](request& to, const std::string& v) { to.recording.video.i_interval = parse_positive(v); }},
    {"payload", "BYTES", "without a video: video bytes of an I-frame (4000), user data not counted",
     [](request& to, const std::string& v) { to.recording.video.i_payload = parse_u32(v); }},
    {"p-payload", "BYTES", "the same of a P-frame (1000)",
     [](request& to, const std::string& v) { to.recording.video.p_payload = parse_u32(v); }},
    {"fill", "HEX", "without a video: the byte that frames are filled with (55)",
     [](request& to, const std::string& v) {
         const bytes fill = parse_hex(v);
         if (fill.size() != 1)
             throw usage_error("'" + v + "' is not one byte");
         to.recording.video.fill = fill[0];
     }},
    {"sparse", nullptr, "leave filled bytes and audio as holes that read as zeros",
     [](request& to, const std::string&) { to.recording.frames.sparse = true; }},
};

std::pair<uint16_t, uint16_t> parse_u16_pair(const std::string& text, char separator) {
    const auto [first, second] = split_pair(text, separator);
    return {parse_u16(first), parse_u16(second)};
}

constexpr option_row frame_rows[] = {
    {"audio", "COUNTxBYTES", "audio frames behind the video data of every frame",
     [](request& to, const std::string& v) {
         const auto [count, size] = parse_u16_pair(v, 'x');
         to.recording.frames.audio_count = count;
         to.recording.frames.audio_size = size;
     }},
    {"first-number", "N", "number of the first frame (1)",
     [](request& to, const std::string& v) { to.recording.frames.first_number = parse_u32(v); }},
    {"first-stamp", "MS",
     "time stamp of the first frame in milliseconds (1000); a frame with stamp 0\n"
     "and without audio looks like the head of an index",
     [](request& to, const std::string& v) { to.recording.frames.first_stamp = parse_u32(v); }},
    {"stamp-step", "MS", "milliseconds from frame to frame (1000 / frame rate)",
     [](request& to, const std::string& v) { to.recording.frames.stamp_step = parse_u32(v); }},
    {"start-epoch", "SECONDS", "time of the first index record (else --start, taken as UTC)",
     [](request& to, const std::string& v) { to.recording.frames.start_epoch = parse_u32(v); }},
};

constexpr option_row file_header_rows[] = {
    {"frame-rate", "N", "frames per second (25)",
     [](request& to, const std::string& v) { to.recording.header.frame_rate = parse_u16(v); }},
    {"size", "WIDTHxHEIGHT", "picture size in pixels, for header and index (1920x1080)",
     [](request& to, const std::string& v) {
         const auto [width, height] = parse_u16_pair(v, 'x');
         to.recording.header.width = width;
         to.recording.header.height = height;
     }},
    {"mode", "N", "video coding (22)",
     [](request& to, const std::string& v) { to.recording.header.mode = parse_u16(v); }},
    {"start", "TIME", "\"YYYY-MM-DD hh:mm:ss\" (2015-01-02 03:04:05)",
     [](request& to, const std::string& v) { to.recording.header.start = parse_civil_time(v); }},
    {"cover-word", "TEXT", "up to 36 bytes; 36 leave no room for the terminator",
     [](request& to, const std::string& v) {
         to.recording.header.cover_word = parse_text(v, sizeof(kmr_file_header::cCovWord));
     }},
    {"frame-count", "N", "FrameCount (else the number of ordinary frames)",
     [](request& to, const std::string& v) {
         to.recording.header.fields.push_back(parse_field_patch("FrameCount=" + v, file_header_fields));
     }},
    {"header", "FIELD=VALUE", "any field by its name: CoverMask, TriggerLow, TotalSize and so on",
     [](request& to, const std::string& v) {
         to.recording.header.fields.push_back(parse_field_patch(v, file_header_fields));
     }},
};

} // namespace

const option_group video_options = {"Video", video_rows};
const option_group frame_options = {"Frames", frame_rows};
const option_group file_header_options = {"File header", file_header_rows};
