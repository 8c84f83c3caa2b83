#include "mend/tags.hpp"

#include "base/utf8.hpp"
#include "file_op/common/frame_check.h"
#include "scan/index_place.hpp"
#include "scan/index_records.hpp"
#include "scan/judge.hpp"
#include "scan/time_line.hpp"
#include "scan/window.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>

namespace kmr::mend {
namespace {

constexpr size_t most_text = KMR_TAG_SIZE - 1;

using tag_field = std::array<uint8_t, KMR_TAG_SIZE>;

tag_field field_of(std::string_view text) {
    tag_field field = {};
    std::copy(text.begin(), text.end(), field.begin());
    return field;
}

std::string text_of(const kmr_index_record& record) {
    return {record.TagName, strnlen(record.TagName, sizeof record.TagName)};
}

bool is_control(uint32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

// Ends a scan behind the first ordinary frame: stream time counts from it.
class first_frame final : public scan::observer {
public:
    void on_frame(const scan::seen_frame& seen) override {
        if (seen.frame.kind == scan::frame_class::ordinary && !stamp)
            stamp = seen.frame.header.TimeStamp;
    }
    bool go_on(uint64_t) override { return !stamp; }

    std::optional<uint32_t> stamp = {};
};

// A whole index block, if the recording ends with one. Throws read_stopped.
std::optional<scan::index_event> index_of(scan::byte_source& source) {
    scan::window recording(source);
    scan::index_places places(recording);
    const auto offset = places.expected();
    if (!offset)
        return {};
    const scan::index_event block = places.describe(*offset);
    return block.state == scan::index_state::whole ? std::optional(block) : std::nullopt;
}

// What `work` gives; a read that did not bring what the size promised becomes a status of `told`.
template <typename Told, typename Work>
void tell_reads(Told& told, Work work) {
    try {
        told.status = work();
    } catch (const scan::read_stopped& stopped) {
        told.status = tag_status::unreadable;
        told.error = stopped.error != 0 ? stopped.error : EIO;
    }
}

class tag_change {
public:
    explicit tag_change(scan::byte_source& source) : source_(source) {
        plan_.planned = changes(source.size());
    }

    template <typename Work>
    tag_plan run(Work work) {
        tell_reads(plan_, [&] { return find_index() ? work(*this) : tag_status::no_index; });
        return std::move(plan_);
    }

    tag_status add(const tag_place& where, std::string_view text) {
        const auto record = std::visit([&](const auto& place) { return record_at(place); }, where);
        if (!record || !choose(*record))
            return tag_status::no_record;
        if (plan_.before.empty() && tags_ >= KMR_MAX_TAGS)
            return tag_status::too_many;
        return put(text);
    }

    tag_status change(record_number where, std::string_view text) {
        if (!choose(where.record))
            return tag_status::no_record;
        return plan_.before.empty() ? tag_status::no_tag : put(text);
    }

private:
    bool find_index() {
        const auto block = index_of(source_);
        if (!block)
            return false;
        block_ = *block;
        records_.emplace(source_, block_.offset, block_.head.RecordCount);
        for (uint64_t i = 0; i < records_->count(); ++i)
            tags_ += (*records_)[i].TagName[0] != '\0' ? 1 : 0;
        return true;
    }

    static std::optional<uint64_t> record_at(const record_number& where) { return where.record; }

    std::optional<uint64_t> record_at(const wall_clock& where) {
        std::optional<uint64_t> found;
        for (uint64_t i = 0; i < records_->count(); ++i)
            if (i == 0 || int64_t{(*records_)[i].TimeNow} <= where.seconds)
                found = i;
        return found;
    }

    // By the stamps of the frames that the records name: their own times are whole seconds.
    std::optional<uint64_t> record_at(const stream_time& where) {
        scan::time_line line;
        line.advance(first_stamp());
        scan::window recording(source_);
        std::optional<uint64_t> found;
        for (uint64_t i = 0; i < records_->count(); ++i) {
            kmr_frame_header header = {};
            const bool names_frame = recording.load((*records_)[i].IPos, header) &&
                                     rec_ValidFrame(&header, 0) == KMR_FRAME_ORDINARY;
            const bool reached = names_frame && line.advance(header.TimeStamp) <= where.ms;
            if (i == 0 || reached)
                found = i;
        }
        return found;
    }

    uint32_t first_stamp() {
        first_frame first;
        const scan::report seen = scan::judge(source_, {.most_per_code = 0}, &first);
        if (!first.stamp && seen.ended != scan::end_state::complete)
            throw scan::read_stopped{0, seen.error};
        return first.stamp.value_or(0);
    }

    bool choose(uint64_t record) {
        if (record >= records_->count())
            return false;
        plan_.record = static_cast<uint32_t>(record);
        plan_.time = (*records_)[record].TimeNow;
        plan_.before = text_of((*records_)[record]);
        return true;
    }

    // The text, then the count, which is never that of a tag that did not get there.
    tag_status put(std::string_view text) {
        uint64_t after = tags_ - (plan_.before.empty() ? 0 : 1) + (text.empty() ? 0 : 1);
        after = std::min<uint64_t>(after, KMR_MAX_TAGS);
        plan_.tags_after = static_cast<uint32_t>(after);
        const tag_field field = field_of(text);
        const kmr_index_record& old = (*records_)[plan_.record];
        if (std::memcmp(old.TagName, field.data(), field.size()) != 0)
            plan_.planned.write_bytes(records_->offset_of(plan_.record) + offsetof(kmr_index_record, TagName),
                                      field);
        if (block_.head.Frame.FrameNo != after) {
            std::array<uint8_t, 4> count = {};
            std::memcpy(count.data(), &plan_.tags_after, count.size());
            plan_.planned.write_last(block_.offset + offsetof(kmr_frame_header, FrameNo), count);
        }
        plan_.planned.sort();
        return tag_status::ready;
    }

    scan::byte_source& source_;
    tag_plan plan_ = {};
    scan::index_event block_ = {};
    std::optional<scan::index_records> records_ = {};
    uint64_t tags_ = 0;
};

tag_plan refused(tag_status why) {
    tag_plan plan;
    plan.status = why;
    return plan;
}

} // namespace

tag_status check_tag_text(std::string_view text) {
    if (text.empty())
        return tag_status::empty_text;
    if (text.size() > most_text)
        return tag_status::text_too_long;
    while (!text.empty()) {
        const utf8_character next = first_utf8_character(text);
        if (!next.valid)
            return tag_status::text_no_utf8;
        if (is_control(next.code))
            return tag_status::text_with_control_characters;
        text.remove_prefix(next.length);
    }
    return tag_status::ready;
}

tag_plan plan_tag(scan::byte_source& source, const tag_place& where, std::string_view text) {
    if (const tag_status bad = check_tag_text(text); bad != tag_status::ready)
        return refused(bad);
    return tag_change(source).run([&](tag_change& work) { return work.add(where, text); });
}

tag_plan plan_tag_change(scan::byte_source& source, record_number where, std::string_view text) {
    if (const tag_status bad = check_tag_text(text); bad != tag_status::ready)
        return refused(bad);
    return tag_change(source).run([&](tag_change& work) { return work.change(where, text); });
}

tag_plan plan_tag_removal(scan::byte_source& source, record_number where) {
    return tag_change(source).run([&](tag_change& work) { return work.change(where, {}); });
}

tag_list list_tags(scan::byte_source& source, const std::function<void(const scan::tag&)>& take) {
    tag_list list;
    tell_reads(list, [&] {
        const auto block = index_of(source);
        if (!block)
            return tag_status::no_index;
        list.records = block->head.RecordCount;
        scan::index_records records(source, block->offset, list.records);
        for (uint64_t i = 0; i < list.records; ++i)
            if (const kmr_index_record& each = records[i]; each.TagName[0] != '\0')
                take({static_cast<uint32_t>(i), each.TimeNow, text_of(each)});
        return tag_status::ready;
    });
    return list;
}

} // namespace kmr::mend
