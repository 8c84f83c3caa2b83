#include "mend/copy.hpp"

#include "mend/changes.hpp"
#include "mend/header_plan.hpp"
#include "scan/time_line.hpp"
#include "scan/window.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace kmr::mend {
namespace {

constexpr uint64_t four_gib = uint64_t{1} << 32;

struct stretch {
    uint64_t at = 0;   // in the copy
    uint64_t from = 0; // in the recording
    uint64_t length = 0;

    uint64_t end() const { return at + length; }
};

class copy_source final : public scan::byte_source {
public:
    copy_source(scan::byte_source& source, const kmr_file_header& header, std::vector<stretch> frames,
                new_index index)
        : source_(source), header_(header), frames_(std::move(frames)), index_(std::move(index)) {}

    uint64_t size() const override { return index_at() + index_.length(); }

    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        if (offset >= size())
            return {};
        into = into.first(static_cast<size_t>(std::min<uint64_t>(into.size(), size() - offset)));
        const uint64_t end = offset + into.size();
        const auto part = [&](uint64_t from, uint64_t to) {
            from = std::max(from, offset);
            return into.subspan(static_cast<size_t>(from - offset),
                                static_cast<size_t>(std::min(to, end) - from));
        };
        if (offset < sizeof header_) {
            const auto bytes = part(0, sizeof header_);
            std::memcpy(bytes.data(), reinterpret_cast<const uint8_t*>(&header_) + offset, bytes.size());
        }
        auto each = std::partition_point(frames_.begin(), frames_.end(),
                                         [&](const stretch& one) { return one.end() <= offset; });
        for (; each != frames_.end() && each->at < end; ++each) {
            const auto bytes = part(each->at, each->end());
            const uint64_t skipped = std::max(each->at, offset) - each->at;
            const scan::read_result read = source_.read_at(each->from + skipped, bytes);
            if (read.failed() || read.count != bytes.size())
                return {.count = 0, .error = read.failed() ? read.error : EIO};
        }
        if (end > index_at())
            index_.copy(std::max(offset, index_at()) - index_at(), part(index_at(), size()));
        return {.count = into.size(), .error = 0};
    }

private:
    uint64_t index_at() const { return frames_.back().end(); }

    scan::byte_source& source_;
    kmr_file_header header_;
    std::vector<stretch> frames_;
    new_index index_;
};

class collector final : public scan::observer {
public:
    explicit collector(const span& of) : of_(of) {}

    void on_index(const scan::index_event& block) override { old_index = block; }
    void on_record(const scan::record_match& found) override { index.note(found); }

    void on_torn(const scan::torn_event& region) override {
        if (begun_ && !over_)
            plan.torn_bytes += region.length;
    }

    void on_frame(const scan::seen_frame& seen) override {
        const scan::frame_event& frame = seen.frame;
        if (over_)
            return;
        if (!frame.is_whole()) {
            plan.torn_bytes += begun_ ? frame.length : 0;
            plan.damaged_frames += begun_ && frame.header_whole ? 1 : 0;
            return;
        }
        if (frame.kind == scan::frame_class::inserted) {
            if (begun_ && take(frame))
                ++plan.inserted;
            return;
        }
        take_ordinary(seen);
    }

    bool go_on(uint64_t) override { return obstacle == copy_status::ready; }

    bool has_any() const { return begun_ && has_any_; }

    // Behind the last event.
    void finish() {
        if (maybe_over_)
            end_here();
    }

    // Whether a place in the recording is none of the copy: what an old index names there has no part in it.
    bool is_outside(uint64_t place) const {
        return place < frames.front().from || place >= frames.back().from + frames.back().length;
    }

    copy_status obstacle = copy_status::ready;
    copy_plan plan = {};
    std::vector<stretch> frames = {};
    new_index index = {};
    std::optional<scan::index_event> old_index = {};

private:
    int64_t distance_from(const span_bound& bound, const scan::seen_frame& seen) const {
        return meter_.distance_from(bound, seen.stream_ms);
    }

    void take_ordinary(const scan::seen_frame& seen) {
        const kmr_frame_header& header = seen.frame.header;
        meter_.count(header.FrameNo);
        const int64_t past_end = of_.to ? distance_from(*of_.to, seen) : -1;
        if (past_end >= 0) {
            if (maybe_over_ && maybe_over_->is_astray(past_end))
                maybe_over_ = mark_here(past_end);
            if (!begun_ || in_front_ || maybe_over_)
                return end_here();
            maybe_over_ = mark_here(past_end);
        } else {
            maybe_over_.reset(); // the stamp or number of that frame alone was wrong
            last_within_ = past_end;
        }
        const bool is_i = kmr_is_i_frame(&header) != 0;
        const int64_t past_start = of_.from ? distance_from(*of_.from, seen) : 1;
        in_front_ = in_front_ && past_start <= 0;
        has_any_ = has_any_ || past_start >= 0;
        if (is_i && (in_front_ || !begun_))
            begin(seen);
        if (!begun_) {
            plan.frames_without_start += past_start >= 0 ? 1 : 0;
            return;
        }
        const uint64_t position = end();
        if (!take(seen.frame))
            return;
        ++plan.frames;
        plan.duration_ms = seen.stream_ms - plan.first_ms;
        const bool starts_picture = seen.look != nullptr && seen.look->starts_picture();
        if (is_i || starts_picture)
            add_record(seen, position, !is_i);
    }

    // What was taken so far.
    struct mark {
        size_t stretches = 0;
        uint64_t last_length = 0;
        size_t records = 0;
        uint64_t frames = 0;
        uint64_t inserted = 0;
        uint64_t torn_bytes = 0;
        uint64_t damaged_frames = 0;
        int64_t duration_ms = 0;
        // How far behind the end of the span the frames before and behind this place are; below 0: in front of it.
        int64_t before = 0;
        int64_t past_end = 0;

