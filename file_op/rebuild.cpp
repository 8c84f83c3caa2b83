#include "file_op/rebuild.h"

#include "analyse/format/file_header.h"
#include "base/heap_bytes.hpp"
#include "file_op/common/file_names.h"
#include "file_op/common/rec_status.h"
#include "file_op/file_times.h"
#include "file_op/frame_search.h"
#include "file_op/index_records.hpp"
#include "file_op/open_guards.hpp"

#include <cstdio>
#include <fcntl.h>

// What the file looks like if the power goes:
//
//   while the frames are walked   as it was
//   after the cut                 all good frames, no index
//   after the file header         the same; its new picture size is found large enough next time, and kept
//   within the index              all good frames and the beginning of an index
//   after the index               repaired, but for its dates
//
// In each of these states the same walk finds the same frames and cuts behind the last one of them, so a repair that
// is done again gives the file that the first one would have given. The beginning of an index is no obstacle: its head
// is refused as a frame by its time stamp of 0, or else taken for one that ends behind the end of the file.

namespace {

constexpr int32_t ask_file_system = -1;

uint32_t start_by_file_system(const char* path) {
    uint32_t time = 0;
    char short_name[REC_PATH_SIZE] = "";
    if (rec_PickFileName(path, short_name) == REC_OK)
        rec_GetFileStartTime(short_name, &time);
    return time;
}

// Whether the picture was too small and has now the size that the minimum stands for.
bool raise_picture_size(kmr_file_header& header, int32_t minimum_size) {
    const uint32_t size = uint32_t{header.Width} << 16 | header.Height;
    if (static_cast<int32_t>(size) >= minimum_size)
        return false;
    header.Width = static_cast<uint16_t>(static_cast<uint32_t>(minimum_size) >> 16);
    header.Height = static_cast<uint16_t>(minimum_size);
    return true;
}

class repair {
public:
    repair(int32_t fd, uint32_t start_time) : fd_(fd), start_time_(start_time) {}

    int32_t run(int32_t minimum_size);
    [[nodiscard]] uint32_t walked() const { return walked_; }

private:
    bool find_size();
    bool walk_frames(const kmr_file_header& file_header);
    kmr_index_record record_of(uint32_t position, const kmr_file_header& file_header);
    int64_t find_end_of_frames();
    bool last_frame_is_old_index();
    void write_file_header(const kmr_file_header& file_header) const;
    bool append_index() const;

