#include "tests/campaign/operations.hpp"

#include "analyse/analyse.h"
#include "analyse/format/file_header.h"
#include "analyse/header_report.h"
#include "analyse/options.h"
#include "file_op/common/rec_status.h"
#include "file_op/file_copy.h"
#include "file_op/file_times.h"
#include "file_op/frame_search.h"
#include "file_op/locate.h"
#include "file_op/open_table.h"
#include "file_op/rebuild.h"
#include "file_op/tags.h"
#include "libvfs/vfs.h"
#include "main/analysis_job.hpp"
#include "main/front_end.h"
#include "tests/campaign/harness.hpp"
#include "tests/campaign/memory_module.hpp"
#include "tests/campaign/recordings.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace operations {
namespace {

using campaign::expect;

// One recording, by its path and by its short name on a disk that it has been moved away from.
constexpr char path[] = "/mnt/r.kmr";
constexpr char moved_name[] = "H1000020150102030405C000001";
constexpr char moved_path[] = "/dev/scsi/host03/part1/H1000020150102030405C000001";
constexpr char unfinished[] = "/mnt/unfinished.kmr";
constexpr char other[] = "/mnt/other.kmr";
constexpr char missing[] = "/mnt/missing.kmr";
constexpr int32_t second_record = 1420167848; // its time

// --- results ---

template <int64_t... Values>
bool is_one_of(int64_t result) {
    return ((result == Values) || ...);
}
bool is_anything(int64_t) {
    return true;
}
bool is_copied(int64_t result) {
    return result >= -1 && result <= 100;
}
bool is_count(int64_t result) {
    return result >= 0 && result <= 8;
}
bool is_number_or_none(int64_t result) {
    return result >= -1;
}

// --- the viewer ---

int64_t report_of(const char* name) {
    kmr::run_analysis("kmr_viewer", name, KMR_OPTION_ALL | KMR_OPTION_USER_DATA | KMR_OPTION_INDEX);
    return 0;
}
int64_t report() {
    return report_of(path);
}
int64_t report_of_moved() {
    return report_of(moved_name);
}
int64_t report_of_missing() {
    return report_of(missing);
}
int64_t report_of_damaged() {
    return report_of(unfinished);
}
int64_t copy_out() {
    unlink("copy.kmr");
    inner_OutputFile(path, "copy.kmr");
    for (rec_open_entry& entry : tOpenFile)
        entry.uiInUse = 0; // which the program, at its end, leaves in use
    return 0;
}
int64_t walk_piece() {
    uint32_t count = 2;
    uint32_t position = 0;
    return rec_vca_GetVcaMsgEx(path, &count, 0, 0, &position);
}

// --- the library ---

int64_t repair() {
    return rec_RecoverRecordSize(path, 5000);
}
int64_t repair_of_moved() {
    return rec_RecoverRecordSize(moved_path, -1);
}
int64_t repair_with_size() {
    uint32_t walked = 0;
    return rec_MakeUpIframeIndex(path, 2560 << 16 | 1440, &walked, 5000);
}
int64_t change_tag(int32_t operation, int32_t key) {
    return rec_TagModify(operation, path, &key, "a new tag");
}
int64_t add_tag() {
    return change_tag(REC_TAG_ADD, second_record);
}
int64_t replace_tag() {
    return change_tag(REC_TAG_ADD, second_record - 1);
}
int64_t remove_tag() {
    return change_tag(REC_TAG_REMOVE, second_record - 3);
}
int64_t exchange_tag() {
    return change_tag(REC_TAG_CHANGE, second_record - 3);
}
int64_t find_tags() {
    rec_tag_entry found[8];
    return rec_TagQuery(path, "", found, 8);
}
int64_t first_frame_by_index() {
    uint32_t offset = 0;
    return rec_GetFristIframelocByFile(path, &offset);
}
int64_t first_frame_by_walk() {
    uint32_t offset = 0;
    return rec_GetFristIframelocByFile(unfinished, &offset);
}
int64_t start_time() {
    uint32_t time = 0;
    return rec_GetFileStartTime(path, &time);
}
int64_t start_time_of_moved() {
    uint32_t time = 0;
    return rec_GetFileStartTime(moved_name, &time);
}
int64_t stop_time_of_moved() {
    uint32_t time = 0;
    return rec_GetFileStopTime(moved_name, &time);
}
int64_t time_length() {
    uint32_t length = 0;
    return rec_GetFileTimeLen(path, &length);
}
int64_t copy_segment() {
    return rec_CopyFileSegment(other, 50, path, 20, 100);
}
int64_t copy_head() {
    return rec_DuplicateFileHead(other, path);
}
int64_t write_numbers() {
    vfs_file* const file = vfs_fopen(0, path, "w+");
    const intptr_t result = rec_WriteHeadFrmNum(file, 77, 1, 1);
    vfs_fclose(file);
    return file == nullptr ? -1 : result;
}
int64_t file_size() {
    uint32_t size = 0;
    return rec_GetFileSize(moved_name, &size);
}
int64_t open_and_read() {
    vfs_file* file = nullptr;
    vfs_stat_record record = {};
    const int32_t opened = rec_OpenFile(&file, moved_name, &record);
    if (opened != REC_OK)
        return opened;
    kmr_file_header header = {};
    const int32_t result = rec_ReadFileHeader(file, nullptr, &header);
    rec_SetBuf(file, 1000);
    rec_CloseFile(&file);
    return result;
}
int64_t read_header_by_name() {
    kmr_file_header header = {};
    return rec_ReadFileHeader(nullptr, path, &header);
}
int64_t last_frame() {
    vfs_file* const file = vfs_fopen(0, path, "rb");
    int64_t offset = 0;
    const int32_t result = rec_SeekLastFrame(file, &offset, nullptr);
    vfs_fclose(file);
    return result;
}
int64_t next_i_frame() {
    vfs_file* const file = vfs_fopen(0, path, "rb");
    uint32_t offset = 0;
    const int32_t result = rec_FindNextValidIFramefromLoc(file, 300, 60, &offset);
    vfs_fclose(file);
    return result;
}
int64_t locate() {
    char where[128] = "/dev/scsi/host01/part1/H1000020150102030405C000001";
    vfs_stat_record record = {};
    return rec_Stat(where, &record);
}
int64_t channel() {
    return rec_GetFileChn(path);
}

// What every operation makes of a file that is not there: the number of those that do not say so.
int64_t all_of_missing() {
    int32_t key = second_record;
    uint32_t number = 0;
    rec_tag_entry found[8];
    vfs_file* file = nullptr;
    kmr_file_header header = {};
    int64_t wrong = 0;
    for (int32_t change = REC_TAG_ADD; change <= REC_TAG_CHANGE; ++change)
        wrong += rec_TagModify(change, missing, &key, "text") == 0;
    wrong += rec_RecoverRecordSize(missing, 5) == 0;
    wrong += rec_MakeUpIframeIndex(missing, 0, &number, 5) == REC_OK;
    wrong += rec_GetFristIframelocByFile(missing, &number) == 0;
    wrong += rec_TagQuery(missing, "", found, 8) != 0;
    wrong += rec_GetFileStartTime(missing, &number) == REC_OK;
    wrong += rec_GetFileSize(missing, &number) == 0;
    wrong += rec_CopyFileSegment(other, 0, missing, 0, 10) != -1;
    wrong += rec_OpenFile(&file, missing, nullptr) == REC_OK;
    wrong += rec_ReadFileHeader(nullptr, missing, &header) == REC_OK;
    wrong += rec_GetFileChn(missing) > 0;
    return wrong;
}

// --- the layer ---

int64_t list_directory() {
    void* const handle = vfs_OpenDir("/dev/sda1/3");
    int64_t count = 0;
    while (handle != nullptr && vfs_ReadDir(handle) != nullptr)
        ++count;
    vfs_CloseDir(handle);
    return count;
}
int64_t open_directory_of_module_1() {
    void* const handle = vfs_OpenDir("/mnt");
    return handle == nullptr ? -1 : vfs_CloseDir(handle);
}
int64_t scan_directory() {
    vfs_scan_entry** list = nullptr;
    const int32_t count = vfs_ScanDir("/dev/sda1", &list);
    for (int32_t i = 0; i < count; ++i)
        std::free(list[i]);
    if (count >= 0)
        std::free(list);
    return count;
}
int64_t lock_recording() {
    return vfs_Rename("/dev/a/123456789012345678901N", "/dev/a/12345678901234567890L");
}
int64_t path_operations() {
    struct statfs statistics;
    return vfs_Statfs(path, &statistics) + vfs_Format(path) + vfs_SetUsrParam(path, 1, 1) +
           vfs_Rename(path, path);
}
int64_t specials_of_module_0() {
    const int32_t fd = vfs_Open(0, moved_path, 0);
    const int64_t result = vfs_ChangeCreateTime(moved_path, 5) + vfs_ChangeRecType(moved_path, 1, 2) +
                           vfs_UpdataePreRecPtr(fd, 1, 2) + vfs_error(fd) + vfs_fcntl(fd, 1, 2) +
                           vfs_fsync(fd);
    vfs_Close(fd);
    return result;
}
int64_t start_up() {
    const int64_t result = inner_InitVFS();
    vfs_stat_record record = {};
    vfs_Stat(path, &record);
    return result;
}

constexpr operation table[] = {
    {"start-up", effect::none, start_up, is_one_of<0>},
    {"report", effect::none, report, is_one_of<0>},
    {"report of a moved recording", effect::none, report_of_moved, is_one_of<0>},
    {"report of a missing recording", effect::none, report_of_missing, is_one_of<0>},
    {"report of an unfinished recording", effect::none, report_of_damaged, is_one_of<0>},
    {"walk of a piece", effect::none, walk_piece, is_number_or_none},
    {"export", effect::none, copy_out, is_one_of<0>},
    {"repair", effect::repair, repair, is_one_of<0, -1, REC_NOT_FOUND>},
    {"repair, start from the file system", effect::repair, repair_of_moved, is_one_of<0, -1, REC_NOT_FOUND>},
    {"rebuild with a picture size", effect::repair, repair_with_size,
     is_one_of<REC_OK, REC_CANNOT_OPEN, REC_FAILED, REC_SHORT_READ, REC_CANNOT_TRUNCATE>},
    {"tag added", effect::tag, add_tag, is_one_of<0, -1, 1, 2, 3>},
    {"tag replaced", effect::tag, replace_tag, is_one_of<0, -1, 1, 2, 3>},
    {"tag removed", effect::tag, remove_tag, is_one_of<0, -1, 2>},
    {"tag changed", effect::tag, exchange_tag, is_one_of<0, -1, 2>},
    {"tags found", effect::none, find_tags, is_count},
    {"first frame, by index", effect::none, first_frame_by_index,
     is_one_of<0, -1, REC_CANNOT_OPEN, REC_FAILED>},
    {"first frame, by walk", effect::none, first_frame_by_walk,
     is_one_of<0, -1, REC_CANNOT_OPEN, REC_FAILED>},
    {"start time", effect::none, start_time, is_one_of<REC_OK, REC_FAILED>},
    {"start time by short name", effect::none, start_time_of_moved, is_one_of<REC_OK, REC_FAILED>},
    {"stop time by short name", effect::none, stop_time_of_moved, is_one_of<REC_OK, REC_NOT_FOUND>},
    {"length of time", effect::none, time_length, is_one_of<-1>},
    {"segment copied", effect::none, copy_segment, is_copied},
    {"file header copied", effect::none, copy_head, is_copied},
    {"numbers of frames written", effect::frame_count, write_numbers, is_one_of<1, -1>},
    {"size of the file", effect::none, file_size, is_one_of<0, -1>},
    {"opened, read and closed", effect::none, open_and_read, is_anything},
    {"file header by name", effect::none, read_header_by_name,
     is_one_of<REC_OK, REC_CANNOT_OPEN, REC_SHORT_READ>},
    {"last frame", effect::none, last_frame, is_number_or_none},
    {"next I-frame", effect::none, next_i_frame, is_one_of<0, -1>},
    {"located", effect::none, locate, is_one_of<0, REC_FAILED, REC_NOT_FOUND>},
    {"channel", effect::none, channel, is_one_of<7, 0, -1>},
    {"everything, of a missing file", effect::none, all_of_missing, is_one_of<0>},
    {"directory of module 0", effect::none, list_directory, is_count},
    {"directory of module 1", effect::none, open_directory_of_module_1, is_one_of<0, -1>},
    {"blocks of module 0", effect::none, scan_directory, is_number_or_none},
    {"recording locked", effect::none, lock_recording, is_one_of<0, -1>},
    {"operations by path", effect::none, path_operations, is_anything},
    {"specials of module 0", effect::none, specials_of_module_0, is_anything},
};

const bytes& recording_before() {
    return recordings::of("tags");
}

size_t index_block(const bytes& file) {
    return file.size() - recording::get_u32(file, file.size() - 4);
}

bool is_same(const bytes& a, const bytes& b, size_t from, size_t to) {
    return std::equal(a.begin() + static_cast<std::ptrdiff_t>(from),
                      a.begin() + static_cast<std::ptrdiff_t>(to),
                      b.begin() + static_cast<std::ptrdiff_t>(from));
}

// The fields of one record's tag and the count; nothing else.
void expect_tag_changed_alone(const bytes& before, const bytes& after) {
    expect(after.size() == before.size(), "a change of a tag leaves the size");
    const size_t block = index_block(before);
    size_t changed_tags = 0;
    for (size_t record = block + 44; record + 80 < before.size(); record += 80) {
        expect(is_same(before, after, record, record + 16), "the records keep what is no tag");
        changed_tags += !is_same(before, after, record + 16, record + 80);
    }
    expect(changed_tags <= 1, "one tag at most has changed");
    expect(is_same(before, after, 0, block + 12) && is_same(before, after, block + 16, block + 44) &&
               is_same(before, after, before.size() - 8, before.size()),
           "everything but the tags and their count is as it was");
}

// The file header is as it was, but for a width and height that may have been raised, and so is what is left of the
// frames. A failure that ends the walk early cuts the frames behind it off: to the repair a header that cannot be read
// is the end of the recording.
void expect_frames_unchanged(const bytes& before, const bytes& after) {
    expect(after.size() >= 88, "the file header is there");
    expect(is_same(before, after, 0, 2) && is_same(before, after, 6, 88), "the file header is as it was");
    const auto differs =
        std::mismatch(before.begin() + 88, before.end(), after.begin() + 88, after.end()).second;
    const auto left = static_cast<size_t>(after.end() - differs);
    constexpr size_t largest_index = 52 + 6 * 80;
    expect(left <= before.size() - 88 + largest_index,
           "behind the frames that are left stands an index at most");
}

void expect_numbers_alone(const bytes& before, const bytes& after) {
    expect(after.size() == before.size(), "the size is as it was");
    expect(is_same(before, after, 0, 60) && is_same(before, after, 64, 84) &&
               is_same(before, after, 88, before.size()),
           "everything but the numbers of frames is as it was");
}

void expect_recording(const operation& after, const char* where) {
    const bytes* const now = memory_module::find(where);
    expect(now != nullptr, "the recording is there");
    const bytes& before = recording_before();
    switch (after.what) {
    case effect::none:
        expect(*now == before, "the recording is as it was");
        break;
    case effect::tag:
        expect_tag_changed_alone(before, *now);
        break;
    case effect::repair:
        expect_frames_unchanged(before, *now);
        break;
    case effect::frame_count:
        expect_numbers_alone(before, *now);
        break;
    }
}

} // namespace

std::span<const operation> all() {
    return table;
}

void put_files() {
    memory_module::put(path, recording_before());
    memory_module::put(moved_path, recording_before());
    memory_module::put(unfinished, recordings::of("no_index"));
    memory_module::put(other, bytes(200, 0xEE));
}

void expect_files(const operation& after) {
    expect_recording(after, path);
    expect_recording(after, moved_path);
    expect(*memory_module::find(unfinished) == recordings::of("no_index"),
           "the other recording is as it was");
    expect(memory_module::find(missing) == nullptr, "no file has come into being");
}

} // namespace operations
