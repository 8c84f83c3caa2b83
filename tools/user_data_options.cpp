#include "tools/option_table.hpp"

#include "tools/compose/usage_error.hpp"

namespace {

using namespace compose;

// The block that the options now at hand belong to; without --user-data one for the I-frames.
user_data_block& current_block(request& to) {
    if (to.recording.frames.user_data.empty())
        to.recording.frames.user_data.emplace_back();
    return to.recording.frames.user_data.back().block;
}

user_data_segment& current_segment(request& to) {
    user_data_block& block = current_block(to);
    if (block.segments.empty())
        throw usage_error("it belongs to the --segment in front of it, and there is none");
    return block.segments.back();
}

constexpr uint32_t longest_declared_size = 1000000; // the size field takes a byte for every 255

constexpr option_row user_data_rows[] = {
    {"user-data", "FRAMES",
     "begins a block for these frames, see FRAMES below; the options of this\n"
     "group that follow belong to it (else to one block for the I-frames).\n"
     "A frame that several blocks are meant for gets the last of them",
     [](request& to, const std::string& v) {
         to.recording.frames.user_data.emplace_back().frames = parse_frame_selection(v);
     }},
    {"segment", "NAME=VALUE",
     "adds a segment: osd, vca, frametime, gps, plate, audio, vca_vi or\n"
     "user_define=TEXT, vca_size=WIDTH,HEIGHT, vca_target=A,B (stored as given,\n"
     "shown less one), or 0xFLAG=HEX with any flag",
     [](request& to, const std::string& v) { current_block(to).segments.push_back(parse_segment(v)); }},
    {"segment-length", "BYTES", "wrong: length that the latest segment says it has",
     [](request& to, const std::string& v) { current_segment(to).declared_length = parse_u16(v); }},
    {"block-magic", "HEX", "wrong: four bytes in place of the magic 5a4e5354",
     [](request& to, const std::string& v) {
         const bytes magic = parse_hex(v);
         if (magic.size() != 4)
             throw usage_error("'" + v + "' is not four bytes");
         current_block(to).magic = magic;
     }},
    {"block-count", "N", "wrong: number of segments in the block's header",
     [](request& to, const std::string& v) { current_block(to).declared_count = parse_u16(v); }},
    {"block-length", "BYTES", "wrong: length in the block's header",
     [](request& to, const std::string& v) { current_block(to).declared_length = parse_u16(v); }},
    {"block-size", "BYTES", "wrong: size in front of the block",
     [](request& to, const std::string& v) {
         current_block(to).declared_size = static_cast<uint32_t>(parse_number(v, longest_declared_size));
     }},
    {"block-content", "HEX", "wrong: the whole block, before it is escaped",
     [](request& to, const std::string& v) { current_block(to).content = parse_hex(v); }},
    {"block-lead", "HEX", "wrong: bytes in front of the block's start code",
     [](request& to, const std::string& v) { current_block(to).lead = parse_hex(v); }},
    {"unescaped", nullptr, "wrong: the block is not escaped",
     [](request& to, const std::string&) { current_block(to).escaped = false; }},
};

} // namespace

const option_group user_data_options = {"User data (a reader looks at the first 1024 bytes of a frame)",
                                        user_data_rows};
