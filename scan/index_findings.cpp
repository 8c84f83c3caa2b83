#include "scan/index_findings.hpp"

#include "scan/time_line.hpp"

#include <utility>

namespace kmr::scan {

finding index_findings::entry_finding(uint64_t record, index_field field, int64_t actual) const {
    finding found = {.code = finding_code::index_entry_wrong,
                     .offset = offset_of(record),
                     .length = KMR_INDEX_RECORD_SIZE};
    found.set(field_name::record, static_cast<int64_t>(record))
        .set(field_name::field, static_cast<int64_t>(field))
        .set(field_name::actual, actual);
    return found;
}

void index_findings::wrong_place(uint64_t record, uint32_t place,
                                 const std::optional<kmr_frame_header>& named, const indexed_frame* near) {
    if (!named || kmr_is_i_frame(&*named)) {
        findings_.add(entry_finding(record, index_field::offset, place));
        return;
    }
    finding found = entry_finding(record, index_field::kind, named->FrameKind);
    found.frame = named->FrameNo;
    if (near != nullptr)
        found.time_ms = near->stream_ms + wrapped_distance(near->stamp, named->TimeStamp);
    findings_.add(found);
}

void index_findings::order(uint64_t record) {
    if (std::exchange(order_told_, true))
        return;
    finding found = {
        .code = finding_code::index_order, .offset = offset_of(record), .length = KMR_INDEX_RECORD_SIZE};
    found.set(field_name::record, static_cast<int64_t>(record));
    findings_.add(found);
}

void index_findings::check_size(uint64_t record, const kmr_index_record& entry, const indexed_frame& frame) {
    const picture_size size = {entry.VideoWidth, entry.VideoHeight};
    if (size == header_size_ || size == frame.own_size || (!header_size_.known() && !frame.own_size.known()))
        return;
    const int64_t packed = int64_t{entry.VideoHeight} << 16 | entry.VideoWidth; // as it stands in the record
    finding found = entry_finding(record, index_field::size, packed);
    found.frame = frame.number;
    found.time_ms = frame.stream_ms;
    findings_.add(found);
}

} // namespace kmr::scan
