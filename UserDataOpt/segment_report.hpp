// The printed table of one user-data block.
#pragma once

#include "UserDataOpt/segment_table.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kmr {

// Width of the column for the segment's name; no name is longer.
inline constexpr size_t segment_name_width = 32;

// `position` is the file offset of the block, which stands on all of its rows.
void print_block_heading(uint16_t segment_count, uint32_t position);

// The row of a segment that is named as its kind; `kind` is an element of segment_kinds.
void print_segment_row(const segment_kind& kind);

// The row of any other segment.
void print_segment_row(uint16_t flag, std::string_view name);

// The empty line behind the last row.
void print_block_end();

} // namespace kmr
