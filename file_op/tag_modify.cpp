#include "base/heap_bytes.hpp"
#include "file_op/open_guards.hpp"
#include "file_op/resolve_path.hpp"
#include "file_op/tags.h"

#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

struct tag_change {
    rec_index_context query;
    rec_index_header index;
    bool writes_count = true; // an exchange of texts leaves the count as it is
};

int32_t choose_for_add(const char* name, tag_change& change) {
    const int32_t result =
        rec_IndexQuery(name, REC_INDEX_BY_TIME, _rec_TimeCompare, &change.query, &change.index);
    if (result == REC_INDEX_MISSING)
        return REC_TAG_NO_INDEX;
    if (result == REC_INDEX_SUCCEEDED) // the record that was chosen has a tag already
        return REC_TAG_DONE;
    if (change.index.Frame.FrameNo >= KMR_MAX_TAGS)
        return REC_TAG_LIMIT_REACHED;
    ++change.index.Frame.FrameNo;
    return REC_TAG_DONE;
}

int32_t choose_for_remove(const char* name, tag_change& change) {
    const int32_t result =
        rec_IndexQuery(name, REC_INDEX_REMOVE, _rec_WholeCompare, &change.query, &change.index);
    if (result == REC_INDEX_ENDED && change.index.Frame.FrameNo > 0)
        --change.index.Frame.FrameNo;
    return REC_TAG_DONE;
}

int32_t choose_for_change(const char* name, tag_change& change) {
    rec_IndexQuery(name, REC_INDEX_CHANGE, _rec_WholeCompare, &change.query, &change.index);
    change.writes_count = false;
    return REC_TAG_DONE;
}

// By operation: which record it is about and what becomes of the count. Anything but REC_TAG_DONE ends the change.
constexpr int32_t (*choose_record[])(const char* name, tag_change& change) = {
    choose_for_add, choose_for_remove, choose_for_change};

bool write_at(int32_t fd, uint32_t position, const void* bytes, uint32_t size) {
    return kmr::seek_to(fd, position) && vfs_Write(fd, bytes, size) == static_cast<int32_t>(size);
}

// The order is what keeps the count honest if the power goes:
//
//   after the tag      an added tag stands in its record and the count is one too low, which hides it from no walk
//                      that finds another tag; a removed one is gone and the count is one too high until the same
//                      removal is done again, which finds the record by its time and counts it then
//   within the tag     its text is part new, part old, and still within its 64 bytes
//   after the count    all is done but the file's dates, which are those of the change
//
// The header that is written differs from the one in the file in nothing but the count's low byte, so a write of it
// that is cut short leaves the old header or the new one.
int32_t write_tag(int32_t fd, const tag_change& change, const void* tag) {
    const uint32_t tag_position = static_cast<uint32_t>(change.query.iPosition) - KMR_TAG_SIZE;
    if (!write_at(fd, tag_position, tag, KMR_TAG_SIZE))
        return REC_TAG_WRITE_FAILED;
    if (change.writes_count &&
        !write_at(fd, change.index.BlockOffset, &change.index.Frame, KMR_FRAME_HEADER_SIZE))
        return REC_TAG_WRITE_FAILED;
    return REC_TAG_DONE;
}

// The modules of the recorder write from whole pages without a copy of their own.
kmr::heap_bytes page_aligned_tag(const char* text) {
    void* memory = nullptr;
    if (posix_memalign(&memory, static_cast<size_t>(sysconf(_SC_PAGESIZE)), KMR_TAG_SIZE) != 0)
        return nullptr;
    kmr::heap_bytes tag(static_cast<uint8_t*>(memory));
    const size_t length = strnlen(text, KMR_TAG_SIZE);
    std::memcpy(tag.get(), text, length);
    std::memset(tag.get() + length, 0, KMR_TAG_SIZE - length);
    return tag;
}

int32_t write_into(const char* path, const tag_change& change, const void* tag) {
    const kmr::open_descriptor file(vfs_Open(0, path, O_WRONLY));
    if (!file.is_open())
        return REC_TAG_REFUSED;
    const int32_t result = write_tag(file.get(), change, tag);
    sync();
    return result;
}

int32_t modify_file(const char* name, const tag_change& change, const char* text) {
    const kmr::heap_bytes tag = page_aligned_tag(text);
    kmr::recording_path path;
    vfs_stat_record record = {};
    if (tag == nullptr || !kmr::resolve_path(name, path, record))
        return REC_TAG_REFUSED;
    // Positions of an index have 32 bits; in a longer file they may name any place.
    if (record.Size > UINT32_MAX)
        return REC_TAG_REFUSED;
    const int32_t result = write_into(path.text, change, tag.get());
    if (result == REC_TAG_REFUSED)
        return result;
    const vfs_times dates = {static_cast<long>(record.AccessTime), static_cast<long>(record.ModifyTime)};
    vfs_utimes(path.text, &dates);
    return result;
}

} // namespace

int32_t rec_TagModify(int32_t operation, const char* name, int32_t* key, const char* text) {
    if (name == nullptr || text == nullptr || key == nullptr)
        return REC_TAG_REFUSED;
    if (operation < REC_TAG_ADD || operation > REC_TAG_CHANGE)
        return REC_TAG_REFUSED;
    tag_change change = {};
    change.query = {REC_INDEX_SEARCHING, 1, REC_INDEX_NONE, REC_INDEX_NONE, *key, text, {}};
    const int32_t choice = choose_record[operation](name, change);
    if (choice != REC_TAG_DONE)
        return choice;
    if (change.query.iState != REC_INDEX_DECIDED || change.query.iPosition == REC_INDEX_NONE)
        return REC_TAG_REFUSED;
    const int32_t result = modify_file(name, change, operation == REC_TAG_REMOVE ? "" : text);
    if (result == REC_TAG_DONE)
        *key = change.query.iTime;
    return result;
}
