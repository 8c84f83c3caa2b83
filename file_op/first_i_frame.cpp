#include "analyse/format/file_header.h"
#include "file_op/common/rec_status.h"
#include "file_op/frame_search.h"
#include "file_op/index_lookup.hpp"
#include "file_op/index_query.h"
#include "file_op/open_guards.hpp"
#include "file_op/resolve_path.hpp"

#include <cstdio>
#include <fcntl.h>

namespace {

using kmr::index_lookup;

// What goes wrong here is not told: the index was found a moment ago, and then the answer is "found".
void offset_by_index(const char* name, uint32_t first_record, uint32_t& offset) {
    kmr::recording_path path;
    if (!kmr::resolve_path(name, path))
        return;
    const kmr::open_stream file(vfs_fopen(0, path.text, "r"));
    kmr_index_record record;
    if (file != nullptr && kmr::seek_to(file->iFd, first_record) && kmr::read_record(file.get(), record))
        offset = record.IPos;
}

// The open that follows makes a file that is not there: one that nobody has seen yet is asked for.
bool find_file(const char* name, index_lookup look, kmr::recording_path& path) {
    vfs_stat_record record = {};
    return look == index_lookup::no_file ? kmr::resolve_path(name, path, record)
                                         : kmr::resolve_path(name, path);
}

int32_t offset_by_walk(const kmr::recording_path& path, uint32_t& offset) {
    const kmr::open_descriptor file(vfs_Open(0, path.text, O_RDWR | O_CREAT));
    kmr_file_header file_header;
    if (!file.is_open() || !kmr::read_record(file.get(), file_header))
        return REC_CANNOT_OPEN;
    kmr_frame_header header;
    uint32_t found = 0;
    uint32_t count = 0;
    uint32_t time = 0;
    const int32_t status = rec_SearchIFrame(&header, file.get(), &found, &count, &time);
    if (status != REC_OK)
        return status;
    offset = found;
    return 0;
}

} // namespace

int32_t rec_GetFristIframelocByFile(const char* name, uint32_t* offset) {
    if (offset == nullptr)
        return -1;
    kmr_frame_header header;
    kmr::index_place place;
    const index_lookup look = kmr::look_up_index(name, header, place);
    if (look == index_lookup::found) {
        offset_by_index(name, place.first_record, *offset);
        return 0;
    }
    kmr::recording_path path;
    return find_file(name, look, path) ? offset_by_walk(path, *offset) : -1;
}