        // Whether its stamp or number alone was wrong, now that the next one is known: that lies behind it, and half-way
        // between its neighbours it would be part of the span.
        bool is_astray(int64_t next) const { return past_end > next && before + next < 0; }
    };

    mark mark_here(int64_t past_end) const {
        return {.stretches = frames.size(),
                .last_length = frames.back().length,
                .records = index.count(),
                .frames = plan.frames,
                .inserted = plan.inserted,
                .torn_bytes = plan.torn_bytes,
                .damaged_frames = plan.damaged_frames,
                .duration_ms = plan.duration_ms,
                .before = last_within_,
                .past_end = past_end};
    }

    // In front of the frame that came to the end of the span first.
    void end_here() {
        over_ = true;
        if (!maybe_over_)
            return;
        frames.resize(maybe_over_->stretches);
        frames.back().length = maybe_over_->last_length;
        index.records().resize(maybe_over_->records);
        plan.frames = maybe_over_->frames;
        plan.inserted = maybe_over_->inserted;
        plan.torn_bytes = maybe_over_->torn_bytes;
        plan.damaged_frames = maybe_over_->damaged_frames;
        plan.duration_ms = maybe_over_->duration_ms;
        maybe_over_.reset();
    }

    // The last I-frame in front of the span so far: what was taken before it is not part of it.
    void begin(const scan::seen_frame& seen) {
        begun_ = true;
        plan.first_frame = seen.frame.header.FrameNo;
        plan.first_ms = seen.stream_ms;
        plan.frames = plan.inserted = plan.torn_bytes = plan.damaged_frames = 0;
        frames.clear();
        index = {};
    }

    uint64_t end() const { return frames.empty() ? uint64_t{KMR_FILE_HEADER_SIZE} : frames.back().end(); }

    bool take(const scan::frame_event& frame) {
        if (end() + frame.length > four_gib) {
            obstacle = copy_status::too_long;
            return false;
        }
        if (!frames.empty() && frames.back().from + frames.back().length == frame.offset) {
            frames.back().length += frame.length;
            return true;
        }
        if (frames.size() == changes::most_writes) {
            obstacle = copy_status::too_damaged;
            return false;
        }
        frames.push_back({.at = end(), .from = frame.offset, .length = frame.length});
        return true;
    }

    void add_record(const scan::seen_frame& seen, uint64_t position, bool by_old_index) {
        planned_record record;
        record.stream_ms = seen.stream_ms;
        record.clock_run = seen.clock_run;
        record.old_position = static_cast<uint32_t>(seen.frame.offset);
        record.position = static_cast<uint32_t>(position);
        record.by_old_index = by_old_index;
        if (seen.look != nullptr) {
            record.width = static_cast<uint16_t>(seen.look->size.width);
            record.height = static_cast<uint16_t>(seen.look->size.height);
        }
        if (!index.add(record))
            obstacle = copy_status::too_damaged;
    }

    span of_;
    bool begun_ = false;
    bool in_front_ = true; // no frame behind the start of the span has come yet
    bool has_any_ = false; // a frame of the span itself, not only the I-frame in front of it
    bool over_ = false;
    std::optional<mark> maybe_over_ = {}; // one frame has come to the end of the span
    int64_t last_within_ = 0;             // of the last one that has not
    scan::place_meter meter_ = {};
};

// Every frame of the copy is a good one, so nothing in it may be damaged.
bool is_sound(const scan::report& judged, const copy_plan& plan) {
    return judged.ended == scan::end_state::complete && judged.frames.i + judged.frames.p == plan.frames &&
           judged.repair.bytes_lost == 0 && judged.header.state == scan::header_state::valid;
}

copy_status finish(scan::byte_source& source, collector& found, copy_plan& plan) {
    if (!found.has_any())
        return copy_status::empty;
    kmr_file_header header = plan.before.header.header;
    const auto start = scan::header_start_ms(header);
    if (found.old_index && source.size() <= four_gib)
        found.index.take_old(source, *found.old_index,
                             [&](uint32_t place) { return found.is_outside(place); });
    found.index.settle(start.value_or(0), {header.Width, header.Height});
    if (start)
        set_date(header, *start + plan.first_ms);
    header.FrameCount = static_cast<uint32_t>(plan.frames);
    header.TotalSize = static_cast<uint32_t>(found.frames.back().end() + found.index.length());
    plan.records = found.index.count();
    plan.tags = found.index.tags();
    plan.times_guessed = found.index.guesses_times();
    plan.content =
        std::make_unique<copy_source>(source, header, std::move(found.frames), std::move(found.index));
    plan.after = scan::judge(*plan.content);
    if (is_sound(plan.after, plan))
        return copy_status::ready;
    plan.content.reset();
    return plan.after.judged == scan::verdict::unreadable ? copy_status::unreadable : copy_status::no_way;
}

} // namespace

copy_plan plan_copy(scan::byte_source& source, const span& of) {
    collector found(of);
    scan::report before = scan::judge(source, {}, &found);
    found.finish();
    copy_plan plan = std::move(found.plan);
    plan.before = std::move(before);
    try {
        if (found.obstacle != copy_status::ready)
            plan.status = found.obstacle;
        else if (plan.before.judged == scan::verdict::unreadable)
            plan.status = copy_status::unreadable;
        else if (plan.before.header.state != scan::header_state::valid)
            plan.status = copy_status::no_header;
        else
            plan.status = finish(source, found, plan);
    } catch (const scan::read_stopped&) {
        plan.status = copy_status::unreadable;
    }
    return plan;
}

} // namespace kmr::mend
