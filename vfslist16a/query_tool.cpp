// The query of the command line.
#include "vfslist16a/record_query.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

namespace {

// As atol on the recorder, where a long has 32 bits: what does not fit is the nearest number that does.
int32_t to_time(const char* text) {
    return static_cast<int32_t>(std::clamp<long long>(std::strtoll(text, nullptr, 10), INT32_MIN, INT32_MAX));
}

} // namespace

void zn_cmd_Store_QueryForTool(const char* a, const char* b) {
    rec_query_block query = {};
    query.channel_filter = REC_QUERY_ANY;
    query.kind_filter = REC_QUERY_ANY;
    query.start_time = to_time(a);
    query.end_time = to_time(b);
    query.file_type_filter = REC_QUERY_VIDEOS;
    REC_QueryFiles(&query);
    if (query.returned < 0) // uncovered: no query says so yet
        return;             // uncovered: no query says so yet
    const auto count = static_cast<size_t>(std::min<int32_t>(query.total, REC_QUERY_MAX_RESULTS));
    constexpr int longest_path = sizeof query.results->file_path;
    for (const rec_query_record& record : std::span(query.results).first(count))
        std::printf("/dev/mmcblk0p2/%.*s\n", longest_path, record.file_path);
}
