// The end of a pass: what follows from all that was met.
#include "file_op/common/frame_check.h"
#include "scan/index_records.hpp"
#include "scan/judgement.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace kmr::scan {
namespace {

constexpr uint64_t four_gib = uint64_t{1} << 32;

uint64_t count_of(const report& result, finding_code code) {
    return result.found[static_cast<size_t>(code)];
}

finding differing(finding_code code, uint64_t offset, uint64_t expected, uint64_t actual) {
    finding found = {.code = code, .offset = offset, .length = 4};
    found.set(field_name::expected, static_cast<int64_t>(expected))
        .set(field_name::actual, static_cast<int64_t>(actual));
    return found;
}

bool names_i_frame(byte_source& source, const index_event& block, uint32_t position) {
    kmr_frame_header header = {};
    if (position < KMR_FILE_HEADER_SIZE || uint64_t{position} + sizeof header > block.offset)
        return false;
    source.read_at(position, {reinterpret_cast<uint8_t*>(&header), sizeof header});
    return rec_ValidFrame(&header, 0) == KMR_FRAME_ORDINARY && kmr_is_i_frame(&header) != 0;
}

// Records of a whole block are believed whatever they name; of a broken one, those that name an I-frame.
picture_size size_in_records(byte_source& source, const index_event& block) {
    const bool whole = block.state == index_state::whole;
    const uint64_t body = block.length - std::min<uint64_t>(block.length, KMR_INDEX_HEAD_SIZE);
    index_records records(source, block.offset, body / KMR_INDEX_RECORD_SIZE);
    for (uint64_t i = 0; i < records.count(); ++i) {
        const picture_size size = {records[i].VideoWidth, records[i].VideoHeight};
        if (is_plausible(size) && (whole || names_i_frame(source, block, records[i].IPos)))
            return size;
    }
    return {};
}

} // namespace

std::optional<index_event> judgement::unexpected_index() const {
    const bool as_expected = index_ && block_ && block_->offset == expected_offset_;
    const bool unchecked = block_ && (index_ || block_->state == index_state::whole);
    return unchecked && !as_expected ? block_ : std::nullopt;
}

void judgement::judge_block() {
    if (!block_) {
        if (!torn_to_end_)
            findings_.add({.code = finding_code::index_missing, .offset = result_.size});
        return;
    }
    if (block_->state == index_state::torn)
        findings_.add({.code = finding_code::index_torn, .offset = block_->offset, .length = block_->length});
    if (block_->state == index_state::lying)
        findings_.add({.code = finding_code::index_head_wrong,
                       .offset = block_->offset,
                       .length = KMR_INDEX_HEAD_SIZE});
    if (block_->state != index_state::whole || !index_)
        return;
    index_->finish(payloads_.pictures_known());
    result_.index.tags = index_->tags();
    result_.tags = std::move(index_->tag_list());
    constexpr uint64_t most_tags = KMR_MAX_TAGS;
    const uint64_t tags = std::min(index_->tags(), most_tags);
    constexpr uint64_t count_offset = offsetof(kmr_frame_header, FrameNo);
    if (block_->head.Frame.FrameNo != tags)
        findings_.add(differing(finding_code::tag_count_wrong, block_->offset + count_offset, tags,
                                block_->head.Frame.FrameNo));
}

// What the header counts is plain only where nothing is torn and the index was written to its end.
void judgement::judge_counts() {
    constexpr uint64_t total_size_offset = offsetof(kmr_file_header, TotalSize);
    constexpr uint64_t frame_count_offset = offsetof(kmr_file_header, FrameCount);
    const bool plain = result_.header.state == header_state::valid && block_ &&
                       block_->state == index_state::whole && !torn_;
    if (!plain)
        return;
    const kmr_file_header& header = result_.header.header;
    const uint64_t ordinary = result_.frames.i + result_.frames.p;
    if (header.FrameCount < ordinary || header.FrameCount > ordinary + result_.frames.lost)
        findings_.add(
            differing(finding_code::frame_count_wrong, frame_count_offset, ordinary, header.FrameCount));
    const auto end = static_cast<uint32_t>(block_->offset + block_->length);
    if (result_.frames.lost == 0 && header.TotalSize != end)
        findings_.add(differing(finding_code::total_size_wrong, total_size_offset, end, header.TotalSize));
}

