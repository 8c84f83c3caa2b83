#include "scan/finding.hpp"

#include <algorithm>

namespace kmr::scan {
namespace {

using enum field_name;

constexpr field_name expected_actual[] = {expected, actual};
constexpr field_name lost_field[] = {lost};
constexpr field_name previous_field[] = {previous};
constexpr field_name leap_field[] = {leap_ms};
constexpr field_name frames_field[] = {frames};
constexpr field_name entry_fields[] = {record, field, actual};
constexpr field_name missing_field[] = {missing};
constexpr field_name record_field[] = {record};

// In the words {name:one is|more are} stands for a number and what is said of one or of more, {-name} for a number with
// its sign turned.
constexpr finding_kind kinds[] = {
    {"header-short",
     severity::error,
     remedy::none,
     "the file ends inside of its header, after {length:byte|bytes}",
     {}},
    {"header-implausible",
     severity::error,
     remedy::header,
     "the file header has no known picture size, or more than 60 frames a second",
     {}},
    {"frame-count-wrong", severity::error, remedy::header,
     "the file header counts {actual:frame|frames} instead of {expected}", expected_actual},
    {"total-size-wrong", severity::error, remedy::header,
     "the file header gives {actual:byte|bytes} as recorded instead of {expected}", expected_actual},
    {"bytes-torn", severity::error, remedy::frames, "{length:byte is|bytes are} no frame", {}},
    {"frame-lengths-wrong",
     severity::error,
     remedy::frames,
     "the lengths in the frame's header contradict each other; {length:byte|bytes} to the next good header",
     {}},
    {"frame-torn-at-end",
     severity::error,
     remedy::frames,
     "the file ends inside of a frame, after {length:byte|bytes} of it",
     {}},
    {"frames-lost", severity::warning, remedy::none,
     "{lost:frame number is|frame numbers are} missing before this frame", lost_field},
    {"frames-repeated", severity::warning, remedy::none, "the frame numbers run back, from {previous}",
     previous_field},
    {"clock-leap", severity::warning, remedy::none,
     "the clock leaps by {leap_ms} ms; no frame number is missing", leap_field},
    {"clock-back", severity::warning, remedy::none, "the clock runs back by {-leap_ms} ms", leap_field},
    {"paused", severity::info, remedy::none, "the recording pauses for {leap_ms} ms", leap_field},
    {"video-start-missing",
     severity::warning,
     remedy::none,
     "the video data does not begin with a start code",
     {}},
    {"kind-wrong",
     severity::warning,
     remedy::none,
     "the header's kind, I or P, is not the kind of the picture behind it",
     {}},
    {"i-frame-incomplete",
     severity::warning,
     remedy::none,
     "the I-frame has no parameter sets, which earlier I-frames have",
     {}},
    {"user-data-broken",
     severity::warning,
     remedy::none,
     "the user data of this frame cannot be decoded",
     {}},
    {"encrypted", severity::info, remedy::none, "{frames:frame is|frames are} encrypted, this one first",
     frames_field},
    {"index-missing",
     severity::warning,
     remedy::index,
     "the recording was not finished: it has no index",
     {}},
    {"index-torn", severity::error, remedy::index, "the index is torn", {}},
    {"index-head-wrong",
     severity::error,
     remedy::index,
     "head and trailer of the index contradict each other",
     {}},
    {"index-entry-wrong", severity::error, remedy::index,
     "the {field} in index record {record} is wrong: {actual}", entry_fields},
    {"index-incomplete", severity::error, remedy::index,
     "{missing:I-frame has|I-frames have} no index record", missing_field},
    {"index-order", severity::error, remedy::index, "index record {record} is out of order", record_field},
    {"tag-count-wrong", severity::error, remedy::index,
     "the index counts {actual:tag|tags} instead of {expected}", expected_actual},
    {"bytes-behind-index",
     severity::error,
     remedy::index,
     "{length:byte stands|bytes stand} behind the end of the index",
     {}},
    {"beyond-4-gib",
     severity::info,
     remedy::none,
     "{length:byte stands|bytes stand} beyond 4 GiB, where the index cannot name offsets",
     {}},
};
static_assert(std::size(kinds) == finding_code_count);

constexpr std::string_view field_names[] = {"expected", "actual", "lost",  "previous", "leap_ms",
                                            "frames",   "record", "field", "missing"};
static_assert(std::size(field_names) == field_name_count);

constexpr std::string_view index_field_names[] = {"offset", "kind", "time", "size"};

int64_t number_of(const finding& of, std::string_view name) {
    if (name == "length")
        return static_cast<int64_t>(of.length);
    const auto* const found = std::find(std::begin(field_names), std::end(field_names), name);
    return of.value(static_cast<field_name>(found - std::begin(field_names)));
}

std::string text_of(const finding& of, std::string_view placeholder) {
    if (placeholder == field_names[static_cast<size_t>(field)])
        return std::string(name_of(static_cast<index_field>(of.value(field))));
    if (placeholder.front() == '-')
        return std::to_string(-number_of(of, placeholder.substr(1)));
    const size_t name_end = std::min(placeholder.find(':'), placeholder.size());
    const int64_t number = number_of(of, placeholder.substr(0, name_end));
    std::string text = std::to_string(number);
    if (name_end < placeholder.size()) {
        const size_t bar = placeholder.find('|');
        const std::string_view one = placeholder.substr(name_end + 1, bar - name_end - 1);
        text.append(" ").append(number == 1 ? one : placeholder.substr(bar + 1));
    }
    return text;
}

// A number that stands still is told by the same code as numbers that run back.
std::string_view words_for(const finding& of) {
    if (of.code == finding_code::frames_repeated && of.frame == of.value(previous))
        return "the frame before has the number {previous} too";
    return kind_of(of.code).words;
}

} // namespace

std::string_view name_of(severity level) {
    constexpr std::string_view names[] = {"error", "warning", "info"};
    return names[static_cast<size_t>(level)];
}

std::string_view name_of(field_name name) {
    return field_names[static_cast<size_t>(name)];
}

std::string_view name_of(index_field name) {
    return index_field_names[static_cast<size_t>(name)];
}

std::span<const finding_kind, finding_code_count> finding_kinds() {
    return kinds;
}

const finding_kind& kind_of(finding_code code) {
    return kinds[static_cast<size_t>(code)];
}

std::string message_of(const finding& of) {
    std::string message;
    std::string_view words = words_for(of);
    for (size_t open = words.find('{'); open != std::string_view::npos; open = words.find('{')) {
        const size_t close = words.find('}', open);
        message += words.substr(0, open);
        message += text_of(of, words.substr(open + 1, close - open - 1));
        words.remove_prefix(close + 1);
    }
    return message += words;
}

} // namespace kmr::scan
