// A judgement as rows of the database, and back.
#pragma once

#include "kmr/store/database.hpp"
#include "scan/report.hpp"

#include <string>

namespace kmr::store {

// The columns that a report fills in `recordings`, in their order.
extern const char* const report_columns;
inline constexpr int report_column_count = 28;

// "excluded.a, excluded.b" of "a, b": what an INSERT that met a row brought.
std::string excluded(const std::string& columns);

// The same of columns of `recordings`, but a channel that is there stays: the path seldom tells it, and somebody who
// knows it has written it there.
std::string excluded_but_channel(const std::string& columns);

void bind_report(statement& to, const scan::report& judged);

// From a row that has those columns from `first` on; without findings. False where it holds what no report can.
bool read_report(const statement& from, int first, scan::report& into, uint64_t& codes, uint64_t& findings);

// The columns of `findings` and of `finding_counts` behind the recording.
extern const char* const finding_columns;
inline constexpr int finding_column_count = 16;

void bind_finding(statement& to, size_t position, const scan::finding& found);
bool read_finding(const statement& from, int first, scan::finding& into);

std::optional<scan::finding_code> code_named(std::string_view name);

} // namespace kmr::store
