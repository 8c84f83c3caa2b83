// Repair: what it leaves is sound for everybody who looks at it, and repairing it once more changes nothing.
#include "analyse/analyse.h"
#include "analyse/format/file_header.h"
#include "analyse/format/index_block.h"
#include "analyse/options.h"
#include "file_op/index_query.h"
#include "file_op/rebuild.h"
#include "fuzz/memory_disk.hpp"
#include "fuzz/printed.hpp"
#include "fuzz/seed_recordings.hpp"
#include "scan/judge.hpp"

#include <algorithm>

namespace fuzz {
namespace {

using recording::get_u32;

constexpr int32_t start_time = 5000;

struct repaired {
    int32_t result;
    bytes content;
};

repaired repair(const bytes& file) {
    const memory_disk disk(file, work_bound::repair(file));
    const int32_t result = rec_RecoverRecordSize(memory_disk::path, start_time);
    return {result, disk.content()};
}

// Whether a frame claims to be shorter than its own header. The walk of a repair steps into such a one, and the file
// comes to rest only when it has been repaired again.
bool has_frame_shorter_than_its_header(const bytes& file) {
    for (size_t at = KMR_FILE_HEADER_SIZE; at + 8 <= file.size(); ++at) {
        const uint32_t length = get_u32(file, at + 4);
        if (length > 0 && length < KMR_FRAME_HEADER_SIZE && get_u32(file, at) == KMR_SYNC_WORD)
            return true;
    }
    return false;
}

struct index_place {
    kmr_frame_header head;
    uint32_t block;
    uint32_t record_size;
    uint32_t records;
    uint32_t first;
};

index_place find_index(const bytes& file) {
    const memory_disk disk(file, work_bound::tag_service(file));
    index_place place = {};
    expect(rec_GetIFrameIndexInfo(memory_disk::path, &place.head, &place.block, &place.record_size,
                                  &place.records, &place.first) == 0,
           "a repaired recording has an index");
    return place;
}

void expect_kept(const bytes& before, const bytes& after, const index_place& index) {
    expect(index.block <= before.size(), "the frames end within the recording");
    expect(after.size() == index.block + 52 + uint64_t{index.records} * index.record_size,
           "the file ends with its index");
    // Only the picture size may be written anew, and that where it reads as a negative number.
    const size_t same_from = (before[3] & 0x80) != 0 ? 6 : 0;
    expect(std::equal(before.begin(), before.begin() + (same_from != 0 ? 2 : 0), after.begin()),
           "the frame rate has not changed");
    expect(std::equal(before.begin() + static_cast<std::ptrdiff_t>(same_from), before.begin() + index.block,
                      after.begin() + static_cast<std::ptrdiff_t>(same_from)),
           "no byte in front of the index has changed");
}

// Every I-frame that the index names is there and whole.
void expect_records(const bytes& file, const index_place& index) {
    uint32_t behind = KMR_FILE_HEADER_SIZE;
    for (uint32_t i = 0; i < index.records; ++i) {
        const uint32_t at = get_u32(file, index.first + i * index.record_size + 4);
        expect(at >= behind && at + KMR_FRAME_HEADER_SIZE <= index.block,
               "records name places one behind the other");
        expect(get_u32(file, at) == KMR_SYNC_WORD && file[at + 8] == 0, "each names an I-frame");
        expect(uint64_t{at} + get_u32(file, at + 4) <= index.block, "which is whole");
        behind = at + 1;
    }
}

// The viewer's verdict on a recording whose frames it reaches the end of.
void expect_well_done(const bytes& file) {
    const memory_disk disk(file, work_bound::report(file));
    printed out;
    analyse_kmr(memory_disk::path, KMR_OPTION_I_FRAMES);
    const std::string_view report = out.text();
    expect(report.find("IT IS a POOR FILE") == std::string_view::npos,
           "a repaired recording is no poor file");
}

// Whether something in front of the index looks like another one: a frame for the repair, an index for everybody else.
bool has_another_index(const bytes& file, const index_place& index) {
    for (size_t at = KMR_FILE_HEADER_SIZE; at + KMR_FRAME_HEADER_SIZE <= index.block; ++at)
        if (get_u32(file, at) == KMR_SYNC_WORD && get_u32(file, at + 16) == 0)
            return true;
    return false;
}

// The judge finds the end of the file sound, whatever it says about the frames.
void expect_sound_end(const bytes& file) {
    kmr::scan::memory_source source(file);
    const kmr::scan::report judged = kmr::scan::judge(source);
    using code = kmr::scan::finding_code;
    for (const code each :
         {code::index_torn, code::index_missing, code::bytes_behind_index, code::frame_torn_at_end})
        expect(judged.found[static_cast<size_t>(each)] == 0, "the judge finds the end of the file sound");
    const bool is_recording = judged.judged != kmr::scan::verdict::not_a_recording;
    expect(judged.index.present == is_recording, "and its index whole");
}

} // namespace

void run(input data) {
    const bytes file(data.begin(), data.end());
    if (is_too_much(work_bound::repair(file)))
        return;
    const repaired first = repair(file);
    expect(first.result == 0 || first.result == -1, "a repair succeeds or says that it does not");
    if (first.result != 0) {
        expect(first.content == file, "a repair that fails leaves the recording as it was");
        return;
    }
    const repaired second = repair(first.content);
    expect(second.result == 0, "a repaired recording can be repaired again");
    if (has_frame_shorter_than_its_header(file))
        return;
    expect(second.content == first.content, "which changes nothing");
    const index_place index = find_index(first.content);
    expect_kept(file, first.content, index);
    expect_records(first.content, index);
    if (!is_too_much(work_bound::report(first.content)))
        expect_well_done(first.content);
    if (!has_another_index(first.content, index))
        expect_sound_end(first.content);
}

std::vector<seed> seeds() {
    return seed_recordings();
}

} // namespace fuzz
