#include "scan/index_place.hpp"

#include "file_op/common/frame_check.h"

#include <limits>

namespace kmr::scan {
namespace {

constexpr uint64_t record_size = KMR_INDEX_RECORD_SIZE;
constexpr uint64_t trailer_size = KMR_INDEX_TRAILER_SIZE;
constexpr uint64_t least_block = KMR_INDEX_HEAD_SIZE + trailer_size;

// The block of a long recording is longer than any frame.
int32_t class_of_any_length(const kmr_frame_header& header) {
    return rec_ValidFrame(&header, std::numeric_limits<uint32_t>::max());
}

uint64_t block_size(uint64_t records) {
    return least_block + records * record_size;
}

bool fields_agree(const kmr_index_head& head, uint64_t length) {
    const kmr_frame_header& frame = head.Frame;
    return frame.FrameSize == length && frame.VideoSize == length - KMR_FRAME_HEADER_SIZE && frame.Tag == 0 &&
           frame.TimeStamp == 0 && frame.AFrameNum == 0 && frame.AFrameSize == 0 &&
           head.RecordSize == record_size && block_size(head.RecordCount) == length;
}

} // namespace

index_places::index_places(window& recording) : recording_(recording) {
    const uint64_t size = recording.size();
    kmr_index_trailer trailer = {};
    if (size < KMR_FILE_HEADER_SIZE + least_block || !recording.load(size - trailer_size, trailer) ||
        trailer.Magic != KMR_INDEX_MAGIC)
        return;
    const uint64_t length = trailer.Length;
    if (length < least_block || length > size - KMR_FILE_HEADER_SIZE)
        return;
    kmr_index_head head = {};
    recording.load(size - length, head);
    const bool records_fit = block_size(head.RecordCount) == length;
    if (head.Frame.SyncWord == KMR_SYNC_WORD)
        agreed_ = head.Frame.FrameSize == length || records_fit;
    else
        agreed_ = head.RecordSize == record_size && records_fit;
    if (agreed_ || (length - least_block) % record_size == 0)
        named_ = size - length;
}

// A trailer alone does not make a block of a header that is a frame's.
bool index_places::names(uint64_t offset, const kmr_frame_header& header) const {
    if (named_ != offset)
        return false;
    const int32_t what = class_of_any_length(header);
    return agreed_ || (what != KMR_FRAME_ORDINARY && what != KMR_FRAME_INSERTED);
}

bool index_places::counts_its_records(uint64_t offset, const kmr_frame_header& header) {
    uint32_t records = 0;
    return recording_.load(offset + KMR_FRAME_HEADER_SIZE, records) &&
           block_size(records) == header.FrameSize;
}

bool index_places::has_trailer(uint64_t offset, uint64_t length) {
    kmr_index_trailer trailer = {};
    return length >= least_block && recording_.load(offset + length - trailer_size, trailer) &&
           trailer.Magic == KMR_INDEX_MAGIC;
}

index_places::proof index_places::begins_at(uint64_t offset, const kmr_frame_header& header) {
    if (names(offset, header))
        return proof::established;
    if (class_of_any_length(header) != KMR_FRAME_INDEX)
        return proof::none;
    if (counts_its_records(offset, header) || has_trailer(offset, header.FrameSize))
        return proof::established;
    const bool fits = header.FrameSize <= recording_.size() - offset;
    return !fits && header.FrameSize <= KMR_MAX_FRAME_SIZE ? proof::runs_on : proof::none;
}

index_event index_places::describe(uint64_t offset) {
    const uint64_t rest = recording_.size() - offset;
    index_event block = {.offset = offset, .length = rest, .state = index_state::torn, .head = {}};
    recording_.peek(offset, {reinterpret_cast<uint8_t*>(&block.head), sizeof block.head});
    const bool to_the_end = named_ == offset;
    const uint64_t length = to_the_end ? rest : block.head.Frame.FrameSize;
    if (block.head.Frame.SyncWord != KMR_SYNC_WORD || length > rest || !has_trailer(offset, length))
        return block;
    kmr_index_trailer trailer = {};
    recording_.load(offset + length - trailer_size, trailer);
    block.length = length;
    block.state = trailer.Length == length && fields_agree(block.head, length) ? index_state::whole
                                                                               : index_state::lying;
    return block;
}

} // namespace kmr::scan
