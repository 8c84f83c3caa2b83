#include "tools/option_table.hpp"

#include "tools/compose/text_values.hpp"

namespace {

using namespace compose;

constexpr option_row mishap_rows[] = {
    {"lose", "N:COUNT", "leave out COUNT frames from frame N on; their numbers and stamps are missing",
     [](request& to, const std::string& v) {
         const auto [frame, count] = split_pair(v, ':');
         to.recording.frames.lost.emplace_back(parse_u32(frame), parse_u32(count));
     }},
    {"clock-jump", "N:MS", "from frame N on stamps are MS milliseconds later (or, below 0, earlier)",
     [](request& to, const std::string& v) {
         const auto [frame, milliseconds] = split_pair(v, ':');
         to.recording.frames.clock_jumps.emplace_back(parse_u32(frame), parse_signed(milliseconds));
     }},
    {"insert-after", "FRAMES", "put an inserted frame (tag 0x7788) behind each of these frames",
     [](request& to, const std::string& v) {
         to.recording.frames.inserted_after.push_back(parse_frame_selection(v));
     }},
    {"inserted-payload", "BYTES", "video bytes of an inserted frame (100)",
     [](request& to, const std::string& v) { to.recording.frames.inserted_payload = parse_u32(v); }},
    {"encrypt", "FRAMES", "mark these frames as encrypted; their bytes stay as they are",
     [](request& to, const std::string& v) {
         to.recording.frames.encrypted.push_back(parse_frame_selection(v));
     }},
    {"frame-field", "FRAMES.FIELD=VALUE",
     "SyncWord, FrameSize, FrameKind, FrameNo, TimeStamp, VideoSize, AFrameNum,\n"
     "AFrameSize, Reserved or Tag in the header of these frames",
     [](request& to, const std::string& v) {
         const auto [frames, patch] = split_pair(v, '.');
         to.recording.frames.fields.push_back(
             {parse_frame_selection(frames), parse_field_patch(patch, frame_header_fields)});
     }},
    {"gap-bytes", "N:BYTES", "garbage in front of frame N",
     [](request& to, const std::string& v) {
         const auto [frame, count] = split_pair(v, ':');
         to.recording.frames.gaps.emplace_back(parse_u32(frame), parse_u32(count));
     }},
    {"torn-last", "BYTES", "the recording ends so many bytes into its last frame, without an index",
     [](request& to, const std::string& v) { to.recording.frames.torn_last = parse_u32(v); }},
};

constexpr option_row damage_rows[] = {
    {"truncate", "PLACE", "the file ends here",
     [](request& to, const std::string& v) { to.recording.damages.push_back(parse_truncate(v)); }},
    {"zero", "PLACE:BYTES", "zeros",
     [](request& to, const std::string& v) { to.recording.damages.push_back(parse_zero(v)); }},
    {"overwrite", "PLACE:HEX", "these bytes",
     [](request& to, const std::string& v) { to.recording.damages.push_back(parse_overwrite(v)); }},
    {"noise", "PLACE:BYTES:SEED", "noise, the same for the same seed",
     [](request& to, const std::string& v) { to.recording.damages.push_back(parse_noise(v)); }},
};

} // namespace

const option_group mishap_options = {"What goes wrong while recording", mishap_rows};
const option_group damage_options = {"Damage to the finished file, in the order given; see PLACE below",
                                     damage_rows};
