#include "kmr/plot/time_line_bins.hpp"

#include "kmr/plot/time_units.hpp"

#include <algorithm>
#include <iterator>

namespace kmr::plot {
namespace {

// Each a multiple of the one before; behind the last one they double.
constexpr int64_t kept_widths[] = {200,      second,     2 * second,  10 * second, 30 * second,
                                   minute,   2 * minute, 10 * minute, 30 * minute, hour,
                                   2 * hour, 6 * hour,   day};
constexpr int64_t shown_widths[] = {200,         400,         second,      2 * second,  5 * second,
                                    10 * second, 15 * second, 30 * second, minute,      2 * minute,
                                    5 * minute,  10 * minute, 15 * minute, 30 * minute, hour,
                                    2 * hour,    3 * hour,    6 * hour,    12 * hour,   day};

int64_t floor_of(int64_t value, int64_t step) {
    const int64_t part = value / step;
    return value % step < 0 ? part - 1 : part;
}

int64_t wider_than(int64_t width_ms) {
    const auto* const next = std::upper_bound(std::begin(kept_widths), std::end(kept_widths), width_ms);
    return next == std::end(kept_widths) ? 2 * width_ms : *next;
}

// Bytes until the step is whole, and bits a second then.
void take_in(rate_step& into, const time_bin& more) {
    into.i_rate += more.i_bytes;
    into.p_rate += more.p_bytes;
}

void take_in(rate_step& into, const rate_step& neighbour) {
    into.from_ms = std::min(into.from_ms, neighbour.from_ms);
    into.to_ms = std::max(into.to_ms, neighbour.to_ms);
    into.i_rate += neighbour.i_rate;
    into.p_rate += neighbour.p_rate;
}

uint64_t rate_of(uint64_t bytes, int64_t length_ms) {
    constexpr uint64_t bits_a_byte = 8;
    const auto length = static_cast<uint64_t>(std::max<int64_t>(length_ms, 1));
    return (bytes * bits_a_byte * uint64_t{second} + length / 2) / length;
}

} // namespace

void time_line_bins::add(int64_t stream_ms, bool is_i_frame, uint64_t bytes) {
    make_room_for(stream_ms);
    time_bin& bin = bins_[static_cast<size_t>(floor_of(stream_ms, width_ms_) - first_)];
    (is_i_frame ? bin.i_bytes : bin.p_bytes) += bytes;
}

void time_line_bins::make_room_for(int64_t stream_ms) {
    if (bins_.empty()) {
        first_ = floor_of(stream_ms, width_ms_);
        bins_.resize(1);
        return;
    }
    for (;; widen()) {
        const int64_t number = floor_of(stream_ms, width_ms_);
        const int64_t first = std::min(first_, number);
        const int64_t end = std::max(first_ + static_cast<int64_t>(bins_.size()), number + 1);
        if (end - first > static_cast<int64_t>(most_bins))
            continue;
        bins_.insert(bins_.begin(), static_cast<size_t>(first_ - first), time_bin{});
        bins_.resize(static_cast<size_t>(end - first));
        first_ = first;
        return;
    }
}

void time_line_bins::widen() {
    const int64_t width_ms = wider_than(width_ms_);
    const int64_t joined = width_ms / width_ms_;
    const int64_t first = floor_of(first_, joined);
    const int64_t last = floor_of(first_ + static_cast<int64_t>(bins_.size()) - 1, joined);
    std::vector<time_bin> wider(static_cast<size_t>(last - first + 1));
    for (size_t bin = 0; bin < bins_.size(); ++bin) {
        time_bin& into =
            wider[static_cast<size_t>(floor_of(first_ + static_cast<int64_t>(bin), joined) - first)];
        into.i_bytes += bins_[bin].i_bytes;
        into.p_bytes += bins_[bin].p_bytes;
    }
    bins_ = std::move(wider);
    first_ = first;
    width_ms_ = width_ms;
}

int64_t time_line_bins::shown_width_ms(int64_t least_ms) const {
    for (const int64_t each : shown_widths)
        if (each >= least_ms && each % width_ms_ == 0)
            return each;
    int64_t width_ms = width_ms_;
    while (width_ms < least_ms)
        width_ms *= 2;
    return width_ms;
}

std::vector<rate_step> time_line_bins::rates(int64_t shown_width_ms, int64_t begin_ms, int64_t end_ms) const {
    std::vector<rate_step> steps;
    for (size_t bin = 0; bin < bins_.size(); ++bin) {
        const int64_t at_ms = (first_ + static_cast<int64_t>(bin)) * width_ms_;
        const int64_t from_ms = floor_of(at_ms, shown_width_ms) * shown_width_ms;
        if (steps.empty() || steps.back().from_ms != from_ms)
            steps.push_back({.from_ms = from_ms, .to_ms = from_ms + shown_width_ms});
        take_in(steps.back(), bins_[bin]);
    }
    if (steps.empty())
        return steps;
    steps.front().from_ms = std::max(steps.front().from_ms, begin_ms);
    steps.back().to_ms = std::min(steps.back().to_ms, end_ms);
    const auto is_short = [&](const rate_step& step) {
        return 2 * (step.to_ms - step.from_ms) < shown_width_ms;
    };
    if (steps.size() > 1 && is_short(steps.back())) {
        take_in(steps[steps.size() - 2], steps.back());
        steps.pop_back();
    }
    if (steps.size() > 1 && is_short(steps.front())) {
        take_in(steps[1], steps.front());
        steps.erase(steps.begin());
    }
    for (rate_step& step : steps) {
        step.i_rate = rate_of(step.i_rate, step.to_ms - step.from_ms);
        step.p_rate = rate_of(step.p_rate, step.to_ms - step.from_ms);
    }
    return steps;
}

} // namespace kmr::plot
