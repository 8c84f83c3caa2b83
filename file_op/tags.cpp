#include "file_op/tags.h"

#include "base/copy_text.hpp"

#include <cstring>

int32_t _rec_TagQuery(const void* record, int32_t record_size, int32_t, void* context) {
    if (record_size < static_cast<int32_t>(KMR_INDEX_RECORD_SIZE))
        return REC_INDEX_STOP;
    auto& query = *static_cast<rec_tag_context*>(context);
    kmr_index_record candidate;
    std::memcpy(&candidate, record, sizeof candidate);
    // A tag from a file may lack its terminator.
    char tag[sizeof candidate.TagName + 1] = {};
    std::memcpy(tag, candidate.TagName, sizeof candidate.TagName);

    const bool has_text = query.pText != nullptr && *query.pText != '\0';
    const bool matches = has_text ? std::strstr(tag, query.pText) != nullptr : tag[0] != '\0';
    if (!matches || query.iFound >= query.iMaximum)
        return query.iFound;
    rec_tag_entry& entry = query.pResults[query.iFound];
    entry.uiTime = candidate.TimeNow;
    kmr::copy_text(entry.cTagName, tag);
    return ++query.iFound;
}

int32_t rec_TagQuery(const char* name, const char* text, rec_tag_entry* results, int32_t maximum) {
    if (name == nullptr || text == nullptr || results == nullptr || maximum <= 0)
        return 0;
    rec_tag_context query = {maximum, 0, *text != '\0' ? text : nullptr, results};
    rec_IndexQuery(name, REC_INDEX_BY_TAG, _rec_TagQuery, &query, nullptr);
    return query.iFound;
}
