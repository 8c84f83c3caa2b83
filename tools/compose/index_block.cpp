#include "tools/compose/index_block.hpp"

#include "tools/compose/noise.hpp"
#include "tools/compose/usage_error.hpp"

#include <algorithm>
#include <cstring>

namespace compose {
namespace {

kmr_index_record& record_at(std::vector<kmr_index_record>& records, uint32_t number) {
    if (number >= records.size())
        throw usage_error("there is no index record " + std::to_string(number) + ": there are " +
                          std::to_string(records.size()) + ", counted from 0");
    return records[number];
}

uint32_t tag_count(const std::vector<kmr_index_record>& records) {
    const auto tagged = std::count_if(records.begin(), records.end(),
                                      [](const kmr_index_record& each) { return each.TagName[0] != '\0'; });
    return std::min<uint32_t>(static_cast<uint32_t>(tagged), KMR_MAX_TAGS);
}

// An array is never without room, even for no records at all.
uint32_t capacity_for(uint32_t count) {
    const uint32_t steps = count == 0 ? 1 : (count + KMR_INDEX_CAPACITY_STEP - 1) / KMR_INDEX_CAPACITY_STEP;
    return steps * KMR_INDEX_CAPACITY_STEP;
}

kmr_index_head make_head(const std::vector<kmr_index_record>& records) {
    const auto count = static_cast<uint32_t>(records.size());
    kmr_index_head head = {};
    head.Frame.SyncWord = KMR_SYNC_WORD;
    head.Frame.FrameSize = kmr_index_block_size(count);
    head.Frame.FrameKind = 1;
    head.Frame.FrameNo = tag_count(records);
    head.Frame.VideoSize = head.Frame.FrameSize - KMR_FRAME_HEADER_SIZE;
    head.RecordCount = count;
    head.RecordSize = KMR_INDEX_RECORD_SIZE;
    head.MemoryNum = capacity_for(count);
    return head;
}

void spoil_head(kmr_index_head& head, const index_plan& plan) {
    for (const field_patch& patch : plan.head)
        patch.apply(&head);
    if (!plan.head_noise)
        return;
    noise source(*plan.head_noise);
    uint8_t content[sizeof head];
    std::generate(std::begin(content), std::end(content), [&] { return source.next_not_zero(); });
    std::memcpy(&head, content, sizeof head);
}

} // namespace

void apply_record_changes(std::vector<kmr_index_record>& records, const index_plan& plan) {
    for (const auto& [number, text] : plan.tags) {
        kmr_index_record& record = record_at(records, number);
        std::memset(record.TagName, 0, sizeof record.TagName);
        std::memcpy(record.TagName, text.data(), std::min(text.size(), sizeof record.TagName));
    }
    for (const auto& [number, patch] : plan.records)
        patch.apply(&record_at(records, number));
}

void append_index_block(output_file& to, const std::vector<kmr_index_record>& records,
                        const index_plan& plan) {
    kmr_index_head head = make_head(records);
    const kmr_index_trailer trailer = {plan.trailer_magic.value_or(KMR_INDEX_MAGIC),
                                       plan.trailer_length.value_or(head.Frame.FrameSize)};
    spoil_head(head, plan);
    to.append(&head, sizeof head);
    to.append(records.data(), records.size() * sizeof(kmr_index_record));
    if (plan.has_trailer)
        to.append(&trailer, sizeof trailer);
}

} // namespace compose
