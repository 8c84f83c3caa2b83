// The parts that the text of several commands is made of.
#pragma once

#include "kmr/output/color.hpp"
#include "scan/report.hpp"

#include <string>

namespace kmr::program {

output::color color_of(scan::verdict judged);

// "bytes-torn, frames-lost x3"; "-" where nothing was found
void append_codes(std::string& to, const scan::report& judged);

bool can_be_in_need_of_repair(const scan::report& judged);

// "repair keeps 74 frames, 60123 bytes, 0:00:02.960, loses 456 bytes", "no repair"
void append_repair(std::string& to, const scan::report& judged);

} // namespace kmr::program
