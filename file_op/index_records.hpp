// The index of a recording while it is built: an array of records that grows by steps.
#pragma once

#include "analyse/format/index_block.h"
#include "base/heap_bytes.hpp"

#include <cstdint>
#include <cstdlib>

namespace kmr {

class index_records {
public:
    // Room for one record more. False, with all records kept, when there is no memory.
    [[nodiscard]] bool make_room();
    [[nodiscard]] bool append(const kmr_index_record& record);
    // Takes the last record back when it is of the I-frame at `position`.
    void drop_if_at(uint32_t position);

    [[nodiscard]] uint32_t count() const { return count_; }
    [[nodiscard]] const kmr_index_record& last() const { return records_[count_ - 1]; }
    [[nodiscard]] const kmr_index_record* data() const { return records_.get(); }
    // The head of the block that these records make, without tags.
    [[nodiscard]] kmr_index_head head() const;

private:
    heap_array<kmr_index_record> records_;
    uint32_t count_ = 0;
    uint32_t capacity_ = 0;
};

} // namespace kmr
