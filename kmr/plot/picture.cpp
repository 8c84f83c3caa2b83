#include "kmr/plot/picture.hpp"

#include "kmr/plot/chart.hpp"
#include "kmr/plot/heading.hpp"
#include "kmr/plot/lane_rows.hpp"
#include "kmr/plot/legend.hpp"
#include "kmr/plot/tag_labels.hpp"
#include "kmr/plot/text_width.hpp"

#include <algorithm>
#include <numeric>

namespace kmr::plot {
namespace {

constexpr double edge = 16;
constexpr double beside_chart = 44; // room of half a label of the axes
constexpr double tag_row_height = 17;
constexpr double above_chart = 20; // room of the unit
constexpr double usual_chart_height = 220;
constexpr double least_chart_height = 90;
constexpr double words_height = 16; // where there is no chart
constexpr double i_frame_row_height = 14;
constexpr double axis_height = 30; // of stream time, and as much of the time of day
constexpr double below_axes = 14;
constexpr double least_label_width = 130;

class picture {
public:
    picture(std::string& to, const program::judged_file& file, const gathered_frames& frames,
            const picture_size& size, output::clock& clock)
        : on_(to), file_(file), judged_(file.judged), frames_(frames), clock_(clock), width_(size.width),
          lanes_(lanes_of(judged_, frames)), shown_lanes_(lanes_) {
        place_.scale = {.from_ms = frames.first_ms,
                        .to_ms = frames.end_ms(),
                        .left = std::max(least_label_width, lane_label_width(lanes_)),
                        .right = width_ - beside_chart};
        if (has_frames() && judged_.start_ms)
            tags_ = place_tags(judged_.tags, place_.scale, *judged_.start_ms, small_text_size);
        place_rows(size.height);
    }

    void draw() {
        begin();
        describe(on_, file_, clock_);
        define_patterns(on_);
        on_.box(0, 0, width_, height_, "#ffffff");
        draw_heading(on_, file_, clock_, edge, width_ - edge);
        if (has_frames())
            draw_time_line();
        else
            on_.write(edge, heading_height + above_chart, "There is no frame to draw.", {.size = text_size});
        draw_lanes(on_, shown_lanes_, place_.scale, lanes_top_);
        draw_below();
        on_.svg.end();
    }

private:
    bool has_frames() const { return frames_.frames > 0; }

    // Most of them can be told apart.
    bool has_i_frame_row() const {
        constexpr double least_distance = 4;
        if (frames_.i_frames == 0 || frames_.i_frames > frames_.i_frames_ms.size())
            return false;
        std::vector<int64_t> steps(frames_.i_frames_ms.size());
        std::adjacent_difference(frames_.i_frames_ms.begin(), frames_.i_frames_ms.end(), steps.begin());
        if (steps.size() == 1)
            return true;
        const auto middle = steps.begin() + 1 + static_cast<std::ptrdiff_t>((steps.size() - 1) / 2);
        std::nth_element(steps.begin() + 1, middle, steps.end());
        return place_.scale.x(place_.scale.from_ms + *middle) - place_.scale.left >= least_distance;
    }

    double chart_top() const {
        return heading_height + static_cast<double>(tags_.rows) * tag_row_height + above_chart;
    }

    double below_chart() const {
        const double axes = has_frames() ? 2 * axis_height : 0;
        const double legends = legend_row_height * ((has_frames() ? 1 : 0) + (lanes_.empty() ? 0 : 1));
        return (has_i_frame_row() ? i_frame_row_height : 0) +
               static_cast<double>(shown_lanes_.size()) * lane_height + axes + below_axes + legends +
               static_cast<double>(notes().size()) * note_height;
    }

    void place_rows(uint32_t height) {
        const double usual = has_frames() ? usual_chart_height : words_height;
        const double least = has_frames() ? least_chart_height : words_height;
        double chart_height = usual;
        if (height != 0) {
            const auto room = [&] { return height - chart_top() - below_chart(); };
            while (room() < least && !shown_lanes_.empty())
                shown_lanes_ = shown_lanes_.first(shown_lanes_.size() - 1);
            chart_height = std::max(least, room());
        }
        place_.top = chart_top();
        place_.bottom = place_.top + chart_height;
        lanes_top_ = place_.bottom + (has_i_frame_row() ? i_frame_row_height : 0);
        axis_y_ = lanes_top_ + static_cast<double>(shown_lanes_.size()) * lane_height;
        height_ = height != 0 ? height : place_.bottom + below_chart();
    }

    // At most three.
    std::vector<std::string> notes() const {
        std::vector<std::string> all;
        std::string unmarked;
        for (const lane& each : lanes_)
            if (each.without_mark > 0)
                unmarked.append(unmarked.empty() ? "" : ", ")
                    .append(scan::kind_of(each.code).code)
                    .append(" ")
                    .append(std::to_string(each.count - each.without_mark))
                    .append(" of ")
                    .append(std::to_string(each.count));
        if (!unmarked.empty())
            all.push_back("Not all are marked: " + unmarked + ".");
        if (const size_t left_out = judged_.tags.size() - tags_.labels.size() + tags_.without_text;
            left_out > 0)
            all.push_back("Tags that have no room for their text: " + std::to_string(left_out) + " of " +
                          std::to_string(judged_.tags.size()) + " (kmr tag lists them).");
        std::string further;
        for (size_t lane = shown_lanes_.size(); lane < lanes_.size(); ++lane)
            further.append(further.empty() ? "" : ", ").append(scan::kind_of(lanes_[lane].code).code);
        if (!further.empty())
            all.push_back("Also found, and not drawn in a picture of this height: " + further + ".");
        return all;
    }

