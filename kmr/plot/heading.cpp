#include "kmr/plot/heading.hpp"

#include "kmr/output/numbers.hpp"
#include "kmr/plot/text_width.hpp"
#include "kmr/report_text.hpp"
#include "kmr/show_output.hpp"

namespace kmr::plot {
namespace {

using output::append_number;

std::string_view color_of(scan::verdict judged) {
    constexpr std::string_view good = "#1b6b2f";
    switch (judged) { // uncovered: every value has its case
    case scan::verdict::sound:
        return good;
    case scan::verdict::unfinished:
    case scan::verdict::not_a_recording:
        return style_of(scan::severity::warning).color;
    case scan::verdict::damaged:
    case scan::verdict::unreadable:
        break;
    }
    return style_of(scan::severity::error).color;
}

std::string verdict_of(const scan::report& judged) {
    std::string words(scan::name_of(judged.judged));
    return judged.changed ? words + ", changed while it was read" : words;
}

std::string span_of(const scan::report& judged, output::clock& clock) {
    std::string span;
    program::append_span(span, judged, clock);
    return span.empty() ? "no frame tells a time" : span;
}

std::string sizes_of(const scan::report& judged) {
    std::string sizes;
    if (judged.picture.known()) {
        append_number(sizes, judged.picture.width);
        append_number(sizes += " x ", judged.picture.height);
        sizes += ", ";
    }
    append_number(sizes, judged.size);
    sizes += " bytes";
    if (const auto rate = program::bit_rate_of(judged)) {
        append_number(sizes += ", ", *rate);
        sizes += " bits of video a second";
    }
    return sizes;
}

std::string counts_of(const scan::report& judged) {
    std::string counts = "frames ";
    program::append_frame_counts(counts, judged.frames);
    return counts;
}

} // namespace

void draw_heading(canvas& on, const program::judged_file& file, output::clock& clock, double left,
                  double right) {
    constexpr double first_line = 26;
    constexpr double line_height = 18;
    constexpr double between = 24;
    const std::string verdict = verdict_of(file.judged);
    const double room = right - left - between - text_width(verdict, title_size);
    const text_style large = {.size = title_size, .bold = true};
    on.write(left, first_line, shortened_in_front(file.path, title_size, room), large, file.path);
    on.write(right, first_line, verdict,
             {.size = title_size, .color = color_of(file.judged.judged), .anchor = "end", .bold = true});
    double y = first_line + 2;
    for (const std::string& line :
         {span_of(file.judged, clock), sizes_of(file.judged), counts_of(file.judged)})
        on.write(left, y += line_height, shortened(line, text_size, right - left), {.size = text_size}, line);
}

void describe(canvas& on, const program::judged_file& file, output::clock& clock) {
    on.svg.leaf("title", file.path + ": " + verdict_of(file.judged));
    std::string text = "The time line of a recording. ";
    text += span_of(file.judged, clock) + "; " + sizes_of(file.judged) + "; " + counts_of(file.judged) +
            ". Found: ";
    program::append_codes(text, file.judged);
    on.svg.leaf("desc", text += '.');
}

} // namespace kmr::plot
