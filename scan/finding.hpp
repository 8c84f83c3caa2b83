// What a scan can find fault with. One table names it all: code, severity, words, further fields.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kmr::scan {

enum class severity : uint8_t { error, warning, info };

// In the order in which findings at one offset are listed.
enum class finding_code : uint8_t {
    header_short,
    header_implausible,
    frame_count_wrong,
    total_size_wrong,
    bytes_torn,
    frame_lengths_wrong,
    frame_torn_at_end,
    frames_lost,
    frames_repeated,
    clock_leap,
    clock_back,
    paused,
    video_start_missing,
    kind_wrong,
    i_frame_incomplete,
    user_data_broken,
    encrypted,
    index_missing,
    index_torn,
    index_head_wrong,
    index_entry_wrong,
    index_incomplete,
    index_order,
    tag_count_wrong,
    bytes_behind_index,
    beyond_4_gib,
};
inline constexpr size_t finding_code_count = 26;

// The further fields of a finding. Values are whole numbers but for `field`, which is one of index_field's names.
enum class field_name : uint8_t {
    expected,
    actual,
    lost,
    previous,
    leap_ms,
    frames,
    record,
    field,
    missing,
};
inline constexpr size_t field_name_count = 9;

enum class index_field : uint8_t { offset, kind, time, size };

std::string_view name_of(severity level);    // "error", "warning", "info"
std::string_view name_of(field_name field);  // as written in JSON
std::string_view name_of(index_field field); // "offset", "kind", "time", "size"

// What it takes to mend a finding. Info and most warnings are no damage to the file and stay.
enum class remedy : uint8_t {
    none,
    frames, // regions covered or cut, lengths set
    header, // fields of the file header set
    index,  // the index written anew
};

struct finding_kind {
    std::string_view code; // stable, as in "bytes-torn"
    severity level = severity::error;
    remedy mended_by = remedy::none;
    std::string_view words; // plain English; {name} stands for a further field, {length} for the length
    std::span<const field_name> fields; // in the order of the output
};

// One row for each code, in the order of finding_code.
std::span<const finding_kind, finding_code_count> finding_kinds();
const finding_kind& kind_of(finding_code code);

struct finding {
    finding_code code = finding_code::bytes_torn;
    uint64_t offset = 0;
    uint64_t length = 0;
    std::optional<uint32_t> frame = {};                // FrameNo
    std::optional<int64_t> time_ms = {};               // stream time of that frame
    std::array<int64_t, field_name_count> values = {}; // of the code's fields; index_field as its number

    int64_t value(field_name field) const { return values[static_cast<size_t>(field)]; }
    finding& set(field_name field, int64_t value) {
        values[static_cast<size_t>(field)] = value;
        return *this;
    }
};

// The words of the table with the numbers of this finding. ASCII, one line, nothing from the recording but numbers.
std::string message_of(const finding& of);

} // namespace kmr::scan
