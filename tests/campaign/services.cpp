#include "tests/campaign/services.hpp"

#include "analyse/analyse.h"
#include "analyse/format/index_block.h"
#include "analyse/options.h"
#include "base/heap_bytes.hpp"
#include "file_op/common/rec_status.h"
#include "file_op/file_copy.h"
#include "file_op/file_times.h"
#include "file_op/frame_search.h"
#include "file_op/open_table.h"
#include "file_op/rebuild.h"
#include "file_op/tags.h"
#include "libvfs/vfs.h"
#include "main/analysis_job.hpp"
#include "main/front_end.h"
#include "tests/campaign/counted_memory.hpp"
#include "tests/campaign/harness.hpp"
#include "tests/campaign/memory_module.hpp"
#include "tests/campaign/work_bound.hpp"
#include "tests/support/scratch.hpp"
#include "vfslist16a/record_query.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace services {
namespace {

using campaign::expect;
using campaign::figure;

constexpr char path[] = "/mnt/r.kmr";
// Calls beyond this are not waited for when it is a count in the file that asks for them.
constexpr uint64_t patience = 300'000;

figure runs("runs of a service");
figure module_calls("calls of a module");
figure most_calls("most calls of a module in one run", figure::kind::most);
figure most_share("most calls, in percent of the bound", figure::kind::most);
figure most_memory("most memory of the product in use, bytes", figure::kind::most);

work_bound::bound allowed;

void beyond() {
    if (allowed.calls > patience)
        campaign::stop_here();
    campaign::fail("more calls of a module than the bound allows: " + std::to_string(allowed.calls));
}

// One run of a service on a recording that stands at `path`, within its bounds of work and memory.
class measured_run {
public:
    measured_run(const bytes& recording, const work_bound::bound& bound, uint64_t memory) : memory_(memory) {
        start_layer();
        memory_module::reset();
        memory_module::put(path, recording);
        counted_memory::take_peak();
        allowed = bound;
        memory_module::limit(std::min(bound.calls, patience), beyond);
    }
    ~measured_run() {
        const memory_module::counts& count = memory_module::counted();
        expect(count.bytes_read <= allowed.bytes, "no more bytes are read than the bound allows");
        const size_t peak = counted_memory::take_peak();
        expect(peak <= memory_, "no more memory is in use than the bound allows");
        expect_nothing_left();
        runs.add(1);
        module_calls.add(count.calls);
        most_calls.add(count.calls);
        most_share.add(count.calls * 100 / allowed.calls);
        most_memory.add(peak);
    }
    measured_run(const measured_run&) = delete;
    measured_run& operator=(const measured_run&) = delete;

private:
    uint64_t memory_;
};

const bytes& content() {
    return *memory_module::find(path);
}

bool is_free(pthread_mutex_t& lock) {
    if (pthread_mutex_trylock(&lock) != 0)
        return false;
    pthread_mutex_unlock(&lock);
    return true;
}

int layer_files() {
    return static_cast<int>(std::count_if(std::begin(g_stvfile), std::end(g_stvfile),
                                          [](const vfs_file& entry) { return entry.pMdlOps != nullptr; }));
}

// --- what a repaired recording must be ---

struct index_place {
    kmr_frame_header head;
    uint32_t block;
    uint32_t record_size;
    uint32_t records;
    uint32_t first;
};

index_place index_of_repaired() {
    index_place place = {};
    expect(rec_GetIFrameIndexInfo(path, &place.head, &place.block, &place.record_size, &place.records,
                                  &place.first) == 0,
           "a repaired recording has an index");
    return place;
}

void expect_repaired(const bytes& before) {
    const bytes& after = content();
    const index_place place = index_of_repaired();
    expect(place.record_size == KMR_INDEX_RECORD_SIZE, "its records have 80 bytes");
    expect(after.size() == place.block + 52 + uint64_t{place.records} * KMR_INDEX_RECORD_SIZE,
           "the file ends with its index");
    expect(place.block <= before.size(), "the frames end within the recording");
    bytes frames(before.begin(), before.begin() + place.block);
    // A width of 32768 and more makes the picture size a negative number, which is less than the least that is asked for,
    // and so the size becomes that: 0.
    if ((before[3] & 0x80) != 0)
        recording::put_u32(frames, 2, 0);
    expect(std::equal(frames.begin(), frames.end(), after.begin()),
           "no byte in front of the index has changed");
    uint32_t behind = KMR_FILE_HEADER_SIZE;
    for (uint32_t i = 0; i < place.records; ++i) {
        const uint32_t position = recording::get_u32(after, place.first + 80 * i + 4);
        expect(position >= behind && position + KMR_FRAME_HEADER_SIZE <= place.block,
               "its records name places one behind the other");
        expect(recording::get_u32(after, position) == KMR_SYNC_WORD && after[position + 8] == 0,
               "each names an I-frame");
        const uint64_t end = uint64_t{position} + recording::get_u32(after, position + 4);
        expect(end <= place.block, "which is whole");
        behind = position + 1;
    }
}

// Whether a frame claims to be shorter than its own header. Such a one is stepped into, as the walk of a repair has it:
// its record then names a header that is cut, and only a repair of the repaired file comes to rest.
bool has_frame_shorter_than_its_header(const bytes& file) {
    for (size_t at = KMR_FILE_HEADER_SIZE; at + 8 <= file.size(); ++at) {
        const uint32_t length = recording::get_u32(file, at + 4);
        if (length > 0 && length < KMR_FRAME_HEADER_SIZE && recording::get_u32(file, at) == KMR_SYNC_WORD)
            return true;
    }
    return false;
}

// --- tags ---

// Bytes that differ lie within the index block that the trailer names.
void expect_changed_in_index_alone(const bytes& before) {
    const bytes& after = content();
    expect(after.size() == before.size(), "a change of a tag leaves the size");
    const auto differs = std::mismatch(before.begin(), before.end(), after.begin()).first;
    if (differs == before.end())
        return;
    const uint32_t length = recording::get_u32(before, before.size() - 4);
    expect(static_cast<size_t>(differs - before.begin()) >= before.size() - length,
           "only bytes of the index have changed");
}

} // namespace

