#include "kmr/store/report_rows.hpp"

#include "scan/time_line.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace kmr::store {
namespace {

using scan::verdict;

constexpr std::string_view header_states[] = {"valid", "implausible", "too short"}; // as header_state

constexpr scan::index_field index_fields[] = {scan::index_field::offset, scan::index_field::kind,
                                              scan::index_field::time, scan::index_field::size};

int64_t number(uint64_t value) {
    return static_cast<int64_t>(value);
}

// One column after the other.
class reader {
public:
    reader(const statement& from, int first) : from_(from), column_(first) {}

    int64_t number() { return from_.number(column_++); }
    uint64_t count() { return static_cast<uint64_t>(number()); }
    bool flag() { return number() != 0; }
    std::optional<int64_t> maybe() { return from_.maybe(column_++); }
    std::string text() { return from_.text(column_++); }
    std::span<const uint8_t> bytes() { return from_.bytes(column_++); }

private:
    const statement& from_;
    int column_;
};

std::optional<verdict> verdict_named(std::string_view name) {
    for (const verdict each : {verdict::unreadable, verdict::not_a_recording, verdict::damaged,
                               verdict::unfinished, verdict::sound})
        if (scan::name_of(each) == name)
            return each;
    return {};
}

bool read_header(reader& from, scan::header_event& into) {
    const std::span<const uint8_t> bytes = from.bytes();
    if (bytes.size() > sizeof into.header)
        return false;
    into.length = static_cast<uint32_t>(bytes.size());
    if (!bytes.empty())
        std::memcpy(&into.header, bytes.data(), bytes.size());
    const auto* const state = std::find(std::begin(header_states), std::end(header_states), from.text());
    if (state == std::end(header_states))
        return false;
    into.state = static_cast<scan::header_state>(state - std::begin(header_states));
    return true;
}

void read_start(reader& from, scan::report& into) {
    into.start_ms = from.maybe();
    into.start_from_index = from.flag();
    // The header's date has no zone: it means another moment where the machine's has been changed since.
    if (into.start_ms && !into.start_from_index)
        into.start_ms = scan::header_start_ms(into.header.header);
}

} // namespace

const char* const report_columns =
    "verdict, error, shrunk, changed, size, header, header_state, start_ms, start_from_index, duration_ms, "
    "frames, i_frames, p_frames, inserted, encrypted, damaged, lost, "
    "index_present, index_offset, index_records, tags, "
    "repair_possible, frames_kept, bytes_kept, bytes_lost, codes, findings, findings_left_out";

std::string excluded(const std::string& columns) {
    constexpr const char* prefix = "excluded.";
    std::string result = prefix;
    for (const char each : columns) {
        result += each;
        if (each == ' ')
            result += prefix;
    }
    return result;
}

std::string excluded_but_channel(const std::string& columns) {
    constexpr std::string_view brought = "excluded.channel";
    std::string result = excluded(columns);
    return result.replace(result.find(brought), brought.size(),
                          "coalesce(recordings.channel, excluded.channel)");
}

void bind_report(statement& to, const scan::report& judged) {
    const scan::header_event& header = judged.header;
    const auto codes =
        std::count_if(judged.found.begin(), judged.found.end(), [](uint64_t each) { return each > 0; });
    to.bind_text(scan::name_of(judged.judged))
        .bind(int64_t{judged.error})
        .bind(int64_t{judged.ended == scan::end_state::shrunk})
        .bind(int64_t{judged.changed})
        .bind(number(judged.size))
        .bind(std::span(reinterpret_cast<const uint8_t*>(&header.header), header.length))
        .bind_text(header_states[static_cast<size_t>(header.state)])
        .bind(judged.start_ms)
        .bind(int64_t{judged.start_from_index})
        .bind(judged.duration_ms);
    for (const uint64_t each :
         {judged.frames.total, judged.frames.i, judged.frames.p, judged.frames.inserted,
          judged.frames.encrypted, judged.frames.damaged, judged.frames.lost, uint64_t{judged.index.present},
          judged.index.offset, judged.index.records, judged.index.tags, uint64_t{judged.repair.possible},
          judged.repair.frames_kept, judged.repair.bytes_kept, judged.repair.bytes_lost,
          static_cast<uint64_t>(codes), uint64_t{judged.findings.size()}, judged.findings_left_out})
        to.bind(number(each));
}

