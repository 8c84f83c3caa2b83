// The records of an index block, read through a small window of their own.
#pragma once

#include "analyse/format/index_block.h"
#include "scan/window.hpp"

#include <cstdint>
#include <vector>

namespace kmr::scan {

class index_records {
public:
    // `block` is the offset of a whole block of `count` records.
    index_records(byte_source& source, uint64_t block, uint64_t count)
        : source_(source), first_(block + KMR_INDEX_HEAD_SIZE), count_(count) {}

    uint64_t count() const { return count_; }
    uint64_t offset_of(uint64_t record) const { return first_ + record * KMR_INDEX_RECORD_SIZE; }

    // Throws read_stopped. `record` must be below count().
    const kmr_index_record& operator[](uint64_t record) {
        if (record < held_from_ || record - held_from_ >= held_.size())
            read_from(record);
        return held_[static_cast<size_t>(record - held_from_)];
    }

private:
    void read_from(uint64_t record);

    byte_source& source_;
    uint64_t first_;
    uint64_t count_;
    uint64_t held_from_ = 0;
    std::vector<kmr_index_record> held_ = {};
};

} // namespace kmr::scan
