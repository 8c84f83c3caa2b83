#include "convert/shown_order.hpp"

#include <algorithm>

namespace kmr::convert {
namespace {

// No coder lets a picture wait for so many others: where one seems to, they are shown as they stand.
constexpr size_t longest_wait = 64;

} // namespace

size_t depth_of(std::span<const picture_place> pictures) {
    size_t depth = 0;
    std::vector<int32_t> in_front;
    for (const picture_place& each : pictures) {
        if (each.starts)
            in_front.clear();
        const auto later = std::count_if(in_front.begin(), in_front.end(),
                                         [&](int32_t order) { return order > each.order; });
        depth = std::max(depth, static_cast<size_t>(later));
        in_front.push_back(each.order);
    }
    return depth;
}

void shown_order::take(int64_t at_ms, picture_place place) {
    if (place.starts)
        show_all();
    times_.push_back(at_ms);
    ranks_.emplace_back();
    waiting_.push_back({.order = place.order, .number = taken_++});
    while (waiting_.size() > static_cast<size_t>(depth_))
        show_first();
    if (ranks_.size() > longest_wait)
        show_all();
}

void shown_order::finish(int64_t last_step_ms) {
    show_all();
    if (!times_.empty())
        times_.push_back(times_.back() + last_step_ms);
}

void shown_order::show_first() {
    const auto first = std::min_element(
        waiting_.begin(), waiting_.end(),
        [](const waiting_picture& left, const waiting_picture& right) { return left.order < right.order; });
    ranks_[static_cast<size_t>(first->number - asked_)] = shown_++;
    waiting_.erase(first);
}

void shown_order::show_all() {
    while (!waiting_.empty())
        show_first();
}

// In front of the first one time is only made up: decoding begins that much earlier.
int64_t shown_order::time(int64_t number) const {
    return number < 0 ? times_.front() + number * usual_ms_
                      : times_[static_cast<size_t>(number - first_time_)];
}

std::optional<picture_times> shown_order::next() {
    if (ranks_.empty() || !ranks_.front())
        return {};
    const int64_t decoded = asked_ - depth_;
    const auto known = first_time_ + static_cast<int64_t>(times_.size());
    if (decoded + 1 >= known)
        return {};
    const picture_times times = {
        .shown = time(*ranks_.front()), .decoded = time(decoded), .lasts = time(decoded + 1) - time(decoded)};
    ranks_.pop_front();
    ++asked_;
    if (decoded >= 0) {
        times_.pop_front();
        ++first_time_;
    }
    return times;
}

} // namespace kmr::convert
