#include "file_op/index_query.h"

#include <cstring>

namespace {

// By copy, because the record stands wherever the record size of the file has put it.
bool load_record(const void* from, int32_t size, kmr_index_record& record) {
    if (size < static_cast<int32_t>(KMR_INDEX_RECORD_SIZE))
        return false;
    std::memcpy(&record, from, sizeof record);
    return true;
}

void choose(rec_index_context& query, const kmr_index_record& record, int32_t end_position) {
    query.iPosition = end_position;
    query.iTime = static_cast<int32_t>(record.TimeNow);
    std::memcpy(query.cTagName, record.TagName, sizeof query.cTagName);
}

// A tag that is there already is to be replaced, which the query tells its caller as a success.
int32_t decide(rec_index_context& query) {
    query.iState = REC_INDEX_DECIDED;
    return query.cTagName[0] != '\0' ? REC_INDEX_SUCCESS : REC_INDEX_STOP;
}

} // namespace

int32_t _rec_TimeCompare(const void* record, int32_t record_size, int32_t end_position, void* context) {
    auto& query = *static_cast<rec_index_context*>(context);
    kmr_index_record candidate;
    if (!load_record(record, record_size, candidate))
        return REC_INDEX_STOP;

    const auto time = static_cast<int32_t>(candidate.TimeNow);
    const bool is_first = query.iTime == REC_INDEX_NONE;
    if (is_first) {
        choose(query, candidate, end_position);
        return time < query.iKey ? query.iState : decide(query);
    }
    if (query.iState == REC_INDEX_DECIDED)
        return REC_INDEX_STOP;
    if (time >= query.iKey && query.iKey >= query.iTime)
        return decide(query);
    choose(query, candidate, end_position);
    return query.iState;
}

int32_t _rec_WholeCompare(const void* record, int32_t record_size, int32_t end_position, void* context) {
    auto& query = *static_cast<rec_index_context*>(context);
    kmr_index_record candidate;
    if (!load_record(record, record_size, candidate))
        return REC_INDEX_STOP;
    if (static_cast<int32_t>(candidate.TimeNow) != query.iKey || query.iPosition != REC_INDEX_NONE)
        return query.iState;
    query.iPosition = end_position;
    query.iState = REC_INDEX_DECIDED;
    return REC_INDEX_STOP;
}

int32_t _rec_GetStartTm(const void* record, int32_t record_size, int32_t, void* context) {
    kmr_index_record first;
    if (load_record(record, record_size, first))
        *static_cast<uint32_t*>(context) = first.TimeNow;
    return REC_INDEX_STOP;
}
