#include "scan/judgement.hpp"

#include <algorithm>
#include <utility>

namespace kmr::scan {
namespace {

constexpr uint64_t least_encrypted_size = 64; // frames with less data never count as encrypted
constexpr size_t most_damaged_numbers = 1024;

bool is_encrypted(const kmr_frame_header& header) {
    const uint64_t size = uint64_t{header.VideoSize} + uint64_t{header.AFrameNum} * header.AFrameSize;
    return (header.Tag & 3) == 2 && size >= least_encrypted_size;
}

bool is_i(const kmr_frame_header& header) {
    return kmr_is_i_frame(&header) != 0;
}

} // namespace

void judgement::expect_index(const index_event& block) {
    if (block.state != index_state::whole)
        return;
    index_.emplace(source_, block, header_size(), findings_, watching_);
    expected_offset_ = block.offset;
}

picture_size judgement::header_size() const {
    const header_event& header = result_.header;
    return header.state == header_state::valid ? picture_size{header.header.Width, header.header.Height}
                                               : picture_size{};
}

uint32_t judgement::frame_rate() const {
    const header_event& header = result_.header;
    const bool told = header.state == header_state::valid && header.header.FrameRate != 0;
    return told ? header.header.FrameRate : uint32_t{KMR_DEFAULT_FRAME_RATE};
}

void judgement::take(const header_event& header) {
    result_.header = header;
    steps_.emplace(findings_, frame_rate());
    result_.picture = header_size();
    if (header.state == header_state::too_short)
        findings_.add({.code = finding_code::header_short, .offset = 0, .length = result_.size});
    if (header.state == header_state::implausible)
        findings_.add(
            {.code = finding_code::header_implausible, .offset = 0, .length = KMR_FILE_HEADER_SIZE});
    if (header.state == header_state::valid && is_mjpeg(header.header))
        result_.codec = video_codec::mjpeg;
    watching_.on_header(header);
}

void judgement::take(const frame_event& frame) {
    switch (frame.kind) { // uncovered: every value has its case
    case frame_class::ordinary:
        take_ordinary(frame);
        break;
    case frame_class::inserted:
        take_inserted(frame);
        break;
    case frame_class::damaged:
    case frame_class::torn_at_end:
        take_broken(frame);
        break;
    }
}

payload_outcome judgement::look_into(const frame_event& frame, bool encrypted, int64_t stream_ms) {
    if (encrypted || !looks_into_payloads_ || result_.codec == video_codec::mjpeg)
        return {};
    payload_outcome outcome = payloads_.take(frame, stream_ms);
    result_.user_data |= outcome.user_data.kinds;
    if (outcome.look.size.known() && !sized_by_sets_) {
        result_.picture = outcome.look.size;
        sized_by_sets_ = true;
    }
    return outcome;
}

void judgement::note_encrypted(const frame_event& frame, int64_t stream_ms) {
    ++result_.frames.encrypted;
    if (!encrypted_)
        encrypted_ = finding{.code = finding_code::encrypted,
                             .offset = frame.offset,
                             .frame = frame.header.FrameNo,
                             .time_ms = stream_ms};
}

step_outcome judgement::take_step(const frame_event& frame, int64_t stream_ms) {
    step_frame step = {.offset = frame.offset,
                       .number = frame.header.FrameNo,
                       .stamp = frame.header.TimeStamp,
                       .stream_ms = stream_ms,
                       .is_i_frame = is_i(frame.header),
                       .behind_damage = behind_damage_,
                       .damaged_before = damaged_between(frame.header.FrameNo)};
    if (index_ && step.is_i_frame)
        step.index_time = index_->time_of(frame.offset);
    const step_outcome outcome = steps_->take(step);
    clock_run_ += outcome.clock_broken ? 1 : 0;
    broken_since_i_ = broken_since_i_ || behind_damage_ || !outcome.goes_on;
    missing_since_i_ = missing_since_i_ || outcome.gap > 0;
    last_number_ = frame.header.FrameNo;
    behind_damage_ = false;
    damaged_numbers_.clear();
    return outcome;
}

void judgement::hold_against_index(const frame_event& frame, const payload_outcome& payload,
                                   int64_t stream_ms) {
    if (!index_ || !(is_i(frame.header) || payload.kind_is_wrong))
        return;
    index_->take({.offset = frame.offset,
                  .number = frame.header.FrameNo,
                  .stamp = frame.header.TimeStamp,
                  .stream_ms = stream_ms,
                  .clock_run = clock_run_,
                  .own_size = payload.look.size,
                  .record_optional = payload.kind_is_wrong,
                  .doubtful = payload.kind_is_doubtful,
                  .behind_break = std::exchange(broken_since_i_, false),
                  .frames_missing = std::exchange(missing_since_i_, false)});
}

void judgement::take_ordinary(const frame_event& frame) {
    const kmr_frame_header& header = frame.header;
    const bool encrypted = is_encrypted(header);
    const int64_t stream_ms = time_.advance(header.TimeStamp);
    report_pending_region(frame, stream_ms);
    ++(is_i(header) ? result_.frames.i : result_.frames.p);
    result_.video_bytes += header.VideoSize;
    result_.repair.bytes_kept += frame.length;
    if (encrypted)
        note_encrypted(frame, stream_ms);
    const payload_outcome payload = look_into(frame, encrypted, stream_ms);
    const step_outcome step = take_step(frame, stream_ms);
    hold_against_index(frame, payload, stream_ms);
    watching_.on_frame({.frame = frame,
                        .stream_ms = stream_ms,
                        .delay_ms = step.delay_ms,
                        .gap = step.gap,
                        .clock_run = clock_run_,
                        .encrypted = encrypted,
                        .look = encrypted ? nullptr : &payload.look});
}

void judgement::take_inserted(const frame_event& frame) {
    const int64_t stream_ms = time_.at(frame.header.TimeStamp);
    report_pending_region(frame, stream_ms);
    ++result_.frames.inserted;
    result_.repair.bytes_kept += frame.length;
    watching_.on_frame({.frame = frame, .stream_ms = stream_ms});
}

void judgement::note_damage(uint64_t offset, uint64_t length) {
    torn_ = true;
    behind_damage_ = true;
    torn_to_end_ = offset + length == result_.size;
    result_.repair.bytes_lost += length;
    if (index_)
        index_->take_torn(offset, length);
}

// A frame whose lengths disagree, or that the file ends in.
void judgement::take_broken(const frame_event& frame) {
    finding found = {.code = frame.kind == frame_class::damaged ? finding_code::frame_lengths_wrong
                                                                : finding_code::frame_torn_at_end,
                     .offset = frame.offset,
                     .length = frame.length};
    int64_t stream_ms = time_.now();
    if (frame.header_whole) {
        stream_ms = time_.at(frame.header.TimeStamp);
        found.frame = frame.header.FrameNo;
        found.time_ms = stream_ms;
        ++result_.frames.damaged;
        if (damaged_numbers_.size() < most_damaged_numbers)
            damaged_numbers_.push_back(frame.header.FrameNo);
    }
    if (frame.header_whole)
        report_pending_region(frame, stream_ms);
    else
        report_pending_region();
    findings_.add(found);
    note_damage(frame.offset, frame.length);
    watching_.on_frame({.frame = frame, .stream_ms = stream_ms});
}

void judgement::take(const torn_event& region) {
    report_pending_region();
    region_ = finding{.code = finding_code::bytes_torn, .offset = region.offset, .length = region.length};
    note_damage(region.offset, region.length);
    watching_.on_torn(region);
}

void judgement::report_pending_region(const frame_event& behind, int64_t stream_ms) {
    if (!region_)
        return;
    region_->frame = behind.header.FrameNo;
    region_->time_ms = stream_ms;
    report_pending_region();
}

void judgement::report_pending_region() {
    if (region_)
        findings_.add(*region_);
    region_.reset();
}

void judgement::take(const index_event& block) {
    report_pending_region();
    block_ = block;
    result_.index.offset = block.offset;
    result_.index.present = block.state != index_state::torn;
    if (block.state == index_state::whole)
        result_.index.records = block.head.RecordCount;
    watching_.on_index(block);
}

void judgement::take(const trailing_event& rest) {
    findings_.add({.code = finding_code::bytes_behind_index, .offset = rest.offset, .length = rest.length});
    watching_.on_trailing(rest);
}

void judgement::take(const end_event& end) {
    report_pending_region();
    result_.ended = end.state;
    result_.error = end.error;
}

// A damaged frame's number is not missing: its header is there.
uint32_t judgement::damaged_between(uint32_t number) const {
    return static_cast<uint32_t>(
        std::count_if(damaged_numbers_.begin(), damaged_numbers_.end(), [&](uint32_t damaged) {
            const int64_t distance = wrapped_distance(last_number_, damaged);
            return distance > 0 && distance < wrapped_distance(last_number_, number);
        }));
}

} // namespace kmr::scan