    void begin() {
        std::string box = "0 0 ";
        append_coordinate(box, width_);
        append_coordinate(box += ' ', height_);
        on_.svg.begin("svg").with("xmlns", "http://www.w3.org/2000/svg").with("version", "1.1");
        on_.svg.with("width", width_).with("height", height_).with("viewBox", box);
        on_.svg.with("font-family", "sans-serif");
    }

    void draw_time_line() {
        const std::vector<tick> ticks = stream_ticks(place_.scale, small_text_size);
        for (const tick& each : ticks)
            on_.line(place_.scale.x(each.at), place_.top, place_.scale.x(each.at), axis_y_, grid_color);
        draw_rates(on_, frames_, place_);
        gaps_ = draw_gaps(on_, lanes_, place_);
        draw_i_frames();
        draw_tags();
        draw_axis("stream time", ticks, axis_y_);
        draw_wall_clock(axis_y_ + axis_height);
    }

    void draw_i_frames() {
        constexpr double tick_top = 3;
        constexpr double tick_bottom = 11;
        if (!has_i_frame_row())
            return;
        label("I-frames", place_.bottom + tick_bottom);
        std::string path;
        for (const int64_t at_ms : frames_.i_frames_ms) {
            append_coordinate(path += 'M', place_.scale.x(at_ms));
            append_coordinate(path += ' ', place_.bottom + tick_top);
            append_coordinate(path += 'V', place_.bottom + tick_bottom);
        }
        on_.svg.begin("path").with("d", path).with("stroke", i_color).with("stroke-width", 1.2).end();
    }

    void label(std::string_view text, double y) { on_.write(edge, y, text, {.color = faint_ink}); }

    void draw_tags() {
        const auto top_of = [](const tag_label& tag) {
            return heading_height + static_cast<double>(tag.row) * tag_row_height;
        };
        for (const tag_label& tag : tags_.labels)
            on_.line(tag.x, tag.is_shown ? top_of(tag) : place_.top, tag.x, axis_y_, ink, "3 3");
        for (const tag_label& tag : tags_.labels)
            if (tag.is_shown)
                write_tag(tag, top_of(tag));
    }

    // The lines of others end behind it.
    void write_tag(const tag_label& tag, double top) {
        constexpr double baseline = 12;
        const double width = text_width(tag.text, small_text_size);
        const double x = tag.in_front ? tag.x - tag_beside_line : tag.x + tag_beside_line;
        on_.box(tag.in_front ? x - width : x, top + 1, width, tag_row_height - 2, "#ffffff");
        on_.write(x, top + baseline, tag.text, {.anchor = tag.in_front ? "end" : "start"}, tag.whole);
    }

    void draw_axis(std::string_view name, const std::vector<tick>& ticks, double y) {
        constexpr double tick_length = 5;
        constexpr double baseline = 18;
        on_.line(place_.scale.left, y, place_.scale.right, y, axis_color);
        label(name, y + baseline);
        for (const tick& each : ticks) {
            const double x = place_.scale.x(each.at);
            on_.line(x, y, x, y + tick_length, axis_color);
            on_.write(x, y + baseline, each.label, {.anchor = "middle"});
        }
    }

    // The day of its beginning stands beside it; the heading tells the zone.
    void draw_wall_clock(double y) {
        if (!judged_.start_ms) {
            draw_axis("no time of day", {}, y);
            return;
        }
        const std::string iso = clock_.iso(*judged_.start_ms + place_.scale.from_ms);
        draw_axis(iso.substr(0, iso.find('T')),
                  wall_ticks(place_.scale, *judged_.start_ms, clock_, small_text_size), y);
    }

    void draw_below() {
        double y = axis_y_ + (has_frames() ? 2 * axis_height : 0) + below_axes;
        if (has_frames()) {
            draw_rate_legend(on_, edge, y, shown_width_ms(frames_, place_.scale), gaps_);
            y += legend_row_height;
        }
        if (!lanes_.empty()) {
            draw_severity_legend(on_, edge, y);
            y += legend_row_height;
        }
        draw_notes(on_, notes(), edge, width_ - edge, y);
    }

    canvas on_;
    const program::judged_file& file_;
    const scan::report& judged_;
    const gathered_frames& frames_;
    output::clock& clock_;
    double width_;
    double height_ = 0;
    std::vector<lane> lanes_;
    std::span<const lane> shown_lanes_;
    chart_place place_ = {};
    tag_labels tags_ = {};
    double lanes_top_ = 0;
    double axis_y_ = 0;
    drawn_gaps gaps_ = {};
};

} // namespace

std::string draw(const program::judged_file& file, const gathered_frames& frames, const picture_size& size,
                 output::clock& clock) {
    std::string to;
    picture(to, file, frames, size, clock).draw();
    return to;
}

} // namespace kmr::plot
