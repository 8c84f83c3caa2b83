#include "kmr/plot/axis.hpp"

#include "kmr/plot/svg_writer.hpp"
#include "kmr/plot/text_width.hpp"
#include "kmr/plot/time_units.hpp"

#include <algorithm>
#include <charconv>

namespace kmr::plot {
namespace {

constexpr int64_t steps[] = {1,           2,           5,           10,     20,         50,
                             100,         200,         500,         second, 2 * second, 5 * second,
                             10 * second, 15 * second, 30 * second, minute, 2 * minute, 5 * minute,
                             10 * minute, 15 * minute, 30 * minute, hour,   2 * hour,   3 * hour,
                             6 * hour,    12 * hour,   day};

int64_t step_of_at_least(double least_ms) {
    for (const int64_t each : steps)
        if (static_cast<double>(each) >= least_ms)
            return each;
    int64_t step = 2 * day;
    while (static_cast<double>(step) < least_ms)
        step *= 2;
    return step;
}

// Labels of the widest text stand this far from each other.
int64_t step_for(const time_scale& scale, std::string_view widest, double text_size) {
    constexpr double between = 16;
    const double ms_a_pixel = static_cast<double>(scale.to_ms - scale.from_ms) / (scale.right - scale.left);
    return step_of_at_least((text_width(widest, text_size) + between) * ms_a_pixel);
}

int64_t first_multiple(int64_t from, int64_t step) {
    const int64_t rest = from % step;
    return rest > 0 ? from - rest + step : from - rest;
}

// How many digits of "05.678" a step of so many milliseconds leaves 0.
size_t idle_digits(int64_t step) {
    if (step % second == 0)
        return 4; // the point too
    return step % 100 == 0 ? 2 : 0;
}

// "0:02.4", "1:00:02"
std::string stream_label(int64_t at_ms, int64_t step, bool with_hours) {
    std::string label = output::stream_time(at_ms < 0 ? -at_ms : at_ms);
    label.resize(label.size() - idle_digits(step));
    if (!with_hours)
        label.erase(0, label[2] == '0' ? 3 : 2); // "0:0" in front of the minutes
    return (at_ms < 0 ? "-" : "") + label;
}

// "2015-01-02T03:04:05.678+01:00" in its parts; the year may have more digits.
struct iso_parts {
    std::string_view date;
    std::string_view time;   // "03:04:05.678"
    std::string_view offset; // "+01:00"
};

iso_parts parts_of(std::string_view iso) {
    constexpr size_t time_length = 12;
    const size_t separator = iso.find('T');
    return {iso.substr(0, separator), iso.substr(separator + 1, time_length),
            iso.substr(separator + 1 + time_length)};
}

int64_t ms_of(std::string_view offset) {
    int64_t hours = 0;
    int64_t minutes = 0;
    std::from_chars(offset.data() + 1, offset.data() + 3, hours);
    std::from_chars(offset.data() + 4, offset.data() + 6, minutes);
    return (offset.front() == '-' ? -1 : 1) * (hours * hour + minutes * minute);
}

std::string wall_label(const iso_parts& at, int64_t step) {
    constexpr size_t seconds_and_colon = 3;
    constexpr size_t fraction = 4;
    if (at.time.starts_with("00:00:00.000"))
        return std::string(at.date);
    std::string_view label = at.time;
    if (step % minute == 0)
        label.remove_suffix(fraction + seconds_and_colon);
    else
        label.remove_suffix(idle_digits(step));
    return std::string(label);
}

struct rate_unit {
    uint64_t bits;
    std::string_view name;
};

const rate_unit& unit_for(uint64_t rate) {
    static constexpr rate_unit units[] = {
        {1000000000, "Gbit/s"}, {1000000, "Mbit/s"}, {1000, "kbit/s"}, {1, "bit/s"}};
    for (const rate_unit& each : units)
        if (rate >= 2 * each.bits)
            return each;
    return units[3];
}

// 1, 2 or 5 with zeros behind
uint64_t rate_step_of_at_least(uint64_t least) {
    for (uint64_t power = 1;; power *= 10)
        for (const uint64_t digit : {uint64_t{1}, uint64_t{2}, uint64_t{5}})
            if (digit * power >= least)
                return digit * power;
}

} // namespace

std::vector<tick> stream_ticks(const time_scale& scale, double text_size) {
    const bool with_hours = scale.to_ms >= hour;
    const std::string_view widest = with_hours ? "-00:00:00" : "-00:00.0";
    const int64_t step = step_for(scale, widest, text_size);
    std::vector<tick> ticks;
    for (int64_t at = first_multiple(scale.from_ms, step); at <= scale.to_ms; at += step)
        ticks.push_back({at, stream_label(at, step, with_hours)});
    return ticks;
}

std::vector<tick> wall_ticks(const time_scale& scale, int64_t start_ms, output::clock& clock,
                             double text_size) {
    const int64_t step = step_for(scale, "2015-01-02", text_size);
    const int64_t shift = start_ms + ms_of(parts_of(clock.iso_text(start_ms + scale.from_ms)).offset);
    std::vector<tick> ticks;
    for (int64_t local = first_multiple(scale.from_ms + shift, step); local <= scale.to_ms + shift;
         local += step)
        ticks.push_back(
            {local - shift, wall_label(parts_of(clock.iso_text(local - shift + start_ms)), step)});
    return ticks;
}

rate_axis rate_ticks(uint64_t highest, size_t most) {
    const uint64_t top = std::max<uint64_t>(highest, 1);
    const uint64_t step = rate_step_of_at_least((top + most - 1) / most);
    const rate_unit& unit = unit_for(top);
    rate_axis axis{unit.name, {}};
    for (uint64_t at = 0;; at += step) {
        axis.ticks.push_back({static_cast<int64_t>(at), {}});
        append_coordinate(axis.ticks.back().label, static_cast<double>(at) / static_cast<double>(unit.bits));
        if (at >= top)
            return axis;
    }
}

} // namespace kmr::plot