const std::array<service, 5> all = {{{"report", report},
                                     {"repair", repair},
                                     {"tags", change_tags},
                                     {"export", copy_out},
                                     {"lookups", look_up}}};

void start_layer() {
    [[maybe_unused]] static const int32_t once = vfs_Init();
}

void expect_nothing_left() {
    const int refused = memory_module::counted().refused_closes;
    expect(layer_files() == refused, "the layer has nothing open");
    expect(memory_module::open_files() == refused, "nothing is open in the module");
    expect(std::none_of(std::begin(tOpenFile), std::end(tOpenFile),
                        [](const rec_open_entry& entry) { return entry.uiInUse != 0; }),
           "the table of recordings is empty");
    bool free = is_free(vfs_fd_tLock) && is_free(g_tFileLock);
    for (vfs_directory& directory : g_vDir)
        free = free && is_free(directory.tLock);
    expect(free, "no lock is held");
    expect(counted_memory::blocks_in_use() == 0, "no memory is kept");
}

void close_leftovers() {
    for (int32_t fd = 1; fd <= VFS_MAX_FILES; ++fd)
        vfs_Close(fd);
}

void report(const bytes& recording) {
    const measured_run run(recording, work_bound::report(recording), work_bound::report_memory());
    kmr::run_analysis("kmr_viewer", path, KMR_OPTION_ALL | KMR_OPTION_USER_DATA | KMR_OPTION_INDEX);
    expect(content() == recording, "a report leaves the recording as it was");
}

void repair(const bytes& recording) {
    bytes repaired;
    {
        const measured_run run(recording, work_bound::repair(recording),
                               work_bound::repair_memory(recording));
        const int32_t result = rec_RecoverRecordSize(path, 5000);
        expect(result == 0 || result == -1, "a repair succeeds or says that it does not");
        if (result != 0) {
            expect(content() == recording, "a repair that fails leaves the recording as it was");
            return;
        }
        repaired = content();
    }
    // With room for the checks' own calls.
    const work_bound::bound bound = work_bound::repair(repaired);
    const measured_run again(repaired, {bound.calls + 20, bound.bytes + 200},
                             work_bound::repair_memory(repaired));
    const bool is_stable = !has_frame_shorter_than_its_header(recording);
    if (is_stable)
        expect_repaired(recording);
    expect(rec_RecoverRecordSize(path, 5000) == 0, "a repaired recording can be repaired again");
    expect(!is_stable || content() == repaired, "which changes nothing");
}

