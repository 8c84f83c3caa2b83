#include "kmr/check/check_output.hpp"

#include "kmr/output/color.hpp"
#include "kmr/output/numbers.hpp"
#include "kmr/report_json.hpp"
#include "kmr/report_text.hpp"

#include <numeric>

namespace kmr::program {
namespace {

using output::append_number;
using output::color;

constexpr size_t verdict_width = 17;
constexpr size_t start_width = 29;
constexpr size_t length_width = 13;
constexpr size_t frames_width = 9;
constexpr size_t severity_width = 9;
constexpr size_t code_width = 21;

color color_for(scan::severity level) {
    constexpr color colors[] = {color::red, color::yellow, color::dim};
    return colors[static_cast<size_t>(level)];
}

void append_start(std::string& to, const scan::report& judged, output::clock& clock) {
    if (judged.start_ms)
        clock.append_iso(to, *judged.start_ms);
    else
        output::append_left(to, "-", start_width);
}

void append_length(std::string& to, const scan::report& judged) {
    output::append_right(to, judged.duration_ms ? output::stream_time(*judged.duration_ms) : "-",
                         length_width);
}

void append_line(std::string& to, const judged_file& file, const check_style& style, output::clock& clock) {
    const scan::report& judged = file.judged;
    output::append_colored(to, scan::name_of(judged.judged), color_of(judged.judged), style.colored,
                           verdict_width);
    append_start(to, judged, clock);
    append_length(to, judged);
    output::append_right_number(to, judged.frames.total, frames_width);
    to += " frames  ";
    append_codes(to, judged);
    if (can_be_in_need_of_repair(judged))
        append_repair(to += "; ", judged);
    output::append_text(to += "  ", file.path);
    to += '\n';
}

void append_finding(std::string& to, const scan::finding& found, const check_style& style) {
    const scan::finding_kind& kind = scan::kind_of(found.code);
    to += "    ";
    output::append_colored(to, scan::name_of(kind.level), color_for(kind.level), style.colored,
                           severity_width);
    output::append_left(to, kind.code, code_width);
    append_number(to += "at ", found.offset);
    append_number(to += " +", found.length);
    if (found.frame)
        append_number(to += ", frame ", *found.frame);
    if (found.time_ms)
        output::append_stream_time(to += ", ", *found.time_ms);
    to.append(": ").append(scan::message_of(found)).append("\n");
}

void append_findings(std::string& to, const scan::report& judged, const check_style& style) {
    for (const scan::finding& each : judged.findings)
        append_finding(to, each, style);
    if (judged.findings_left_out == 0)
        return;
    append_number(to += "    and ", judged.findings_left_out);
    to += " more (--all-findings lists them)\n";
}

} // namespace

void append_checked(std::string& to, const judged_file& file, const check_style& style,
                    output::clock& clock) {
    if (style.json) {
        append_checked_json(to, file, clock);
        return;
    }
    append_line(to, file, style, clock);
    if (style.verbose)
        append_findings(to, file.judged, style);
}

void append_checked_json(std::string& to, const judged_file& file, output::clock& clock) {
    output::json_writer json(to);
    json.begin_object().member("schema", "kmr.check/1");
    write_common_members(json, file, clock);
    json.key("findings").begin_array();
    for (const scan::finding& each : file.judged.findings)
        write_finding(json, each);
    json.end_array().member("findings_left_out", file.judged.findings_left_out);
    write_repair(json.key("repair"), file.judged.repair);
    json.end_object();
    to += '\n';
}

void check_totals::add(const scan::report& judged) {
    ++files[static_cast<size_t>(judged.judged)];
    frames += judged.frames.total;
    bytes += judged.size;
    duration_ms += judged.duration_ms.value_or(0);
}

uint64_t check_totals::all_files() const {
    return std::accumulate(files.begin(), files.end(), uint64_t{0});
}

void append_totals(std::string& to, const check_totals& totals) {
    append_number(to, totals.all_files());
    to += totals.all_files() == 1 ? " file" : " files";
    std::string_view separator = ": ";
    for (size_t each = totals.files.size(); each-- > 0;) { // the best verdict first
        if (totals.files[each] == 0)
            continue;
        append_number(to += separator, totals.files[each]);
        to.append(" ").append(scan::name_of(static_cast<scan::verdict>(each)));
        separator = ", ";
    }
    append_number(to += "; ", totals.frames);
    append_number(to += " frames, ", totals.bytes);
    output::append_stream_time(to += " bytes, ", totals.duration_ms);
    if (totals.skipped != 0) {
        append_number(to += "; skipped ", totals.skipped);
        to += totals.skipped == 1 ? " file that is no recording" : " files that are no recordings";
    }
    to += '\n';
}

} // namespace kmr::program
