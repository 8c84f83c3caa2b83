// The query of the command line.
#include "vfslist16a/index_query.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

void zn_cmd_Store_QueryForTool(const char* a, const char* b) {
    rec_query_block query = {};
    query.channel_filter = REC_QUERY_ANY;
    query.kind_filter = REC_QUERY_ANY;
    query.start_time = static_cast<int32_t>(std::atol(a));
    query.end_time = static_cast<int32_t>(std::atol(b));
    query.file_type_filter = REC_QUERY_VIDEOS;
    REC_QueryFiles(&query);
    if (query.returned < 0)
        return;
    const auto count = static_cast<size_t>(std::min<int32_t>(query.total, REC_QUERY_MAX_RESULTS));
    constexpr int longest_path = sizeof query.results->file_path;
    for (const rec_query_record& record : std::span(query.results).first(count))
        std::printf("/dev/mmcblk0p2/%.*s\n", longest_path, record.file_path);
}
