// What `show` says about a file.
#pragma once

#include "kmr/judged_file.hpp"
#include "kmr/output/times.hpp"

#include <optional>
#include <string>

namespace kmr::program {

// A block of lines, a name and what is known under it on each.
void append_shown(std::string& to, const judged_file& file, bool colored, output::clock& clock);

// One object of kmr.show/1 and a line feed.
void append_shown_json(std::string& to, const judged_file& file, output::clock& clock);

// "h264" and so on; empty where the coding is not known.
std::string_view word_for(scan::video_codec codec);

// Bits a second: video data over the time from the first frame to the last one; none where no time passes.
std::optional<uint64_t> bit_rate_of(const scan::report& judged);

} // namespace kmr::program
