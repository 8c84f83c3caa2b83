#include "file_op/index_query.h"

#include "base/heap_bytes.hpp"
#include "file_op/index_lookup.hpp"
#include "file_op/index_trailer.hpp"
#include "file_op/open_guards.hpp"
#include "file_op/resolve_path.hpp"

#include <algorithm>
#include <cstdio>

namespace {

enum { index_found = 0, no_index = -1 };

constexpr uint32_t records_per_batch = 128;

using kmr::index_lookup;
using kmr::index_place;

uint32_t position_of(vfs_file* file) {
    return static_cast<uint32_t>(vfs_ftell(file));
}

// Reads the head of the index into `header` and the rest of what it says into `place`.
bool read_index_place(vfs_file* file, kmr_frame_header& header, index_place& place) {
    uint32_t length = 0;
    if (!kmr::find_index_trailer(file) || !kmr::seek_to_index_block(file, length))
        return false;
    place.block = position_of(file);
    if (!kmr::read_record(file, header) || !kmr::opens_index_block(header, length))
        return false;
    if (!kmr::read_record(file, place.record_count) || !kmr::read_record(file, place.record_size))
        return false;
    vfs_fseek(file, sizeof(kmr_index_head::MemoryNum), SEEK_CUR);
    place.first_record = position_of(file);
    // A seek or a position that failed unseen would shift every record.
    return place.first_record == place.block + KMR_INDEX_HEAD_SIZE;
}

void store(uint32_t* out, uint32_t value) {
    if (out != nullptr)
        *out = value;
}

class record_walk {
public:
    record_walk(int32_t mode, rec_index_callback callback, void* context)
        : mode_(mode), callback_(callback), context_(context) {}

    // The file stands at the first record.
    int32_t run(vfs_file* file, const index_place& place, uint32_t block_length);

private:
    enum class outcome { goes_on, ended, succeeded };
    outcome hand_over(const uint8_t* records, uint32_t count, uint32_t record_size);

    int32_t mode_;
    rec_index_callback callback_;
    void* context_;
    uint32_t end_position_ = 0; // of the record that was handed over last
};

record_walk::outcome record_walk::hand_over(const uint8_t* records, uint32_t count, uint32_t record_size) {
    for (uint32_t i = 0; i < count; ++i, records += record_size) {
        end_position_ += record_size;
        const int32_t answer = callback_(records, static_cast<int32_t>(record_size),
                                         static_cast<int32_t>(end_position_), context_);
        if (answer == REC_INDEX_STOP)
            return outcome::ended;
        if (answer == REC_INDEX_SUCCESS && mode_ == REC_INDEX_BY_TIME)
            return outcome::succeeded;
    }
    return outcome::goes_on;
}

int32_t record_walk::run(vfs_file* file, const index_place& place, uint32_t block_length) {
    const uint32_t largest_batch = std::min(place.record_count, records_per_batch);
    const uint64_t size = uint64_t{largest_batch} * place.record_size;
    // Known before anything is allocated: a batch that the block cannot hold would be a short one.
    if (size > block_length)
        return REC_INDEX_ENDED;
    const kmr::heap_bytes batch = kmr::allocate_bytes(static_cast<size_t>(size));
    if (batch == nullptr)
        return REC_INDEX_ENDED;

    end_position_ = place.first_record;
    outcome result = outcome::goes_on;
    for (uint32_t left = place.record_count; left > 0 && result == outcome::goes_on;) {
        const uint32_t count = std::min(left, records_per_batch);
        const bool is_whole =
            vfs_fread(batch.get(), place.record_size, count, file) == static_cast<int32_t>(count);
        result = is_whole ? hand_over(batch.get(), count, place.record_size) : outcome::ended;
        left -= count;
    }
    return result == outcome::succeeded ? REC_INDEX_SUCCEEDED : REC_INDEX_ENDED;
}

} // namespace

namespace kmr {

index_lookup look_up_index(const char* name, kmr_frame_header& header, index_place& place) {
    recording_path path;
    if (!resolve_path(name, path))
        return index_lookup::no_file;
    const open_stream file(vfs_fopen(0, path.text, "r"));
    if (file == nullptr)
        return index_lookup::no_file;
    return read_index_place(file.get(), header, place) ? index_lookup::found : index_lookup::no_index;
}

} // namespace kmr

int32_t rec_GetIFrameIndexInfo(const char* name, kmr_frame_header* header, uint32_t* block_offset,
                               uint32_t* record_size, uint32_t* record_count, uint32_t* first_record) {
    index_place place;
    if (header == nullptr || kmr::look_up_index(name, *header, place) != index_lookup::found)
        return no_index;
    store(block_offset, place.block);
    store(record_size, place.record_size);
    store(record_count, place.record_count);
    store(first_record, place.first_record);
    return index_found;
}

int32_t rec_IndexQuery(const char* name, int32_t mode, rec_index_callback callback, void* context,
                       rec_index_header* header) {
    kmr::recording_path path;
    if (callback == nullptr || !kmr::resolve_path(name, path))
        return REC_INDEX_ENDED;
    rec_index_header found = {};
    index_place place;
    if (rec_GetIFrameIndexInfo(name, &found.Frame, &place.block, &place.record_size, &place.record_count,
                               &place.first_record) != index_found)
        return REC_INDEX_MISSING;
    found.BlockOffset = place.block;
    if (header != nullptr)
        *header = found;

    const uint32_t tag_count = found.Frame.FrameNo;
    if (mode == REC_INDEX_BY_TAG && tag_count == 0)
        return REC_INDEX_ENDED;
    const kmr::open_stream file(vfs_fopen(0, path.text, "r"));
    if (file == nullptr || !kmr::seek_to(file->iFd, place.first_record))
        return REC_INDEX_ENDED;
    return record_walk(mode, callback, context).run(file.get(), place, found.Frame.FrameSize);
}
