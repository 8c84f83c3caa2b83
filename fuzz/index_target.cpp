// The index of a recording: walks, times, the first and the last frame, and tags that are written and read back.
//
//   u8   kind of change; its upper bits choose a record whose time is the key, 31: the key as it stands
//   i32  key
//   text, NUL
//   the recording
#include "analyse/format/file_header.h"
#include "analyse/format/index_block.h"
#include "file_op/common/rec_status.h"
#include "file_op/file_times.h"
#include "file_op/frame_search.h"
#include "file_op/index_query.h"
#include "file_op/open_table.h"
#include "file_op/tags.h"
#include "fuzz/byte_feed.hpp"
#include "fuzz/memory_disk.hpp"
#include "fuzz/seed_recordings.hpp"

#include <algorithm>
#include <cstring>

namespace fuzz {
namespace {

using recording::get_u32;

struct index_place {
    bool there = false;
    kmr_frame_header head = {};
    uint32_t block = 0;
    uint32_t record_size = 0;
    uint32_t records = 0;
    uint32_t first = 0;
};

index_place find_index(const bytes& file) {
    const memory_disk disk(file, work_bound::tag_service(file));
    index_place place;
    place.there = rec_GetIFrameIndexInfo(memory_disk::path, &place.head, &place.block, &place.record_size,
                                         &place.records, &place.first) == 0;
    expect(disk.content() == file, "looking for the index leaves the recording as it was");
    return place;
}

void expect_place(const bytes& file, const index_place& place) {
    if (!place.there)
        return;
    expect(get_u32(file, file.size() - 8) == KMR_INDEX_MAGIC &&
               place.block + get_u32(file, file.size() - 4) == file.size(),
           "the index stands where the trailer says");
    expect(place.block + KMR_FRAME_HEADER_SIZE <= file.size() &&
               get_u32(file, place.block) == KMR_SYNC_WORD &&
               get_u32(file, place.block + 12) == place.head.FrameNo,
           "and its head is that of the file");
}

// --- walks ---

struct walk {
    const bytes& file;
    const index_place& place;
    uint32_t records = 0;
};

int32_t look_at(const void* record, int32_t size, int32_t end, void* context) {
    auto& seen = *static_cast<walk*>(context);
    const uint64_t behind = seen.place.first + (uint64_t{seen.records} + 1) * seen.place.record_size;
    expect(static_cast<uint32_t>(size) == seen.place.record_size && static_cast<uint32_t>(end) == behind,
           "positions advance by one record");
    expect(behind <= seen.file.size(), "a record lies within the file");
    const auto* const content = static_cast<const uint8_t*>(record);
    expect(
        std::equal(content, content + size, seen.file.begin() + static_cast<std::ptrdiff_t>(behind) - size),
        "and is the one of the file");
    ++seen.records;
    return 0;
}

uint32_t walk_records(const bytes& file, const index_place& place) {
    const memory_disk disk(file, work_bound::tag_service(file));
    walk seen{file, place};
    const int32_t result = rec_IndexQuery(memory_disk::path, REC_INDEX_REMOVE, look_at, &seen, nullptr);
    expect(result == (place.there ? REC_INDEX_ENDED : REC_INDEX_MISSING), "a walk ends where the records do");
    expect(seen.records <= place.records, "no record is made up");
    return seen.records;
}

// --- tags ---

struct tag_list {
    std::vector<rec_tag_entry> tags;
    bool holds(uint32_t time, const std::string& text) const {
        return std::any_of(tags.begin(), tags.end(), [&](const rec_tag_entry& each) {
            return each.uiTime == time && text == each.cTagName;
        });
    }
};

tag_list query_tags(const bytes& file, const char* text) {
    const memory_disk disk(file, work_bound::tag_service(file));
    tag_list found{std::vector<rec_tag_entry>(file.size() / KMR_INDEX_RECORD_SIZE + 1)};
    const int32_t count =
        rec_TagQuery(memory_disk::path, text, found.tags.data(), static_cast<int32_t>(found.tags.size()));
    expect(count >= 0 && static_cast<size_t>(count) <= found.tags.size(),
           "no more tags than there is room for");
    found.tags.resize(static_cast<size_t>(count));
    for (const rec_tag_entry& each : found.tags)
        expect(std::memchr(each.cTagName, 0, sizeof each.cTagName) != nullptr && each.cTagName[0] != 0 &&
                   std::strstr(each.cTagName, text) != nullptr,
               "what is found is a tag with that text");
    return found;
}

// What differs is one tag's text and the count.
void expect_one_tag_changed(const bytes& before, const bytes& after, const index_place& place) {
    expect(after.size() == before.size(), "a change of a tag leaves the size");
    size_t first = after.size();
    size_t last = 0;
    for (size_t i = 0; i < after.size(); ++i)
        if (before[i] != after[i] && !(i >= place.block + 12 && i < place.block + 16)) {
            first = std::min(first, i);
            last = i;
        }
    expect(first > last || (first >= place.first && last - first < KMR_TAG_SIZE),
           "nothing but one tag and the count has changed");
}

struct change {
    int32_t operation;
    int32_t key;
    std::string text;
};

// Only in records of the usual size a tag stands where it is looked for, and a count that wraps to 0 hides all.
bool can_be_read_back(const bytes& after, const index_place& place) {
    return place.record_size == KMR_INDEX_RECORD_SIZE && get_u32(after, place.block + 12) != 0;
}

void change_tag(const bytes& file, const index_place& place, const change& wanted) {
    bytes after;
    int32_t key = wanted.key;
    {
        const memory_disk disk(file, work_bound::tag_service(file));
        const int32_t result = rec_TagModify(wanted.operation, memory_disk::path, &key, wanted.text.c_str());
        expect(result == REC_TAG_DONE || result == REC_TAG_REFUSED || result == REC_TAG_LIMIT_REACHED ||
                   result == REC_TAG_NO_INDEX,
               "the result of a change is a documented one");
        after = disk.content();
        if (result != REC_TAG_DONE) {
            expect(after == file && key == wanted.key, "a change that was refused has not happened");
            return;
        }
    }
    expect_one_tag_changed(file, after, place);
    if (!can_be_read_back(after, place))
        return;
    const std::string kept = wanted.text.substr(0, KMR_TAG_SIZE - 1);
    if (wanted.operation == REC_TAG_ADD && !kept.empty())
        expect(query_tags(after, "").holds(static_cast<uint32_t>(key), kept), "an added tag is read back");
    if (wanted.operation == REC_TAG_CHANGE && !kept.empty())
        expect(query_tags(after, "").holds(static_cast<uint32_t>(wanted.key), kept),
               "a changed tag is read back");
    if (wanted.operation == REC_TAG_REMOVE)
        expect(query_tags(after, "").tags.size() <= query_tags(file, "").tags.size(),
               "a removal adds no tag");
}

// --- lookups ---

void expect_i_frame(const bytes& file, uint32_t at) {
    expect(at + KMR_FRAME_HEADER_SIZE <= file.size() && get_u32(file, at) == KMR_SYNC_WORD &&
               file[at + 8] == 0,
           "the frame that is found is an I-frame");
}

void find_first_frame(const bytes& file, const index_place& place) {
    const memory_disk disk(file, work_bound::lookup(file));
    uint32_t offset = 0;
    const int32_t result = rec_GetFristIframelocByFile(memory_disk::path, &offset);
    expect(result == 0 || result == -1 || result == REC_CANNOT_OPEN || result == REC_FAILED,
           "the result of the search for the first frame is a documented one");
    if (result == 0 && !place.there)
        expect_i_frame(file, offset);
    uint32_t time = 0;
    const int32_t start = rec_GetFileStartTime(memory_disk::path, &time);
    expect(start == REC_OK || (start == REC_FAILED && time == 0), "so is that of the start time");
    expect(disk.content() == file, "looking leaves the recording as it was");
}

void search_frames(const bytes& file) {
    const memory_disk disk(file, work_bound::lookup(file));
    vfs_file* stream = nullptr;
    expect(rec_OpenFile(&stream, memory_disk::path, nullptr) == REC_OK, "the recording opens");
    kmr_frame_header header = {};
    int64_t within = 0;
    const int32_t number = rec_SeekLastFrame(stream, &within, &header);
    expect(number == -1 || header.SyncWord == KMR_SYNC_WORD, "the last frame is one");
    uint32_t behind = KMR_FILE_HEADER_SIZE;
    uint32_t found = 0;
    const auto end = static_cast<int32_t>(file.size());
    for (int hops = 0; hops < 4; ++hops) {
        if (rec_FindNextValidIFramefromLoc(stream, end, static_cast<int32_t>(behind), &found) != 0)
            break;
        expect(found > behind, "positions advance");
        expect_i_frame(file, found);
        behind = found;
    }
    expect(rec_CloseFile(&stream) == REC_OK, "and closes");
}

// With room for the searches, each of which reads a block.
bool is_too_much_here(const bytes& file) {
    return is_too_much(work_bound::lookup(file)) || is_too_much(work_bound::tag_service(file));
}

} // namespace

void run(input data) {
    byte_feed feed(data);
    const uint8_t how = feed.u8();
    change wanted{how % 3, static_cast<int32_t>(feed.u32()), feed.text(KMR_TAG_SIZE + 8)};
    const bytes file(feed.rest().begin(), feed.rest().end());
    if (is_too_much_here(file))
        return;
    const index_place place = find_index(file);
    expect_place(file, place);
    const uint32_t walked = walk_records(file, place);
    if (const uint32_t chosen = how >> 3; chosen != 31 && walked > 0 && place.record_size >= 4)
        wanted.key = static_cast<int32_t>(get_u32(file, place.first + chosen % walked * place.record_size));
    change_tag(file, place, wanted);
    query_tags(file, "");
    query_tags(file, wanted.text.c_str());
    find_first_frame(file, place);
    search_frames(file);
}

std::vector<seed> seeds() {
    std::vector<seed> all;
    uint8_t how = 0;
    for (const seed& each : seed_recordings()) {
        bytes content = {how, 0x45, 0xD3, 0xA5, 0x54, 'g', 'o', 'a', 'l', 0};
        how = static_cast<uint8_t>(how + 9); // every change, of this record and that
        recording::append(content, each.content);
        all.push_back({each.name, content});
    }
    return all;
}

} // namespace fuzz
