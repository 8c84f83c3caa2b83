// The printed table of one user-data block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kmr {

// Width of the column for the segment's name; no name is longer.
inline constexpr size_t segment_name_width = 32;

void print_block_heading(uint16_t segment_count);

// `position` is the file offset of the block, the same on all of its rows.
void print_segment_row(uint32_t position, uint16_t flag, std::string_view name);

// The empty line behind the last row.
void print_block_end();

} // namespace kmr
