#include "scan/quick_look.hpp"

#include "file_op/common/frame_check.h"
#include "scan/index_place.hpp"
#include "scan/index_records.hpp"
#include "scan/time_line.hpp"
#include "scan/window.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kmr::scan {
namespace {

constexpr uint64_t most_headers = 16384;

class looker {
public:
    looker(byte_source& source, quick_look& into) : source_(source), recording_(source), into_(into) {}

    void look() {
        read_header();
        index_places places(recording_);
        if (const auto offset = places.expected())
            read_index(*offset, places.describe(*offset));
        if (!into_.start_ms && into_.header.state == header_state::valid)
            into_.start_ms = header_start_ms(into_.header.header);
    }

private:
    void read_header() {
        header_event& found = into_.header;
        found.length = static_cast<uint32_t>(
            recording_.peek(0, {reinterpret_cast<uint8_t*>(&found.header), sizeof found.header}));
        if (found.length < sizeof found.header)
            found.state = header_state::too_short;
        else if (Common_IsValidFileHeader(&found.header) < 0)
            found.state = header_state::implausible;
    }

    void read_index(uint64_t offset, const index_event& block) {
        into_.index.offset = offset;
        into_.index.present = block.state != index_state::torn;
        if (block.state != index_state::whole)
            return;
        into_.index.records = block.head.RecordCount;
        index_records records(source_, offset, block.head.RecordCount);
        kmr_frame_header header = {};
        if (ordinary_frame(KMR_FILE_HEADER_SIZE, header))
            times_.advance(header.TimeStamp);
        for (uint64_t record = 0; record < records.count(); ++record)
            take(static_cast<uint32_t>(record), records[record]);
        settle_start();
        walk_to(offset);
        if (times_.begun())
            into_.duration_ms = times_.now();
    }

    void take(uint32_t record, const kmr_index_record& entry) {
        if (entry.TagName[0] != '\0') {
            ++into_.index.tags;
            if (into_.tags.size() < KMR_MAX_TAGS)
                into_.tags.push_back(
                    {record, entry.TimeNow, {entry.TagName, strnlen(entry.TagName, sizeof entry.TagName)}});
        }
        const uint64_t offset = position_of(entry);
        kmr_frame_header header = {};
        if (offsets_ms_.size() == most_headers)
            return;
        if (!ordinary_frame(offset, header)) {
            unbroken_ = false;
            return;
        }
        last_named_ = offset;
        note_step(times_.at(header.TimeStamp) - times_.now());
        offsets_ms_.push_back(int64_t{entry.TimeNow} * 1000 - times_.advance(header.TimeStamp));
    }

    // Records rise, and beyond 4 GiB they begin anew.
    uint64_t position_of(const kmr_index_record& entry) const {
        constexpr uint64_t four_gib = uint64_t{1} << 32;
        const uint64_t turns = last_named_ / four_gib * four_gib;
        const uint64_t position = turns + entry.IPos;
        return position < last_named_ ? position + four_gib : position;
    }

    bool ordinary_frame(uint64_t offset, kmr_frame_header& header) {
        return recording_.load(offset, header) && rec_ValidFrame(&header, 0) == KMR_FRAME_ORDINARY;
    }

    void note_step(int64_t ms) {
        unbroken_ = unbroken_ && ms >= 0 && (ms > 0 || offsets_ms_.empty());
        if (offsets_ms_.empty())
            return;
        shortest_step_ = std::min(shortest_step_, ms);
        longest_step_ = std::max(longest_step_, ms);
    }

    // A leap is longer than two seconds: it does not fit between two records, or sets these two apart from the others.
    bool leaves_no_room_for_a_leap() const {
        constexpr int64_t shortest_leap = 2000;
        return unbroken_ &&
               (longest_step_ <= shortest_leap || longest_step_ - shortest_step_ < shortest_leap);
    }

    void settle_start() {
        if (offsets_ms_.empty())
            return;
        const auto middle = offsets_ms_.begin() + static_cast<std::ptrdiff_t>(offsets_ms_.size() / 2);
        std::nth_element(offsets_ms_.begin(), middle, offsets_ms_.end());
        into_.start_ms = *middle;
        into_.start_from_index = true;
        into_.start_certain = leaves_no_room_for_a_leap();
    }

    void walk_to(uint64_t end) {
        uint64_t offset = last_named_;
        for (uint64_t frames = 0; offset >= KMR_FILE_HEADER_SIZE && offset < end && frames < most_headers;
             ++frames) {
            kmr_frame_header header = {};
            recording_.load(offset, header); // in front of the index, which has room for one
            const int32_t what = rec_ValidFrame(&header, 0);
            if (what == KMR_FRAME_ORDINARY)
                times_.advance(header.TimeStamp);
            else if (what != KMR_FRAME_INSERTED)
                return;
            offset += header.FrameSize;
        }
    }

    byte_source& source_;
    window recording_;
    quick_look& into_;
    time_line times_ = {};
    uint64_t last_named_ = 0;
    bool unbroken_ = true;
    int64_t shortest_step_ = INT64_MAX; // from record to record
    int64_t longest_step_ = 0;
    std::vector<int64_t> offsets_ms_ = {};
};

} // namespace

quick_look look_quickly(byte_source& source) {
    quick_look found;
    found.size = source.size();
    try {
        looker(source, found).look();
    } catch (const read_stopped& stopped) {
        found.ended = stopped.error == 0 ? end_state::shrunk : end_state::read_failed;
        found.error = stopped.error;
    }
    return found;
}

} // namespace kmr::scan
