#include "mend/stamp_line.hpp"

#include "file_op/common/frame_check.h"
#include "mend/changes.hpp"
#include "scan/time_line.hpp"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace kmr::mend {
namespace {

constexpr int64_t least_limit_ms = 2000;
constexpr int64_t limit_factor = 4;
constexpr int64_t most_numbers = 64; // from one side to the other, those that are missing among them

int64_t distance(const kmr_frame_header& from, const kmr_frame_header& to) {
    return scan::wrapped_distance(from.TimeStamp, to.TimeStamp);
}

} // namespace

void stamp_line::take(uint64_t offset, const kmr_frame_header& header) {
    waiting_.push_back({offset, header});
    if (waiting_.size() > most_in_a_row)
        settle_front();
}

std::vector<right_stamp> stamp_line::finish() {
    while (!waiting_.empty())
        settle_front();
    return std::move(found_);
}

void stamp_line::settle_front() {
    if (before_)
        set_right(count_wrong());
    accept_front();
}

// Of the first that wait, as far as their numbers rise: those whose going leaves the most usual way past them, and of
// these the fewest.
size_t stamp_line::count_wrong() const {
    size_t best = 0;
    for (size_t count = 1; count < waiting_.size() && rises_to(count - 1) && rises_to(count); ++count)
        if (are_wrong(count) && (best == 0 || error_past(count) < error_past(best)))
            best = count;
    return best;
}

bool stamp_line::rises_to(size_t at) const {
    const stamped& in_front = at == 0 ? *before_ : waiting_[at - 1];
    const int64_t numbers = steps(in_front, waiting_[at]);
    return numbers > 0 && numbers <= most_numbers && steps(*before_, waiting_[at]) <= most_numbers;
}

int64_t stamp_line::longest(int64_t numbers) const {
    const int64_t one =
        std::max({least_limit_ms, limit_factor * 1000 / frame_rate_, limit_factor * usual_step_});
    return one * std::max<int64_t>(numbers, 2) / 2;
}

int64_t stamp_line::steps(const stamped& from, const stamped& to) {
    return scan::wrapped_distance(from.header.FrameNo, to.header.FrameNo);
}

bool stamp_line::fits(const stamped& from, const stamped& to) const {
    const int64_t step = distance(from.header, to.header);
    return step >= 0 && step <= longest(steps(from, to));
}

// The first `count` that wait: each is out of line with the frame in front of them or with the one behind, while those
// two are in line with each other.
bool stamp_line::are_wrong(size_t count) const {
    const stamped& behind = waiting_[count];
    if (!fits(*before_, behind))
        return false;
    for (size_t i = 0; i < count; ++i)
        if (fits(*before_, waiting_[i]) && fits(waiting_[i], behind))
            return false;
    if (count == 1)
        return !fits(*before_, waiting_[0]) || usual_step_proves(count); // one alone that ran back, or leapt
    return usual_step_ > 0 && usual_step_proves(count);
}

// A clock that was set goes on with its usual step, and one frame that only ran ahead makes the next one look wrong: the
// steps into the frames and out of them must be less usual than the way past them. (The header's rate is no proof for
// several: two recordings may have been joined.)
bool stamp_line::usual_step_proves(size_t count) const {
    const int64_t past = error_past(count);
    return past < error(*before_, waiting_[0]) && past < error(waiting_[count - 1], waiting_[count]);
}

int64_t stamp_line::error_past(size_t count) const {
    return error(*before_, waiting_[count]);
}

int64_t stamp_line::error(const stamped& from, const stamped& to) const {
    const int64_t usual = usual_step_ > 0 ? usual_step_ : 1000 / frame_rate_;
    return std::abs(distance(from.header, to.header) - usual * steps(from, to));
}

// Evenly, by their numbers, between those on both sides. Those that still wait are then in line.
void stamp_line::set_right(size_t count) {
    const kmr_frame_header& behind = waiting_[count].header;
    const stamped& front = *before_;
    const int64_t whole = distance(front.header, behind);
    for (size_t i = 0; i < count; ++i) {
        kmr_frame_header& header = waiting_[i].header;
        const int64_t step = whole * steps(front, waiting_[i]) / steps(front, waiting_[count]);
        header.TimeStamp = front.header.TimeStamp + static_cast<uint32_t>(step);
        if (rec_ValidFrame(&header, 0) == KMR_FRAME_INDEX) // stamp 0 would make it one
            header.TimeStamp = whole > step + 1 ? header.TimeStamp + 1 : behind.TimeStamp;
        if (found_.size() <= changes::most_writes)
            found_.push_back({waiting_[i].offset, header.TimeStamp});
    }
}

void stamp_line::accept_front() {
    const stamped front = waiting_.front();
    waiting_.pop_front();
    if (const auto before = std::exchange(before_, front)) {
        const int64_t numbers = scan::wrapped_distance(before->header.FrameNo, front.header.FrameNo);
        const int64_t step = distance(before->header, front.header) / std::max<int64_t>(1, numbers);
        if (step > 0) {
            usual_step_ = last_step_ > 0 ? std::min(step, last_step_) : step;
            last_step_ = step;
        }
    }
}

} // namespace kmr::mend
