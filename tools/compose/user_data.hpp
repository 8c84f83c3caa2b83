// The recorder's user data in front of a frame's pictures: a private block of segments, carried by an SEI message.
//
//   start code, SEI unit, payload type F0     00 00 00 01 06 F0 (H.264), 00 00 00 01 4E 01 F0 (H.265)
//   size                                      of the escaped block; 0xFF adds 255 and goes on, a lower byte ends it
//   block, escaped                            03 put in wherever 00 00 would be followed by 00 to 03
//   80                                        ends the unit
//
// The block: "ZNST", u16 number of segments, u16 length, then per segment u16 flag, u16 length, payload.
#pragma once

#include "tools/compose/annex_b.hpp"
#include "tools/compose/text_values.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace compose {

struct user_data_segment {
    uint16_t flag = 0;
    bytes payload = {};
    std::optional<uint16_t> declared_length = {}; // else the payload's
};

struct user_data_block {
    std::vector<user_data_segment> segments = {};
    bytes magic = {'Z', 'N', 'S', 'T'};

    // What is wrong with it, on purpose.
    std::optional<uint16_t> declared_count = {};
    std::optional<uint16_t> declared_length = {};
    std::optional<uint32_t> declared_size = {};
    std::optional<bytes> content = {}; // the whole block before it is escaped
    bytes lead = {};                   // bytes in front of the SEI unit
    bool escaped = true;
};

// Puts 03 in wherever two zero bytes would be followed by a byte of 00 to 03.
bytes escape(const bytes& plain);

// The size field: as many bytes 0xFF as needed and one below.
bytes size_field(uint32_t size);

// The whole unit, its lead included. A sound block's length is that of the *escaped* block less 8, because that is
// what a reader holds it against. As the length is part of what is escaped, there are blocks for which no length is
// right; a byte FF behind the segments, which no reader looks at, mends them. Throws usage_error when a block is too
// long for its length field.
bytes sei_unit(const user_data_block& block, codec coding);

// "NAME=TEXT" for a segment by its name, "NAME=A,B" for one that carries two numbers, "0xFLAG=HEX" for any flag.
user_data_segment parse_segment(const std::string& text);

// The names that parse_segment knows, for a help text.
std::string segment_names();

} // namespace compose
