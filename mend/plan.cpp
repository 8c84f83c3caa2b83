#include "mend/plan.hpp"

#include "mend/frame_plan.hpp"
#include "mend/header_plan.hpp"
#include "mend/views.hpp"
#include "scan/time_line.hpp"
#include "scan/window.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace kmr::mend {
namespace {

using scan::finding_code;

constexpr uint64_t four_gib = uint64_t{1} << 32;

bool has(const scan::report& judged, finding_code code) {
    return judged.found[static_cast<size_t>(code)] > 0;
}

bool has_index_error(const scan::report& judged) {
    using enum finding_code;
    constexpr finding_code about_the_index[] = {index_missing,     index_torn,        index_head_wrong,
                                                index_entry_wrong, index_incomplete,  index_order,
                                                tag_count_wrong,   bytes_behind_index};
    return std::any_of(std::begin(about_the_index), std::end(about_the_index),
                       [&](finding_code code) { return has(judged, code); });
}

uint64_t errors_in(const scan::report& judged) {
    uint64_t errors = 0;
    for (size_t code = 0; code < scan::finding_code_count; ++code)
        if (kind_of(static_cast<finding_code>(code)).level == scan::severity::error)
            errors += judged.found[code];
    return errors;
}

bool is_torn_at(const scan::report& judged, const std::optional<uint64_t>& offset) {
    return std::any_of(judged.findings.begin(), judged.findings.end(), [&](const scan::finding& each) {
        return each.code == finding_code::bytes_torn && each.offset == offset;
    });
}

class planner {
public:
    explicit planner(scan::byte_source& source) : source_(source), seen_(source) {}

    repair_plan run();

private:
    void look_at();
    bool is_planned() const;
    bool may_be_bettered() const;
    void seen_without_last_frame();
    void look_again();
    plan_status assemble();
    void plan_index();
    bool index_changes() const;
    bool is_lost(uint32_t position) const;
    void tell_index();
    std::optional<kmr_file_header> right_header() const;
    bool plan_header();
    void tell_rest();
    plan_status prove();
    bool header_is_valid() const { return judged_.header.state == scan::header_state::valid; }