bool read_report(const statement& row, int first, scan::report& into, uint64_t& codes, uint64_t& findings) {
    reader from(row, first);
    const auto judged = verdict_named(from.text());
    if (!judged)
        return false;
    into.judged = *judged;
    into.error = static_cast<int>(from.number());
    const bool shrunk = from.flag();
    into.ended = shrunk            ? scan::end_state::shrunk
                 : into.error != 0 ? scan::end_state::read_failed
                                   : scan::end_state::complete;
    into.changed = from.flag();
    into.size = from.count();
    if (!read_header(from, into.header))
        return false;
    read_start(from, into);
    into.duration_ms = from.maybe();
    for (uint64_t* const each : {&into.frames.total, &into.frames.i, &into.frames.p, &into.frames.inserted,
                                 &into.frames.encrypted, &into.frames.damaged, &into.frames.lost})
        *each = from.count();
    into.index.present = from.flag();
    for (uint64_t* const each : {&into.index.offset, &into.index.records, &into.index.tags})
        *each = from.count();
    into.repair.possible = from.flag();
    for (uint64_t* const each : {&into.repair.frames_kept, &into.repair.bytes_kept, &into.repair.bytes_lost,
                                 &codes, &findings, &into.findings_left_out})
        *each = from.count();
    return true;
}

const char* const finding_columns =
    "position, code, severity, offset, length, frame, time_ms, "
    "expected, actual, lost, previous, leap_ms, frames, record, field, missing";

void bind_finding(statement& to, size_t position, const scan::finding& found) {
    const scan::finding_kind& kind = scan::kind_of(found.code);
    to.bind(number(position))
        .bind_text(kind.code)
        .bind_text(scan::name_of(kind.level))
        .bind(number(found.offset))
        .bind(number(found.length))
        .bind(found.frame ? std::optional(int64_t{*found.frame}) : std::nullopt)
        .bind(found.time_ms);
    for (size_t place = 0; place < scan::field_name_count; ++place) {
        const auto name = static_cast<scan::field_name>(place);
        const bool there = std::find(kind.fields.begin(), kind.fields.end(), name) != kind.fields.end();
        if (!there)
            to.bind(no_value{});
        else if (name == scan::field_name::field)
            to.bind_text(scan::name_of(static_cast<scan::index_field>(found.value(name))));
        else
            to.bind(found.value(name));
    }
}

bool read_finding(const statement& row, int first, scan::finding& into) {
    reader from(row, first + 1); // behind the position
    const auto code = code_named(from.text());
    if (!code)
        return false;
    into.code = *code;
    from.text(); // the severity follows from the code
    into.offset = from.count();
    into.length = from.count();
    if (const auto frame = from.maybe())
        into.frame = static_cast<uint32_t>(*frame);
    into.time_ms = from.maybe();
    for (size_t place = 0; place < scan::field_name_count; ++place) {
        const auto name = static_cast<scan::field_name>(place);
        if (name != scan::field_name::field) {
            into.set(name, from.number()); // 0 where there is none
            continue;
        }
        const std::string text = from.text();
        for (const scan::index_field each : index_fields)
            if (scan::name_of(each) == text)
                into.set(name, static_cast<int64_t>(each));
    }
    return true;
}

std::optional<scan::finding_code> code_named(std::string_view name) {
    const auto kinds = scan::finding_kinds();
    const auto found =
        std::find_if(kinds.begin(), kinds.end(), [&](const auto& kind) { return kind.code == name; });
    if (found == kinds.end())
        return {};
    return static_cast<scan::finding_code>(found - kinds.begin());
}

} // namespace kmr::store
