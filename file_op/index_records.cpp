#include "file_op/index_records.hpp"

namespace kmr {
namespace {

constexpr uint32_t p_frame_kind = 1;

} // namespace

bool index_records::make_room() {
    if (count_ < capacity_)
        return true;
    const uint32_t capacity = capacity_ + KMR_INDEX_CAPACITY_STEP;
    void* const larger = std::realloc(records_.get(), size_t{capacity} * sizeof(kmr_index_record));
    if (larger == nullptr)
        return false;
    static_cast<void>(records_.release()); // realloc has taken it
    records_.reset(static_cast<kmr_index_record*>(larger));
    capacity_ = capacity;
    return true;
}

bool index_records::append(const kmr_index_record& record) {
    if (!make_room())
        return false;
    records_[count_++] = record;
    return true;
}

void index_records::drop_if_at(uint32_t position) {
    if (count_ > 0 && last().IPos == position)
        --count_;
}

kmr_index_head index_records::head() const {
    const uint32_t length = kmr_index_block_size(count_);
    kmr_index_head head = {};
    head.Frame.SyncWord = KMR_SYNC_WORD;
    head.Frame.FrameSize = length;
    head.Frame.FrameKind = p_frame_kind;
    head.Frame.VideoSize = length - KMR_FRAME_HEADER_SIZE;
    head.RecordCount = count_;
    head.RecordSize = KMR_INDEX_RECORD_SIZE;
    head.MemoryNum = capacity_;
    return head;
}

} // namespace kmr
