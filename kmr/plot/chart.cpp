#include "kmr/plot/chart.hpp"

#include <algorithm>
#include <functional>

namespace kmr::plot {
namespace {

struct rate_scale {
    double top;
    double bottom;
    uint64_t highest;

    double y(uint64_t rate) const {
        return bottom - static_cast<double>(rate) * (bottom - top) / static_cast<double>(highest);
    }
};

// An area in steps, between a lower and an upper rate of each.
void draw_area(canvas& on, const std::vector<rate_step>& steps, const time_scale& across,
               const rate_scale& up, const std::function<uint64_t(const rate_step&)>& lower,
               const std::function<uint64_t(const rate_step&)>& upper, std::string_view fill) {
    std::string path;
    const auto go = [&](char how, double to) { append_coordinate(path += how, to); };
    append_coordinate(path += 'M', across.x(steps.front().from_ms));
    append_coordinate(path += ' ', up.y(lower(steps.front())));
    for (const rate_step& step : steps) {
        go('V', up.y(upper(step)));
        go('H', across.x(step.to_ms));
    }
    for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
        go('V', up.y(lower(*step)));
        go('H', across.x(step->from_ms));
    }
    on.svg.begin("path").with("d", path += 'Z').with("fill", fill).end();
}

void draw_rate_axis(canvas& on, const rate_axis& axis, const rate_scale& up, const time_scale& across) {
    constexpr double to_text = 8;
    constexpr double half_of_text = 4;
    for (const tick& each : axis.ticks) {
        const double y = up.y(static_cast<uint64_t>(each.at));
        on.line(across.left, y, across.right, y, each.at == 0 ? axis_color : grid_color);
        on.write(across.left - to_text, y + half_of_text, each.label, {.color = faint_ink, .anchor = "end"});
    }
}

uint64_t highest_of(const std::vector<rate_step>& steps) {
    uint64_t highest = 0;
    for (const rate_step& step : steps)
        highest = std::max(highest, step.i_rate + step.p_rate);
    return highest;
}

void draw_bands(canvas& on, std::vector<mark> stretches, const chart_place& place, std::string_view fill) {
    constexpr double least_width = 1.5;
    std::sort(stretches.begin(), stretches.end(),
              [](const mark& left, const mark& right) { return left.from_ms < right.from_ms; });
    double drawn_to = place.scale.left;
    for (const mark& each : stretches) {
        const double from = std::max(drawn_to, place.scale.x(each.from_ms));
        const double to =
            std::min(place.scale.right, std::max(place.scale.x(each.to_ms), from + least_width));
        if (to - from < least_width / 2 || place.scale.x(each.to_ms) <= drawn_to)
            continue;
        on.box(from, place.top, to - from, place.bottom - place.top, fill);
        drawn_to = to;
    }
}

void begin_pattern(canvas& on, std::string_view id) {
    constexpr double side = 6;
    on.svg.begin("pattern").with("id", id).with("patternUnits", "userSpaceOnUse");
    on.svg.with("width", side).with("height", side);
}

} // namespace

void define_patterns(canvas& on) {
    on.svg.begin("defs");
    begin_pattern(on, "missing");
    on.svg.begin("path")
        .with("d", "M-1 1L1-1M0 6L6 0M5 7L7 5")
        .with("stroke", style_of(scan::severity::error).color);
    on.svg.with("stroke-width", 1).end().end();
    begin_pattern(on, "pause");
    on.svg.begin("circle").with("cx", 3).with("cy", 3).with("r", 1);
    on.svg.with("fill", style_of(scan::severity::info).color).end().end();
    on.svg.end();
}

int64_t shown_width_ms(const gathered_frames& frames, const time_scale& scale) {
    constexpr double least_pixels = 2.5;
    constexpr int64_t least_frames = 2;
    const double ms_a_pixel = static_cast<double>(scale.to_ms - scale.from_ms) / (scale.right - scale.left);
    return frames.bins.shown_width_ms(
        std::max(static_cast<int64_t>(least_pixels * ms_a_pixel), least_frames * frames.usual_step_ms));
}

void draw_rates(canvas& on, const gathered_frames& frames, const chart_place& place) {
    constexpr double between_ticks = 40;
    constexpr double above = 8;
    const auto steps =
        frames.bins.rates(shown_width_ms(frames, place.scale), place.scale.from_ms, place.scale.to_ms);
    const auto most = static_cast<size_t>(std::max(1.0, (place.bottom - place.top) / between_ticks));
    const rate_axis axis = rate_ticks(highest_of(steps), most);
    const rate_scale up{place.top, place.bottom, static_cast<uint64_t>(axis.ticks.back().at)};
    draw_rate_axis(on, axis, up, place.scale);
    on.write(place.scale.left - above, place.top - above, axis.unit, {.color = faint_ink, .anchor = "end"});
    if (steps.empty())
        return;
    const auto none = [](const rate_step&) { return uint64_t{0}; };
    const auto p = [](const rate_step& step) { return step.p_rate; };
    const auto all = [](const rate_step& step) { return step.p_rate + step.i_rate; };
    draw_area(on, steps, place.scale, up, none, p, p_color);
    draw_area(on, steps, place.scale, up, p, all, i_color);
    on.line(place.scale.left, place.bottom, place.scale.right, place.bottom, axis_color);
}

drawn_gaps draw_gaps(canvas& on, const std::vector<lane>& lanes, const chart_place& place) {
    std::vector<mark> missing;
    std::vector<mark> pauses;
    for (const lane& each : lanes)
        for (const mark& stretch : each.marks)
            if (stretch.to_ms > stretch.from_ms)
                (each.code == scan::finding_code::paused ? pauses : missing).push_back(stretch);
    draw_bands(on, pauses, place, pause_pattern);
    draw_bands(on, missing, place, missing_pattern);
    return {!missing.empty(), !pauses.empty()};
}

} // namespace kmr::plot
