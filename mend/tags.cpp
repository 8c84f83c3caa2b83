#include "mend/tags.hpp"

#include "base/utf8.hpp"
#include "scan/index_place.hpp"
#include "scan/index_records.hpp"
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

class tag_change {
public:
    explicit tag_change(scan::byte_source& source) : source_(source) {
        plan_.planned = changes(source.size());
    }

    template <typename Work>
    tag_plan run(Work work) {
        try {
            plan_.status = find_index() ? work(*this) : tag_status::no_index;
        } catch (const scan::read_stopped& stopped) {
            plan_.status = tag_status::unreadable;
            plan_.error = stopped.error != 0 ? stopped.error : EIO;
        }
        return std::move(plan_);
    }

    tag_status add(const tag_place& where, std::string_view text) {
        const auto* time = std::get_if<wall_clock>(&where);
        const auto record = time != nullptr ? record_at(time->seconds)
                                            : std::optional(uint64_t{std::get<record_number>(where).record});
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
        scan::window recording(source_);
        scan::index_places places(recording);
        const auto offset = places.expected();
        if (!offset)
            return false;
        block_ = places.describe(*offset);
        if (block_.state != scan::index_state::whole)
            return false;
        records_.emplace(source_, block_.offset, block_.head.RecordCount);
        for (uint64_t i = 0; i < records_->count(); ++i)
            tags_ += (*records_)[i].TagName[0] != '\0' ? 1 : 0;
        return true;
    }

    std::optional<uint64_t> record_at(int64_t seconds) {
        std::optional<uint64_t> found;
        for (uint64_t i = 0; i < records_->count(); ++i)
            if (i == 0 || int64_t{(*records_)[i].TimeNow} <= seconds)
                found = i;
        return found;
    }

    bool choose(uint64_t record) {
        if (record >= records_->count())
            return false;
        plan_.record = static_cast<uint32_t>(record);
        plan_.time = (*records_)[record].TimeNow;
        plan_.before = text_of((*records_)[record]);
        return true;
    }

    // The text, then the count: a power cut between the two leaves a count that is one off, and undo at hand.
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
            plan_.planned.write_bytes(block_.offset + offsetof(kmr_frame_header, FrameNo), count);
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

} // namespace kmr::mend
