// Tags of a recording: added, changed and removed in its index, by the recorder's own rules.
#pragma once

#include "mend/changes.hpp"
#include "scan/report.hpp"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace kmr::mend {

enum class tag_status : uint8_t {
    ready,
    unreadable,    // errno
    no_index,      // or one that contradicts itself: repair first
    no_record,     // of that number, or none at all
    no_tag,        // on that record
    too_many,      // 64 are there already
    empty_text,    // which is what no tag looks like
    text_too_long, // above 63 bytes; it is never cut
    text_no_utf8,
    text_with_control_characters,
};

// 63 bytes of text at most, whole characters, none of them a control character.
tag_status check_tag_text(std::string_view text);

struct wall_clock {
    int64_t seconds = 0; // since 1970 UTC
};
struct record_number {
    uint32_t record = 0;
};
struct stream_time {
    int64_t ms = 0; // since the first frame
};
using tag_place = std::variant<wall_clock, record_number, stream_time>;

struct tag_plan {
    tag_status status = tag_status::ready;
    int error = 0;
    changes planned = changes();
    uint32_t record = 0;     // the tag stands on it
    uint32_t time = 0;       // of that record
    std::string before = {}; // text that stood there; empty: none
    uint32_t tags_after = 0;
};

// A time means the last record at or before it, or the first one where there is none. A tag that is there is replaced.
tag_plan plan_tag(scan::byte_source& source, const tag_place& where, std::string_view text);
// Of a record that has a tag.
tag_plan plan_tag_change(scan::byte_source& source, record_number where, std::string_view text);
tag_plan plan_tag_removal(scan::byte_source& source, record_number where);

struct tag_list {
    tag_status status = tag_status::ready;
    int error = 0;
    uint64_t records = 0; // of the index
};

// Calls `take` with every tag, in the order of the records: more than 64 of them in an index that nobody ought to write.
tag_list list_tags(scan::byte_source& source, const std::function<void(const scan::tag&)>& take);

} // namespace kmr::mend
