#include "kmr/plot/legend.hpp"

#include "kmr/plot/marker.hpp"
#include "kmr/plot/text_width.hpp"
#include "kmr/plot/time_units.hpp"

namespace kmr::plot {
namespace {

constexpr double to_text = 20;
constexpr double between = 20;
constexpr double above_baseline = 10;
constexpr double swatch_width = 14;
constexpr double swatch_height = 12;

class legend_row {
public:
    legend_row(canvas& on, double x, double y) : on_(on), x_(x), y_(y) {}

    void add_swatch(std::string_view fill, std::string_view words) {
        on_.svg.begin("rect").with("x", x_).with("y", y_ - above_baseline).with("width", swatch_width);
        on_.svg.with("height", swatch_height).with("fill", fill).with("stroke", axis_color).end();
        add_words(words);
    }

    void add_marker(scan::finding_code code, std::string_view words) {
        draw_marker(on_.svg, code, x_ + swatch_width / 2, y_ - above_baseline + swatch_height / 2);
        add_words(words);
    }

private:
    void add_words(std::string_view words) {
        on_.write(x_ + to_text, y_, words);
        x_ += to_text + text_width(words, small_text_size) + between;
    }

    canvas& on_;
    double x_;
    double y_;
};

// "0.2 s", "5 min"
std::string words_for(int64_t width_ms) {
    struct unit {
        int64_t ms;
        std::string_view name;
    };
    constexpr unit units[] = {{day, " d"}, {hour, " h"}, {minute, " min"}, {second, " s"}};
    const unit* with = std::begin(units);
    while (with != std::end(units) - 1 && width_ms < with->ms)
        ++with;
    std::string words;
    append_coordinate(words, static_cast<double>(width_ms) / static_cast<double>(with->ms));
    return words.append(with->name);
}

} // namespace

void draw_rate_legend(canvas& on, double left, double y, int64_t width_ms, const drawn_gaps& gaps) {
    legend_row row(on, left, y);
    row.add_swatch(i_color, "I-frames");
    row.add_swatch(p_color, "P-frames, mean of each " + words_for(width_ms));
    if (gaps.missing)
        row.add_swatch(missing_pattern, "frames or time missing");
    if (gaps.pauses)
        row.add_swatch(pause_pattern, "pause");
}

void draw_severity_legend(canvas& on, double left, double y) {
    legend_row row(on, left, y);
    row.add_marker(scan::finding_code::bytes_torn, "filled: error");
    row.add_marker(scan::finding_code::frames_lost, "thick line: warning");
    row.add_marker(scan::finding_code::paused, "thin line: info");
}

void draw_notes(canvas& on, const std::vector<std::string>& notes, double left, double right, double y) {
    for (const std::string& note : notes) {
        on.write(left, y, shortened(note, small_text_size, right - left), {.color = faint_ink}, note);
        y += note_height;
    }
}

} // namespace kmr::plot