    scan::byte_source& source_;
    with_other_headers seen_;
    scan::report judged_ = {}; // as it is seen now
    frame_plan::result found_ = frame_plan::result();
    repair_plan plan_ = {};
    new_index index_ = {};
    bool last_is_none_ = false;   // the last frame is no longer one in what would come out
    bool index_is_wrong_ = false; // once the header is valid that it is held against
};

void planner::look_at() {
    frame_plan frames(source_.size(), source_.size() <= four_gib, seen_.stamps());
    judged_ = scan::judge(seen_, {}, &frames);
    frames.finish();
    found_ = frames.take();
    if (seen_.left_out() > 0) {
        found_.regions.push_back({region_action::cut, seen_.gap(), seen_.left_out(), {}});
        found_.planned.set_new_size(seen_.size());
    }
}

// Where the bytes behind the last frame are cut it claims exactly what is left, and a frame that does is looked into:
// it may be one that lost bytes, and reaches over the good ones behind it. Then it is no frame from the beginning. Stamps
// that are wrong are set before anything else is planned by them.
repair_plan planner::run() {
    constexpr int most_looks = 8;
    look_at();
    plan_.before = judged_;
    plan_.status = assemble();
    for (int i = 1; i < most_looks && may_be_bettered(); ++i) {
        seen_.set(found_.wrong_stamps);
        if (last_is_none_)
            seen_without_last_frame();
        else
            look_again();
    }
    if (index_is_wrong_)
        look_again();
    return std::move(plan_);
}

bool planner::is_planned() const {
    return plan_.status == plan_status::nothing_to_do || plan_.status == plan_status::ready ||
           plan_.status == plan_status::no_way;
}

bool planner::may_be_bettered() const {
    return is_planned() && (last_is_none_ || !found_.wrong_stamps.empty());
}

// What was cut behind it may belong to the frames within it; or the last of these is one only where the index, or the end,
// stands behind it.
void planner::seen_without_last_frame() {
    const uint64_t from = found_.frames_end;
    const uint64_t to = found_.old_index ? found_.old_index->offset : source_.size();
    seen_.break_lengths(*found_.last_frame);
    look_again();
    if (seen_.left_out() > 0 || !is_planned())
        return;
    const uint64_t kept = found_.ordinary + found_.inserted;
    seen_.leave_out(from, to);
    look_again();
    if (found_.ordinary + found_.inserted > kept || !is_planned())
        return;
    seen_.leave_out(from, from);
    look_again();
}

// What was found at first is told, what is done goes by what is seen now.
void planner::look_again() {
    scan::report first_look = std::move(plan_.before);
    look_at();
    first_look.changed = first_look.changed || judged_.changed;
    plan_ = {};
    plan_.before = judged_.judged == scan::verdict::unreadable ? judged_ : std::move(first_look);
    index_ = {};
    last_is_none_ = false;
    plan_.status = assemble();
}

bool planner::is_lost(uint32_t position) const {
    const auto behind = std::partition_point(found_.regions.begin(), found_.regions.end(),
                                             [&](const region& each) { return each.offset <= position; });
    if (behind == found_.regions.begin())
        return false;
    const region& near = *(behind - 1);
    const bool gone = near.action == region_action::cover || near.action == region_action::cut ||
                      near.action == region_action::cover_frame;
    return gone && position - near.offset < near.length;
}

bool planner::index_changes() const {
    if (source_.size() > four_gib)
        return false;
    if (index_is_wrong_ || has_index_error(judged_) || seen_.leaves_out_within() || !found_.old_index ||
        found_.old_index->state != scan::index_state::whole || found_.frames_end != found_.old_index->offset)
        return true;
    return !found_.planned.empty() && !index_.is_the_old_one();
}

void planner::plan_index() {
    index_ = std::move(found_.index);
    if (found_.old_index && source_.size() <= four_gib)
        index_.take_old(seen_, *found_.old_index, [&](uint32_t position) { return is_lost(position); });
}

void planner::tell_index() {
    plan_.index_records = judged_.index.records;
    plan_.tags_kept = judged_.index.tags;
    plan_.beyond_4_gib = source_.size() > four_gib;
    if (!plan_.index_rewritten)
        return;
    plan_.index_records = index_.count();
    plan_.tags_kept = index_.tags();
    plan_.tags_lost = index_.tags_lost();
    plan_.lost_tags = index_.lost_tags();
    plan_.times_guessed = index_.guesses_times();
    plan_.start_guessed = plan_.times_guessed && found_.first_frame_lost;
}

// What stands behind the index goes when that is written anew. It may be more than stray bytes.
void planner::tell_rest() {
    if (!found_.behind_index || !plan_.index_rewritten)
        return;
    const scan::trailing_event& rest = *found_.behind_index;
    found_.regions.push_back({region_action::cut, seen_.place_of(rest.offset), rest.length, {}});
    behind_index behind(seen_, rest);
    plan_.frames_behind_index = scan::judge(behind).frames.total;
}

std::optional<kmr_file_header> planner::right_header() const {
    if (header_is_valid()) {
        kmr_file_header header = judged_.header.header;
        header.FrameCount = static_cast<uint32_t>(found_.ordinary);
        return header;
    }
    return header_from({.size = judged_.proven_size,
                        .codec = found_.is_jpeg ? scan::video_codec::mjpeg : judged_.codec,
                        .step_ms = found_.step_ms,
                        .start_ms = index_.start_ms(),
                        .frames = static_cast<uint32_t>(found_.ordinary)});
}

// What the header counts is set right where anything else is, and where it is all that is wrong.
bool planner::plan_header() {
    const bool counts_wrong =
        has(judged_, finding_code::frame_count_wrong) || has(judged_, finding_code::total_size_wrong);
    if (header_is_valid() && found_.planned.empty() && !plan_.index_rewritten && !counts_wrong)
        return true;
    auto header = right_header();
    if (!header)      // uncovered: there was one before, and no proof has gone since
        return false; // uncovered: as above
    header->TotalSize = static_cast<uint32_t>(found_.planned.new_size());
    const std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t*>(&*header), sizeof *header);
    const kmr_file_header& old = judged_.header.header;
    if (!header_is_valid()) {
        plan_.regions.insert(plan_.regions.begin(),
                             {region_action::rebuild_header, 0, KMR_FILE_HEADER_SIZE, {}});
        return found_.planned.write_bytes(0, bytes);
    }
    constexpr size_t counts = offsetof(kmr_file_header, TotalSize);
    if (old.TotalSize == header->TotalSize && old.FrameCount == header->FrameCount)
        return true;
    return found_.planned.write_bytes(counts, bytes.subspan(counts));
}

