#include "kmr/report_text.hpp"

#include "kmr/output/numbers.hpp"

namespace kmr::program {

using output::append_number;
using output::color;

color color_of(scan::verdict judged) {
    switch (judged) { // uncovered: every value has its case
    case scan::verdict::sound:
        return color::green;
    case scan::verdict::unfinished:
    case scan::verdict::not_a_recording:
        return color::yellow;
    case scan::verdict::damaged:
    case scan::verdict::unreadable:
        break;
    }
    return color::red;
}

void append_codes(std::string& to, const scan::report& judged) {
    std::string_view separator;
    for (size_t code = 0; code < scan::finding_code_count; ++code) {
        if (judged.found[code] == 0)
            continue;
        to += separator;
        to += scan::finding_kinds()[code].code;
        if (judged.found[code] > 1)
            append_number(to += " x", judged.found[code]);
        separator = ", ";
    }
    if (separator.empty())
        to += '-';
}

bool can_be_in_need_of_repair(const scan::report& judged) {
    return judged.judged == scan::verdict::damaged || judged.judged == scan::verdict::unfinished;
}

void append_repair(std::string& to, const scan::report& judged) {
    if (!judged.repair.possible) {
        to += "no repair";
        return;
    }
    append_number(to += "repair keeps ", judged.repair.frames_kept);
    append_number(to += " frames, ", judged.repair.bytes_kept);
    output::append_stream_time(to += " bytes, ", judged.duration_ms.value_or(0));
    append_number(to += ", loses ", judged.repair.bytes_lost);
    to += " bytes";
}

void append_span(std::string& to, const scan::report& judged, output::clock& clock) {
    if (!judged.duration_ms)
        return;
    if (judged.start_ms) {
        to += clock.iso_text(*judged.start_ms);
        to += " to ";
        to += clock.iso_text(*judged.start_ms + *judged.duration_ms);
        to += judged.start_from_index ? ", " : " (by the header), ";
    }
    output::append_stream_time(to, *judged.duration_ms);
}

void append_frame_counts(std::string& to, const scan::frame_counts& frames) {
    append_number(to, frames.total);
    append_number(to += ": ", frames.i);
    append_number(to += " I, ", frames.p);
    append_number(to += " P, ", frames.inserted);
    append_number(to += " inserted; ", frames.encrypted);
    append_number(to += " encrypted, ", frames.damaged);
    append_number(to += " damaged, ", frames.lost);
    to += " lost";
}

} // namespace kmr::program
