#include "scan/shift_search.hpp"

#include <algorithm>
#include <cstdlib>

namespace kmr::scan {
namespace {

// Looks far ahead, for all records together: so many for each of them, and some more where there are few. One that
// finds nothing costs as many looks as there are records left, and at least what it costs to read them.
constexpr int64_t far_looks_per_record = 4;
constexpr int64_t far_looks_at_least = 2048;
constexpr int64_t far_look_start = 512;

// Records tell whole seconds, never rounded up.
constexpr int64_t time_unit_ms = 1000;

// How many neighbours bear out a distance together: three, or two where bytes came or went again behind the second.
size_t neighbours(const std::deque<indexed_frame>& frames, size_t from) {
    const size_t there = std::min<size_t>(3, frames.size() - from);
    return there == 3 && frames[from + 2].begins_anew() && !frames[from + 1].begins_anew() ? 2 : there;
}

} // namespace

shift_search::shift_search(byte_source& source, const index_event& block)
    : records_(source, block.offset, block.head.RecordCount),
      looks_left_(far_looks_at_least + far_looks_per_record * int64_t{block.head.RecordCount}) {}

std::optional<record_shift> shift_search::find(const question& asked) {
    const auto found = near(asked);
    if (found || !asked.frames.front().behind_break)
        return found;
    return asked.frames.size() == 1 ? last(asked) : far(asked);
}

std::optional<record_shift> shift_search::by_numbers(const question& asked) {
    const auto missing = asked.frames.front().i_frames_missing;
    if (!missing)
        return {};
    const uint64_t record = asked.record + *missing;
    const bool stands_alone = asked.frames.size() > 1 && asked.frames[1].begins_anew();
    return stands_alone ? of_its_time(asked, record) : agreeing(asked, record, 0);
}

std::optional<record_shift> shift_search::near(const question& asked) {
    const indexed_frame& front = asked.frames.front();
    if (const auto found = by_numbers(asked))
        return found;
    // Where frames follow each other at one distance, the records of lost ones would do as well.
    if (front.frames_missing && asked.behind_torn > asked.record)
        if (const auto found = agreeing(asked, asked.behind_torn, 0))
            return found;
    for (uint64_t record = asked.record; record <= asked.record + most_ahead; ++record)
        if (const auto found = agreeing(asked, record, 0))
            return found;
    if (!front.behind_break)
        return {};
    // Behind frames that have no record, copies of others.
    for (size_t frame = 1; frame < asked.frames.size() && !asked.frames[frame].begins_anew(); ++frame)
        if (const auto found = agreeing(asked, asked.record, frame))
            return found;
    return {};
}

std::optional<record_shift> shift_search::far(const question& asked) {
    looks_left_ -= far_look_start;
    for (uint64_t record = asked.record + most_ahead + 1; record < records_.count() && looks_left_ > 0;
         ++record, --looks_left_)
        if (const auto found = agreeing(asked, record, 0))
            return found;
    return {};
}

// The last frame has no neighbours left.
std::optional<record_shift> shift_search::last(const question& asked) {
    return of_its_time(asked, records_.count() - 1);
}

// Of a frame without neighbours: the record is its own where their times agree.
std::optional<record_shift> shift_search::of_its_time(const question& asked, uint64_t record) {
    if (record >= records_.count() || !asked.start_ms || !agrees_with_clock(asked, record, 0))
        return {};
    return record_shift{record, 0, records_[record].IPos - static_cast<uint32_t>(asked.frames[0].offset)};
}

bool shift_search::agrees_with_clock(const question& asked, uint64_t record, size_t frame) {
    const int64_t start_ms = int64_t{records_[record].TimeNow} * time_unit_ms - asked.frames[frame].stream_ms;
    return std::abs(start_ms - *asked.start_ms) < time_unit_ms;
}

std::optional<record_shift> shift_search::agreeing(const question& asked, uint64_t record, size_t frame) {
    const size_t wanted = neighbours(asked.frames, frame);
    if (wanted < 2 || record + wanted > records_.count())
        return {};
    const auto distance = [&](size_t i) {
        return records_[record + i].IPos - static_cast<uint32_t>(asked.frames[frame + i].offset);
    };
    const uint32_t shift = distance(0);
    for (size_t i = 1; i < wanted; ++i)
        if (distance(i) != shift)
            return {};
    return record_shift{record, frame, shift};
}

} // namespace kmr::scan
