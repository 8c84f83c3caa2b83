// The recorder's user data in front of a frame's pictures: a private block of segments, carried by an SEI message.
//
//   start marker, size, block    as user_data_block.h lays them out; escaped wherever 00 00 is followed by 00 to 03
//   80                           ends the unit
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

    // What is wrong with it, on purpose.
    std::optional<bytes> magic = {}; // four bytes
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
