// The parts that the text of several commands is made of.
#pragma once

#include "kmr/output/color.hpp"
#include "kmr/output/times.hpp"
#include "scan/report.hpp"

#include <string>

namespace kmr::program {

output::color color_of(scan::verdict judged);

// "bytes-torn, frames-lost x3"; "-" where nothing was found
void append_codes(std::string& to, const scan::report& judged);

bool can_be_in_need_of_repair(const scan::report& judged);

// "repair keeps 74 frames, 60123 bytes, 0:00:02.960, loses 456 bytes", "no repair"
void append_repair(std::string& to, const scan::report& judged);

// "2015-01-02T03:04:05.000+01:00 to 2015-01-02T03:04:07.960+01:00, 0:00:02.960"; nothing without an ordinary frame
void append_span(std::string& to, const scan::report& judged, output::clock& clock);

// "75: 3 I, 72 P, 0 inserted; 0 encrypted, 0 damaged, 0 lost"
void append_frame_counts(std::string& to, const scan::frame_counts& frames);

} // namespace kmr::program