plan_status planner::assemble() {
    if (found_.obstacle != plan_obstacle::none)
        return plan_status::too_damaged;
    if (judged_.judged == scan::verdict::unreadable)
        return plan_status::unreadable;
    if (judged_.changed)
        return plan_status::changing;
    if (judged_.judged == scan::verdict::not_a_recording ||
        judged_.header.state == scan::header_state::too_short)
        return plan_status::not_a_recording;
    std::stable_sort(found_.regions.begin(), found_.regions.end(),
                     [](const region& left, const region& right) { return left.offset < right.offset; });
    plan_index();
    changes& planned = found_.planned;
    plan_.index_rewritten = index_changes();
    if (!found_.old_index || plan_.index_rewritten)
        planned.set_new_size(found_.frames_end);
    const auto header = right_header();
    if (!header)
        return plan_status::no_picture_size;
    const int64_t fallback = scan::header_start_ms(*header).value_or(0) - found_.first_ms;
    index_.settle(fallback, {header->Width, header->Height});
    tell_index();
    if (plan_.index_rewritten) {
        planned.set_new_size(found_.frames_end + index_.length());
        if (!planned.write_index(found_.frames_end, std::move(index_)))
            return plan_status::too_damaged;
    }
    tell_rest();
    plan_.regions = std::move(found_.regions);
    if (!plan_header())
        return plan_status::too_damaged;
    planned.sort();
    return prove();
}

// Follows the recorder's own rebuild over what would come out.
class rebuild_watch final : public scan::observer {
public:
    void on_frame(const scan::seen_frame& seen) override { walk.step_to(seen.frame.header.TimeStamp); }
    rebuild_walk walk = {};
};

// What would come out is judged before anything is written: every frame that was to be kept must be there.
plan_status planner::prove() {
    plan_.planned = std::move(found_.planned);
    plan_.frames_kept = found_.ordinary + found_.inserted;
    plan_.duration_ms = found_.duration_ms;
    plan_.bytes_rewritten = plan_.planned.bytes_written();
    plan_.covers = found_.covers;
    plan_.frames_without_video = found_.without_video;
    plan_.frames_covered = found_.frames_covered;
    plan_.rebuild_stops = found_.rebuild_stops;
    plan_.errors_left = errors_in(judged_);
    if (plan_.planned.empty())
        return plan_status::nothing_to_do;
    changed_source mended(source_, plan_.planned);
    rebuild_watch watch;
    const scan::report after = scan::judge(mended, {}, &watch);
    plan_.rebuild_stops = watch.walk.stops();
    plan_.errors_left = errors_in(after);
    if (after.judged == scan::verdict::unreadable)
        return plan_status::unreadable;
    // With nothing torn or damaged left no frame stands for another.
    const bool as_planned = after.frames.i + after.frames.p == found_.ordinary &&
                            after.frames.inserted == found_.inserted + found_.covers &&
                            after.repair.bytes_lost == 0;
    last_is_none_ = is_torn_at(after, found_.last_frame);
    index_is_wrong_ = !plan_.index_rewritten && !plan_.beyond_4_gib && has_index_error(after);
    return as_planned ? plan_status::ready : plan_status::no_way;
}

// What is torn breaks runs of the clock that go on once it is covered: the times of the new index are then held against
// others.
void set_times_by_what_comes_out(repair_plan& plan, scan::byte_source& source) {
    if (plan.status != plan_status::ready || !plan.index_rewritten || plan.errors_left == 0)
        return;
    changed_source mended(source, plan.planned);
    repair_plan again = planner(mended).run();
    if (again.status == plan_status::ready && plan.planned.take_index_of(again.planned))
        plan.errors_left = again.errors_left;
}

} // namespace

repair_plan plan_repair(scan::byte_source& source) {
    try {
        repair_plan plan = planner(source).run();
        set_times_by_what_comes_out(plan, source);
        return plan;
    } catch (const scan::read_stopped& stopped) { // the old index was there when it was judged
        repair_plan failed;
        failed.status = plan_status::unreadable;
        failed.before = scan::unreadable(stopped.error);
        return failed;
    }
}

} // namespace kmr::mend
