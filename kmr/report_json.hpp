// The parts that the JSON of several commands is made of.
#pragma once

#include "kmr/judged_file.hpp"
#include "kmr/output/json.hpp"
#include "kmr/output/times.hpp"

namespace kmr::program {

// path, verdict, size, changed, header, start, end, duration_ms, frames, index
void write_common_members(output::json_writer& to, const judged_file& file, output::clock& clock);
void write_finding(output::json_writer& to, const scan::finding& found);
void write_repair(output::json_writer& to, const scan::repair_summary& repair);

// The date of the header as it stands there, without a zone: "2015-01-02T03:04:05"; empty when it is no date.
std::string header_date(const kmr_file_header& header);

} // namespace kmr::program
