// The text of a page: what stands there before anything is known of a recording, and data on its way into it.
#pragma once

#include <string>
#include <string_view>

namespace kmr::program {

// The page is `page_head`, blocks of data, `page_tail`.
std::string_view page_head();
std::string_view page_tail();

// Whether the page draws a time line: the library that draws it was there when the program was built.
bool page_has_time_line();

// Data that the script of the page finds by its name. Nothing in JSON that is appended can end the block.
void begin_block(std::string& to, std::string_view name, std::string_view type = "application/json");
void append_to_block(std::string& to, std::string_view json);
void end_block(std::string& to);

} // namespace kmr::program
