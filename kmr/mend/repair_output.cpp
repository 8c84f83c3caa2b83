#include "kmr/mend/repair_output.hpp"

#include "kmr/output/json.hpp"
#include "kmr/output/numbers.hpp"
#include "kmr/output/text.hpp"

#include <algorithm>

namespace kmr::program {
namespace {

using output::append_number;
using output::json_writer;

constexpr size_t most_regions = 100; // that are listed for the eye
constexpr size_t name_width = 13;

std::string counted(uint64_t count, std::string_view one, std::string_view many) {
    std::string text;
    append_number(text, count);
    return text.append(" ").append(count == 1 ? one : many);
}

std::vector<std::string> notes_of(const mend::repair_plan& plan) {
    std::vector<std::string> notes;
    if (plan.times_guessed)
        notes.emplace_back(plan.start_guessed
                               ? "no index tells the time, and the first frame is lost: the times of the new "
                                 "index count from the date in the header, a guess"
                               : "no index tells the time: those of the new index count from the date in "
                                 "the header");
    if (plan.frames_covered > 0)
        notes.push_back(counted(plan.frames_covered, "whole frame is covered", "whole frames are covered") +
                        ": too long to take in the bytes behind");
    if (plan.frames_behind_index > 0)
        notes.push_back(counted(plan.frames_behind_index, "whole frame stands", "whole frames stand") +
                        " behind the index, where the recording has ended: cut");
    if (plan.rebuild_stops)
        notes.emplace_back("the clock runs back or leaps: readers go on there, but the recorder's own repair "
                           "would cut the recording");
    if (plan.frames_without_video > 0)
        notes.push_back(counted(plan.frames_without_video, "frame has", "frames have") +
                        " audio and no video: legal, but the viewer ends its report there");
    if (plan.beyond_4_gib)
        notes.emplace_back("beyond 4 GiB an index cannot name offsets: none is written");
    if (plan.errors_left > 0)
        notes.push_back(counted(plan.errors_left, "error stays", "errors stay") +
                        " that no repair mends: kmr check -v tells");
    return notes;
}

void append_name(std::string& to, std::string_view name) {
    output::append_left(to += "  ", name, name_width);
    to += ' ';
}

// "cover         719 bytes at 15872"
void append_region(std::string& to, const mend::region& each) {
    append_name(to, name_of(each.action));
    to += counted(each.length, "byte", "bytes");
    append_number(to += " at ", each.offset);
    if (each.frame)
        append_number(to += ", frame ", *each.frame);
    to += '\n';
}

void append_regions(std::string& to, const std::vector<mend::region>& regions) {
    const size_t shown = std::min(regions.size(), most_regions);
    for (size_t i = 0; i < shown; ++i)
        append_region(to, regions[i]);
    if (shown == regions.size())
        return;
    append_number(to += "  and ", regions.size() - shown);
    to += " more (--json lists them)\n";
}

void append_lost_tags(std::string& to, const std::vector<scan::tag>& tags, output::clock& clock) {
    constexpr int64_t ms = 1000;
    for (const scan::tag& each : tags) {
        append_name(to, "tag lost");
        clock.append_iso(to, int64_t{each.time} * ms);
        output::append_text(to += "  ", each.text);
        to += '\n';
    }
}

void append_index(std::string& to, const told_repair& what, const repair_numbers& numbers) {
    append_name(to, "index");
    to += what.index_rewritten ? "anew, " : "as it is, ";
    to += counted(numbers.index_records, "record", "records");
    to.append(", ").append(counted(numbers.tags_kept, "tag", "tags"));
    if (numbers.tags_lost > 0)
        append_number(to += " kept, lost: ", numbers.tags_lost);
    to += '\n';
}

void append_sizes(std::string& to, const repair_numbers& numbers) {
    append_name(to, "writes");
    to += counted(numbers.bytes_rewritten, "byte", "bytes");
    append_number(to += "; size before ", numbers.size_before);
    append_number(to += ", after ", numbers.size_after);
    to += '\n';
    append_name(to, "undo file");
    to += numbers.undo_bytes == 0 ? "none" : counted(numbers.undo_bytes, "byte", "bytes");
    to += '\n';
}

void write_regions(json_writer& to, const std::vector<mend::region>& regions) {
    to.begin_array();
    for (const mend::region& each : regions)
        to.begin_object()
            .member("action", name_of(each.action))
            .member("offset", each.offset)
            .member("length", each.length)
            .end_object();
    to.end_array();
}

struct numeric_member {
    std::string_view name;
    uint64_t repair_numbers::*where;
};

void write_numbers(json_writer& to, const std::optional<repair_numbers>& numbers,
                   std::initializer_list<numeric_member> members) {
    for (const numeric_member& each : members)
        to.member(each.name, numbers ? std::optional(*numbers.*each.where) : std::nullopt);
}

} // namespace

told_repair told_of(const std::string& path, const mend::repair_plan& plan) {
    return {.path = path,
            .changes = plan.status == mend::plan_status::ready,
            .numbers = repair_numbers{.frames_kept = plan.frames_kept,
                                      .duration_ms = plan.duration_ms,
                                      .bytes_rewritten = plan.bytes_rewritten,
                                      .index_records = plan.index_records,
                                      .tags_kept = plan.tags_kept,
                                      .tags_lost = plan.tags_lost,
                                      .size_before = plan.planned.old_size(),
                                      .size_after = plan.planned.new_size()},
            .regions = plan.regions,
            .index_rewritten = plan.index_rewritten,
            .lost_tags = plan.lost_tags,
            .notes = notes_of(plan)};
}

told_repair told_of(const std::string& path, const mend::recorder_plan& plan) {
    const bool to_do = plan.status == mend::plan_status::ready;
    told_repair told = {.path = path,
                        .changes = to_do,
                        .numbers = repair_numbers{.frames_kept = plan.frames_kept,
                                                  .duration_ms = plan.duration_ms,
                                                  .bytes_rewritten = to_do ? plan.planned.bytes_written() : 0,
                                                  .index_records = plan.index_records,
                                                  .tags_lost = plan.tags_lost,
                                                  .size_before = plan.planned.old_size(),
                                                  .size_after = plan.planned.new_size()},
                        .index_rewritten = true};
    if (plan.cut)
        told.regions.push_back(*plan.cut);
    if (plan.first_lost) {
        std::string note =
            counted(plan.frames_lost, "whole frame behind the cut is", "whole frames behind the cut are");
        append_number(note += " lost, the first is number ", *plan.first_lost);
        told.notes.push_back(note);
    }
    return told;
}

void append_repair_text(std::string& to, const told_repair& what, output::clock& clock) {
    output::append_text(to, what.path);
    if (!what.changes) {
        to += ": nothing to do\n";
    } else {
        const repair_numbers& numbers = *what.numbers;
        to += '\n';
        append_name(to, "keeps");
        to += counted(numbers.frames_kept, "frame", "frames");
        output::append_stream_time(to += ", ", numbers.duration_ms);
        to += '\n';
        append_regions(to, what.regions);
        append_index(to, what, numbers);
        append_lost_tags(to, what.lost_tags, clock);
        append_sizes(to, numbers);
    }
    for (const std::string& each : what.notes) {
        append_name(to, "note");
        to.append(each).append("\n");
    }
}

void append_repair_json(std::string& to, const told_repair& what) {
    using numbers = repair_numbers;
    json_writer json(to);
    json.begin_object()
        .member("schema", "kmr.repair/1")
        .member("path", what.path)
        .member("changes", what.changes);
    write_numbers(json, what.numbers, {{"frames_kept", &numbers::frames_kept}});
    json.member("duration_ms", what.numbers ? std::optional(what.numbers->duration_ms) : std::nullopt);
    write_regions(json.key("regions"), what.regions);
    write_numbers(json, what.numbers,
                  {{"bytes_rewritten", &numbers::bytes_rewritten},
                   {"index_records", &numbers::index_records},
                   {"tags_kept", &numbers::tags_kept},
                   {"tags_lost", &numbers::tags_lost},
                   {"size_before", &numbers::size_before},
                   {"size_after", &numbers::size_after},
                   {"undo_bytes", &numbers::undo_bytes}});
    json.end_object();
    to += '\n';
}

} // namespace kmr::program
