// What is told of single records of an index.
#pragma once

#include "analyse/format/frame_header.h"
#include "analyse/format/index_block.h"
#include "scan/finding_list.hpp"
#include "scan/indexed_frame.hpp"

#include <cstdint>
#include <optional>

namespace kmr::scan {

class index_findings {
public:
    // `first_record` is its offset in the file; `header_size` is 0 x 0 where the file header is not valid.
    index_findings(finding_list& findings, uint64_t first_record, picture_size header_size)
        : findings_(findings), first_record_(first_record), header_size_(header_size) {}

    // A place that is none of an I-frame, or by chance that of another. `named` is the frame that stands there, `near` one
    // whose stream time is known; null: none is.
    void wrong_place(uint64_t record, uint32_t place, const std::optional<kmr_frame_header>& named,
                     const indexed_frame* near);

    // The first record that stands behind one with a higher place, or names the same; others are not told.
    void order(uint64_t record);

    // Told where the size is that of neither header nor frame.
    void check_size(uint64_t record, const kmr_index_record& entry, const indexed_frame& frame);

private:
    uint64_t offset_of(uint64_t record) const { return first_record_ + record * KMR_INDEX_RECORD_SIZE; }
    finding entry_finding(uint64_t record, index_field field, int64_t actual) const;

    finding_list& findings_;
    uint64_t first_record_;
    picture_size header_size_;
    bool order_told_ = false;
};

} // namespace kmr::scan
