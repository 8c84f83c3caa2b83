#include "kmr/report_json.hpp"

#include "kmr/output/numbers.hpp"
#include "scan/time_line.hpp"

#include <cstring>

namespace kmr::program {
namespace {

using output::json_writer;

void write_header(json_writer& to, const scan::header_event& read) {
    if (read.length < KMR_FILE_HEADER_SIZE) {
        to.null();
        return;
    }
    const kmr_file_header& header = read.header;
    const std::string date = header_date(header);
    to.begin_object()
        .member("plausible", read.state == scan::header_state::valid)
        .member("start", date.empty() ? std::nullopt : std::optional(date))
        .member("frame_rate", header.FrameRate)
        .member("width", header.Width)
        .member("height", header.Height)
        .member("mode", header.Mode)
        .member("audio", header.bAudio != 0)
        .member("audio_channels", header.AChannels)
        .member("audio_bits", header.BitsPerSample)
        .member("audio_rate", header.AudioSample)
        .member("cover_mask", header.CoverMask)
        .member("cover_word",
                std::string_view(header.cCovWord, strnlen(header.cCovWord, sizeof header.cCovWord)))
        .member("frame_no_diff", header.m_uiFrameNoDiff)
        .member("trigger_high", header.TriggerHigh)
        .member("trigger_low", header.TriggerLow)
        .member("total_size", header.TotalSize)
        .member("frame_count", header.FrameCount)
        .end_object();
}

void write_frames(json_writer& to, const scan::frame_counts& frames) {
    to.begin_object()
        .member("total", frames.total)
        .member("i", frames.i)
        .member("p", frames.p)
        .member("inserted", frames.inserted)
        .member("encrypted", frames.encrypted)
        .member("damaged", frames.damaged)
        .member("lost", frames.lost)
        .end_object();
}

void write_index(json_writer& to, const scan::index_summary& index) {
    to.begin_object()
        .member("present", index.present)
        .member("records", index.records)
        .member("tags", index.tags)
        .end_object();
}

// Unknown where nothing of it could be opened.
std::optional<uint64_t> size_of(const scan::report& judged) {
    const bool never_opened = judged.ended == scan::end_state::read_failed && judged.size == 0;
    return never_opened ? std::nullopt : std::optional(judged.size);
}

std::optional<int64_t> end_of(const scan::report& judged) {
    if (!judged.start_ms || !judged.duration_ms)
        return {};
    return *judged.start_ms + *judged.duration_ms;
}

} // namespace

std::string header_date(const kmr_file_header& header) {
    if (!scan::header_start_ms(header))
        return {};
    std::string date;
    output::append_digits(date, header.Year, 4);
    output::append_digits(date += '-', header.Month, 2);
    output::append_digits(date += '-', header.Day, 2);
    output::append_digits(date += 'T', header.Hour, 2);
    output::append_digits(date += ':', header.Minute, 2);
    output::append_digits(date += ':', header.Second, 2);
    return date;
}

void write_common_members(json_writer& to, const judged_file& file, output::clock& clock) {
    const scan::report& judged = file.judged;
    to.member("path", file.path)
        .member("verdict", scan::name_of(judged.judged))
        .member("size", size_of(judged))
        .member("changed", judged.changed);
    write_header(to.key("header"), judged.header);
    to.member("start", clock.iso(judged.start_ms))
        .member("end", clock.iso(end_of(judged)))
        .member("duration_ms", judged.duration_ms);
    write_frames(to.key("frames"), judged.frames);
    write_index(to.key("index"), judged.index);
}

void write_finding(json_writer& to, const scan::finding& found) {
    const scan::finding_kind& kind = scan::kind_of(found.code);
    to.begin_object()
        .member("code", kind.code)
        .member("severity", scan::name_of(kind.level))
        .member("offset", found.offset)
        .member("length", found.length)
        .member("frame", found.frame)
        .member("time_ms", found.time_ms)
        .member("message", scan::message_of(found));
    for (const scan::field_name name : kind.fields) {
        to.key(scan::name_of(name));
        if (name == scan::field_name::field)
            to.value(scan::name_of(static_cast<scan::index_field>(found.value(name))));
        else
            to.value(found.value(name));
    }
    to.end_object();
}

void write_repair(json_writer& to, const scan::repair_summary& repair) {
    to.begin_object()
        .member("possible", repair.possible)
        .member("frames_kept", repair.frames_kept)
        .member("bytes_kept", repair.bytes_kept)
        .member("bytes_lost", repair.bytes_lost)
        .end_object();
}

} // namespace kmr::program