    int32_t fd_;
    uint32_t start_time_;
    int64_t size_ = 0;
    kmr::index_records records_;
    kmr_frame_header last_ = {}; // the header read last
    uint32_t walked_ = 0;
    uint32_t first_stamp_ = 0;
};

int32_t repair::run(int32_t minimum_size) {
    kmr_file_header file_header;
    if (!kmr::read_record(fd_, file_header))
        return REC_CANNOT_OPEN;
    const bool header_changed = raise_picture_size(file_header, minimum_size);
    if (!records_.make_room())
        return REC_FAILED;
    if (!find_size() || !walk_frames(file_header))
        return REC_SHORT_READ;
    const int64_t end = find_end_of_frames();
    if (end < 0)
        return REC_SHORT_READ;
    if (vfs_ftruncate(fd_, end) != 0)
        return REC_CANNOT_TRUNCATE;
    if (header_changed)
        write_file_header(file_header);
    return append_index() ? REC_OK : REC_SHORT_READ;
}

// Only the size tells a frame that ends early from one that ends with the file: a seek behind the end succeeds.
bool repair::find_size() {
    size_ = vfs_Seek(fd_, 0, SEEK_END);
    return size_ >= 0 && kmr::seek_to(fd_, KMR_FILE_HEADER_SIZE);
}

kmr_index_record repair::record_of(uint32_t position, const kmr_file_header& file_header) {
    if (records_.count() == 0)
        first_stamp_ = last_.TimeStamp;
    kmr_index_record record = {};
    record.TimeNow = start_time_ + (last_.TimeStamp - first_stamp_) / 1000;
    record.IPos = position;
    record.VideoWidth = file_header.Width;
    record.VideoHeight = file_header.Height;
    return record;
}

// False when a position is lost; the file is then untouched. No memory for a further record is no failure: what was
// found up to there stays.
bool repair::walk_frames(const kmr_file_header& file_header) {
    uint32_t position = 0;
    uint32_t time = 0;
    while (rec_SearchIFrame(&last_, fd_, &position, &walked_, &time) == REC_OK) {
        // Offsets of an index have 32 bits: behind them they start again, and so would the walk.
        const bool is_lost = records_.count() > 0 && position <= records_.last().IPos;
        if (is_lost || position >= size_)
            return false;
        const int64_t end = int64_t{position} + last_.FrameSize;
        if (!kmr::seek_to(fd_, end))
            return false;
        if (end > size_ || !records_.append(record_of(position, file_header)))
            break;
    }
    return true;
}

// Where the walk stopped, or the start of the last frame when that one has to go. Negative: unknown.
int64_t repair::find_end_of_frames() {
    const int64_t position = vfs_Seek(fd_, 0, SEEK_CUR);
    const bool is_torn = position > size_;
    if (!is_torn && !(position == size_ && last_frame_is_old_index()))
        return position;
    const int64_t start = position - last_.FrameSize;
    records_.drop_if_at(static_cast<uint32_t>(start));
    return start;
}

// Behind a frame whose time stamp is near 0, on either side, the head of an index passes for a frame.
bool repair::last_frame_is_old_index() {
    kmr_index_trailer trailer = {};
    return last_.TimeStamp == 0 && kmr::seek_to(fd_, size_ - KMR_INDEX_TRAILER_SIZE) &&
           kmr::read_record(fd_, trailer) && trailer.Magic == KMR_INDEX_MAGIC &&
           trailer.Length == last_.FrameSize;
}

// Without the new picture size the recording is still a good one, so a failure ends nothing.
void repair::write_file_header(const kmr_file_header& file_header) const {
    if (kmr::seek_to(fd_, 0))
        vfs_Write(fd_, &file_header, sizeof file_header);
}

bool repair::append_index() const {
    if (vfs_Seek(fd_, 0, SEEK_END) < 0)
        return false; // the index would fall onto the frames
    const kmr_index_head head = records_.head();
    const kmr_index_trailer trailer = {KMR_INDEX_MAGIC, head.Frame.FrameSize};
    vfs_Write(fd_, &head, sizeof head);
    vfs_Write(fd_, records_.data(), records_.count() * KMR_INDEX_RECORD_SIZE);
    vfs_Write(fd_, &trailer, sizeof trailer);
    return true;
}

uint32_t start_of(const char* path, int32_t start_time) {
    return start_time == ask_file_system ? start_by_file_system(path) : static_cast<uint32_t>(start_time);
}

// The file has been seen: opening it so would make one that is not there.
int32_t make_index(const char* path, int32_t minimum_size, uint32_t* walked, uint32_t start) {
    const kmr::open_descriptor file(vfs_Open(0, path, O_RDWR | O_CREAT));
    if (!file.is_open())
        return REC_CANNOT_OPEN;
    repair work(file.get(), start);
    const int32_t status = work.run(minimum_size);
    if (status == REC_OK && walked != nullptr)
        *walked = work.walked();
    return status;
}

} // namespace

int32_t rec_MakeUpIframeIndex(const char* path, int32_t minimum_size, uint32_t* walked, int32_t start_time) {
    vfs_stat_record unused = {};
    if (path == nullptr)
        return REC_CANNOT_OPEN;
    const uint32_t start = start_of(path, start_time);
    if (vfs_Stat(path, &unused) != 0)
        return REC_CANNOT_OPEN;
    return make_index(path, minimum_size, walked, start);
}

int32_t rec_RecoverRecordSize(const char* path, int32_t start_time) {
    if (path == nullptr)
        return -1;
    vfs_stat_record before = {};
    if (vfs_Stat(path, &before) != 0)
        return REC_NOT_FOUND;
    if (make_index(path, 0, nullptr, start_of(path, start_time)) != REC_OK)
        return -1;
    const vfs_times times = {static_cast<long>(before.AccessTime), static_cast<long>(before.ModifyTime)};
    return vfs_utimes(path, &times) == 0 ? 0 : -1;
}