void change_tags(const bytes& recording) {
    constexpr int32_t most = 8;
    constexpr int32_t middle = 1420167850;
    rec_tag_entry found[most];
    for (int32_t operation = REC_TAG_ADD; operation <= REC_TAG_CHANGE; ++operation) {
        const measured_run run(recording, work_bound::tag_service(recording),
                               work_bound::tag_memory(recording));
        int32_t key = middle;
        const int32_t result = rec_TagModify(operation, path, &key, "a new tag");
        expect((result >= -1 && result <= 1) || result == 3, "the result of a change is a documented one");
        if (result != 0)
            expect(content() == recording, "a change that was refused has not happened");
        else
            expect_changed_in_index_alone(recording);
    }
    for (const char* text : {"", "goal"}) {
        const measured_run run(recording, work_bound::tag_service(recording),
                               work_bound::tag_memory(recording));
        const int32_t count = rec_TagQuery(path, text, found, most);
        expect(count >= 0 && count <= most, "no more tags are found than there is room for");
        expect(content() == recording, "a query leaves the recording as it was");
    }
}

void copy_out(const bytes& recording) {
    unlink("copy.kmr");
    {
        const measured_run run(recording, work_bound::copy(recording), 0);
        inner_OutputFile(path, "copy.kmr");
        for (rec_open_entry& entry : tOpenFile)
            entry.uiInUse = 0; // which the program, at its end, leaves in use
    }
    expect(scratch::read_file("copy.kmr") == recording, "the copy is the recording byte for byte");
}

void look_up(const bytes& recording) {
    const measured_run run(recording, work_bound::lookup(recording), 1 << 20);
    uint32_t offset = 0;
    uint32_t time = 0;
    uint32_t size = 0;
    const int32_t first = rec_GetFristIframelocByFile(path, &offset);
    expect(first == 0 || first == -1 || first == REC_CANNOT_OPEN || first == REC_FAILED,
           "the result of the search for the first frame is a documented one");
    const int32_t start = rec_GetFileStartTime(path, &time);
    expect(start == REC_OK || (start == REC_FAILED && time == 0), "so is that of the start time");
    expect(rec_GetFileSize(path, &size) == 0 && size == recording.size(), "the size is that of the file");
    vfs_file* file = nullptr;
    expect(rec_OpenFile(&file, path, nullptr) == REC_OK, "the recording opens");
    expect(rec_SetBuf(file, 1000) == REC_OK, "and takes a buffer");
    kmr_frame_header header;
    int64_t within = 0;
    rec_SeekLastFrame(file, &within, &header);
    expect(rec_CloseFile(&file) == REC_OK, "and closes");
    expect(content() == recording, "looking leaves the recording as it was");
}

// --- the query ---

namespace {

uint64_t query_calls;

void expect_answer(const rec_query_block& query, uint64_t records) {
    expect(query.total >= 0 && static_cast<uint64_t>(query.total) <= records,
           "no more records are found than the file has");
    expect(query.returned == 0, "nothing is returned by page");
    for (int32_t i = 0; i < query.total; ++i) {
        const rec_query_record& record = query.results[i];
        expect(record.start_time >= query.start_time && record.start_time < query.end_time,
               "every record that is found lies in the interval");
    }
}

} // namespace

void query(const bytes& index_file) {
    std::FILE* const file = fopen64("Index.dat", "w");
    expect(file != nullptr &&
               std::fwrite(index_file.data(), 1, index_file.size(), file) == index_file.size() &&
               std::fclose(file) == 0,
           "the index file can be written");
    query_calls = 0;
    zn_cmd_Store_QueryForTool("110", "170");
    const uint64_t bound = work_bound::query_calls(index_file.size());
    expect(query_calls <= bound, "the query makes no more calls than the bound allows");
    runs.add(1);
    most_calls.add(query_calls);
    most_share.add(query_calls * 100 / bound);

    static rec_query_block block;
    block = {};
    block.channel_filter = REC_QUERY_ANY;
    block.kind_filter = REC_QUERY_ANY;
    block.start_time = 110;
    block.end_time = 170;
    expect(REC_QueryFiles(&block) == 0, "the query always answers 0");
    expect_answer(block, index_file.size() / 184);
    expect(scratch::read_file("Index.dat") == index_file, "the index file is as it was");
}

} // namespace services

// The query's own reads and seeks.
extern "C" {
size_t __real_fread(void* to, size_t size, size_t count, std::FILE* file);
int __real_fseeko64(std::FILE* file, off64_t offset, int origin);

size_t __wrap_fread(void* to, size_t size, size_t count, std::FILE* file) {
    ++services::query_calls;
    return __real_fread(to, size, count, file);
}
int __wrap_fseeko64(std::FILE* file, off64_t offset, int origin) {
    ++services::query_calls;
    return __real_fseeko64(file, offset, origin);
}
}
