// A query: the search and the copy of its matches.
#include "vfslist16a/record_query.h"

#include <cstring>

int32_t g_iUsbNum = 10;

namespace {

constexpr char index_path[] = "Index.dat";

// The matches of the last search that began with page 0; they survive until the next one.
adt_dlist* match_list = nullptr;

bool start_search(const rec_query_block& query) {
    adt_dlist_destroy(match_list);
    match_list = adt_dlist_create(sizeof(rec_query_record));
    if (match_list == nullptr)
        return false;
    if (g_iUsbNum >= 1)
        SearchIndexEx(index_path, &query, match_list);
    return true;
}

// The whole list is copied, whatever page was asked for: a page would begin behind the last match, so none is
// ever returned, and callers go by the total alone.
void copy_matches(rec_query_block& query) {
    query.total = adt_dlist_size(match_list);
    adt_dlist_node* node = adt_dlist_head(match_list);
    for (rec_query_record& result : query.results) {
        if (node == nullptr)
            break;
        std::memcpy(&result, adt_dlist_getdata(node), sizeof result);
        node = adt_dlist_next(node);
    }
    query.returned = 0;
}

} // namespace

int32_t REC_QueryFiles(rec_query_block* query) {
    if (query->page_index == 0 && !start_search(*query))
        return 0;
    copy_matches(*query);
    return 0;
}
