#include "mend/like_recorder.hpp"

#include "file_op/common/frame_check.h"
#include "scan/index_place.hpp"
#include "scan/index_records.hpp"
#include "scan/judge.hpp"
#include "scan/time_line.hpp"
#include "scan/window.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace kmr::mend {
namespace {

constexpr uint64_t four_gib = uint64_t{1} << 32;
constexpr uint32_t no_length = uint32_t{1} << 31; // the seek over such a frame would run backwards

// Counts the frames in front of the cut, and behind it.
class cut_counter final : public scan::observer {
public:
    explicit cut_counter(uint64_t cut) : cut_(cut) {}

    void on_frame(const scan::seen_frame& seen) override {
        if (!seen.frame.is_whole())
            return;
        if (seen.frame.offset + seen.frame.length <= cut_) {
            ++kept;
            if (seen.frame.kind == scan::frame_class::ordinary)
                last_ms_ = seen.stream_ms;
            if (seen.frame.kind == scan::frame_class::ordinary && !first_ms_)
                first_ms_ = seen.stream_ms;
            return;
        }
        ++lost;
        if (!first_lost)
            first_lost = seen.frame.header.FrameNo;
    }

    uint64_t kept = 0;
    uint64_t lost = 0;
    std::optional<uint32_t> first_lost = {};
    int64_t duration_ms() const { return first_ms_ ? last_ms_ - *first_ms_ : 0; }

private:
    uint64_t cut_;
    std::optional<int64_t> first_ms_ = {};
    int64_t last_ms_ = 0;
};

class walk {
public:
    explicit walk(scan::byte_source& source) : source_(source), recording_(source) {}

    plan_status run(recorder_plan& plan) {
        if (!recording_.load(0, header_))
            return plan_status::not_a_recording;
        start_time_ = first_time();
        if (!walk_frames())
            return plan_status::too_damaged;
        const uint64_t end = end_of_frames();
        plan.start_time = start_time_;
        plan.index_records = index_.count();
        plan.planned = changes(source_.size());
        plan.planned.set_new_size(end + index_.length());
        if (header_.Width >= 0x8000) // taken for a negative size, and raised to none
            plan.planned.write_bytes(2, std::array<uint8_t, 4>{});
        cut = end;
        const uint64_t length = index_.length();
        plan.planned.write_index(end, std::move(index_));
        return is_there_already(plan.planned, end, length) ? plan_status::nothing_to_do : plan_status::ready;
    }

    uint64_t cut = 0;

private:
    uint32_t first_time() {
        scan::index_places places(recording_);
        if (const auto offset = places.expected()) {
            const scan::index_event block = places.describe(*offset);
            if (block.state == scan::index_state::whole && block.head.RecordCount > 0)
                return scan::index_records(source_, *offset, block.head.RecordCount)[0].TimeNow;
        }
        return static_cast<uint32_t>(scan::header_start_ms(header_).value_or(0) / 1000);
    }

    // Whether the frame at `at_` may follow the one before.
    bool follows() {
        if (!recording_.load(at_, last_))
            return false;
        if (last_.FrameSize == 0 || last_.FrameSize >= no_length || last_.SyncWord != KMR_SYNC_WORD)
            return false;
        return walked_++ == 0 || rec_CheckFrameTm(last_.TimeStamp, time_) != 0;
    }

    // False: too many I-frames.
    bool walk_frames() {
        at_ = KMR_FILE_HEADER_SIZE;
        while (at_ < source_.size() && follows()) {
            time_ = last_.TimeStamp;
            const uint64_t position = at_;
            at_ += last_.FrameSize;
            if (kmr_is_i_frame(&last_) == 0)
                continue;
            if (at_ > source_.size())
                break;
            if (!add_record(position))
                return false;
        }
        return true;
    }

    bool add_record(uint64_t position) {
        if (index_.count() == 0)
            first_stamp_ = last_.TimeStamp;
        planned_record record;
        record.position = record.old_position = static_cast<uint32_t>(position);
        record.time = start_time_ + (last_.TimeStamp - first_stamp_) / 1000;
        record.time_known = true;
        record.width = header_.Width >= 0x8000 ? uint16_t{0} : header_.Width;
        record.height = header_.Width >= 0x8000 ? uint16_t{0} : header_.Height;
        return index_.add(record);
    }

    // A last frame that ends behind the file goes, and so does an old index that passes for a frame: behind one whose
    // stamp is near 0 its own stamp is no leap.
    uint64_t end_of_frames() {
        const bool torn = at_ > source_.size();
        if (!torn && !(at_ == source_.size() && last_is_old_index()))
            return at_;
        const uint64_t start = at_ - last_.FrameSize;
        auto& records = index_.records();
        if (!records.empty() && records.back().position == start)
            records.pop_back();
        return start;
    }

    bool last_is_old_index() {
        kmr_index_trailer trailer = {};
        return last_.TimeStamp == 0 && recording_.load(source_.size() - sizeof trailer, trailer) &&
               trailer.Magic == KMR_INDEX_MAGIC && trailer.Length == last_.FrameSize;
    }

    bool is_there_already(const changes& planned, uint64_t end, uint64_t length) {
        if (planned.new_size() != planned.old_size() || planned.writes().size() != 1)
            return false;
        changed_source after(source_, planned);
        scan::window made(after);
        for (uint64_t at = end; at < end + length;) {
            const auto part =
                static_cast<size_t>(std::min<uint64_t>(scan::window::most_viewed, end + length - at));
            const auto left = recording_.view(at, part);
            const auto right = made.view(at, part);
            if (!std::equal(left.begin(), left.end(), right.begin(), right.end()))
                return false;
            at += part;
        }
        return true;
    }

    scan::byte_source& source_;
    scan::window recording_;
    kmr_file_header header_ = {};
    kmr_frame_header last_ = {};
    uint64_t at_ = 0;
    uint64_t walked_ = 0;
    uint32_t time_ = 0;
    uint32_t start_time_ = 0;
    uint32_t first_stamp_ = 0;
    new_index index_ = {};
};

} // namespace

recorder_plan plan_like_recorder(scan::byte_source& source) {
    recorder_plan plan;
    if (source.size() > four_gib) {
        plan.status = plan_status::no_way;
        return plan;
    }
    try {
        walk frames(source);
        plan.status = frames.run(plan);
        cut_counter counter(frames.cut);
        plan.before = scan::judge(source, {}, &counter);
        plan.frames_kept = counter.kept;
        plan.frames_lost = counter.lost;
        plan.first_lost = counter.first_lost;
        plan.duration_ms = counter.duration_ms();
        const bool index_is_next = plan.before.index.present && plan.before.index.offset == frames.cut;
        if (plan.status == plan_status::ready && frames.cut < source.size() && !index_is_next)
            plan.cut = {region_action::cut, frames.cut, source.size() - frames.cut, {}};
        plan.tags_lost = plan.before.index.tags;
        if (plan.before.judged == scan::verdict::unreadable)
            plan.status = plan_status::unreadable;
        if (plan.before.changed)
            plan.status = plan_status::changing;
    } catch (const scan::read_stopped& stopped) {
        plan.status = plan_status::unreadable;
        plan.before = scan::unreadable(stopped.error);
    }
    return plan;
}

} // namespace kmr::mend