void judgement::judge_whole_file() {
    if (encrypted_)
        findings_.add(encrypted_->set(field_name::frames, static_cast<int64_t>(result_.frames.encrypted)));
    if (result_.size > four_gib)
        findings_.add(
            {.code = finding_code::beyond_4_gib, .offset = four_gib, .length = result_.size - four_gib});
}

void judgement::sum_up() {
    frame_counts& frames = result_.frames;
    frames.total = frames.i + frames.p + frames.inserted;
    frames.lost = steps_->lost();
    result_.longest_gap_ms = steps_->longest_ms();
    result_.repair.frames_kept = frames.total;
    if (result_.codec == video_codec::unknown)
        result_.codec = payloads_.codec();
    if (time_.begun())
        result_.duration_ms = time_.now();
}

void judgement::prove_size() {
    if (block_)
        result_.proven_size = size_in_records(source_, *block_);
    if (!result_.proven_size.known() && is_plausible(result_.picture))
        result_.proven_size = result_.picture;
}

bool judgement::repair_possible() const {
    const bool index_can_be_written = result_.size <= four_gib;
    if (result_.header.state != header_state::valid && !result_.proven_size.known())
        return false; // a header cannot be made anew
    for (size_t code = 0; code < finding_code_count; ++code) {
        if (result_.found[code] == 0)
            continue;
        const auto what = static_cast<finding_code>(code);
        switch (kind_of(what).mended_by) { // uncovered: every value has its case
        case remedy::none:
            break;
        case remedy::frames:
        case remedy::header:
            return true;
        case remedy::index:
            if (index_can_be_written)
                return true;
            break;
        }
    }
    return false;
}

verdict judgement::judge_verdict() const {
    if (result_.ended != end_state::complete)
        return verdict::unreadable;
    if (result_.header.state != header_state::valid && result_.frames.total == 0)
        return verdict::not_a_recording;
    bool damaged = false;
    for (size_t code = 0; code < finding_code_count; ++code) {
        const auto what = static_cast<finding_code>(code);
        const bool harmless = kind_of(what).level == severity::info || what == finding_code::index_missing;
        damaged = damaged || (!harmless && count_of(result_, what) > 0);
    }
    if (damaged)
        return verdict::damaged;
    return count_of(result_, finding_code::index_missing) > 0 ? verdict::unfinished : verdict::sound;
}

// One finding says it all: the header's.
void judgement::clear_for_no_recording() {
    const auto is_another = [](finding_code code) {
        return code != finding_code::header_short && code != finding_code::header_implausible;
    };
    std::erase_if(result_.findings, [&](const finding& each) { return is_another(each.code); });
    for (size_t code = 0; code < finding_code_count; ++code)
        if (is_another(static_cast<finding_code>(code)))
            result_.found[code] = 0;
    result_.findings_left_out = 0;
    result_.frames = {};
    result_.index = {};
    result_.tags.clear();
    result_.repair = {};
}

report judgement::finish() {
    if (steps_ && result_.ended == end_state::complete) {
        steps_->finish();
        payloads_.finish();
        sum_up();
        judge_block();
        judge_counts();
        judge_whole_file();
        result_.start_ms = index_ && block_ ? index_->start_ms() : std::nullopt;
        result_.start_from_index = result_.start_ms.has_value();
        if (!result_.start_ms && result_.header.state == header_state::valid)
            result_.start_ms = header_start_ms(result_.header.header);
        if (result_.header.state != header_state::valid)
            prove_size();
    }
    result_.findings_left_out = findings_.left_out();
    result_.found = findings_.counts();
    result_.findings = findings_.take_sorted();
    result_.judged = judge_verdict();
    if (result_.judged == verdict::not_a_recording)
        clear_for_no_recording();
    else if (result_.judged != verdict::unreadable)
        result_.repair.possible = repair_possible();
    return std::move(result_);
}

std::string_view name_of(verdict of) {
    constexpr std::string_view names[] = {"unreadable", "not a recording", "damaged", "unfinished", "sound"};
    return names[static_cast<size_t>(of)];
}

} // namespace kmr::scan
