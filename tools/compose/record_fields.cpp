#include "tools/compose/record_fields.hpp"

#include "analyse/format/file_header.h"
#include "analyse/format/index_block.h"
#include "tools/compose/text_values.hpp"
#include "tools/compose/usage_error.hpp"

#include <algorithm>
#include <cstring>

namespace compose {
namespace {

template <typename Record, typename Field>
constexpr record_field field_at(const char* name, size_t offset, Field Record::*) {
    return {name, offset, sizeof(Field)};
}

#define FIELD(record, name) field_at(#name, offsetof(record, name), &record::name)

constexpr record_field of_file_header[] = {
    FIELD(kmr_file_header, FrameRate),
    FIELD(kmr_file_header, Width),
    FIELD(kmr_file_header, Height),
    FIELD(kmr_file_header, Mode),
    FIELD(kmr_file_header, bAudio),
    FIELD(kmr_file_header, Year),
    FIELD(kmr_file_header, Month),
    FIELD(kmr_file_header, Day),
    FIELD(kmr_file_header, Hour),
    FIELD(kmr_file_header, Minute),
    FIELD(kmr_file_header, Second),
    FIELD(kmr_file_header, CoverMask),
    FIELD(kmr_file_header, m_uiFrameNoDiff),
    FIELD(kmr_file_header, TriggerHigh),
    FIELD(kmr_file_header, TriggerLow),
    FIELD(kmr_file_header, reserved),
    FIELD(kmr_file_header, AChannels),
    FIELD(kmr_file_header, BitsPerSample),
    FIELD(kmr_file_header, AudioSample),
    FIELD(kmr_file_header, TotalSize),
    FIELD(kmr_file_header, FrameCount),
};

// The frame header opens the index head, so one list serves both: the index head's own fields stand at its end.
constexpr record_field of_frame_and_index_head[] = {
    FIELD(kmr_frame_header, SyncWord),  FIELD(kmr_frame_header, FrameSize),
    FIELD(kmr_frame_header, FrameKind), FIELD(kmr_frame_header, FrameNo),
    FIELD(kmr_frame_header, TimeStamp), FIELD(kmr_frame_header, VideoSize),
    FIELD(kmr_frame_header, AFrameNum), FIELD(kmr_frame_header, AFrameSize),
    FIELD(kmr_frame_header, Reserved),  FIELD(kmr_frame_header, Tag),
    FIELD(kmr_index_head, RecordCount), FIELD(kmr_index_head, RecordSize),
    FIELD(kmr_index_head, MemoryNum),
};
constexpr size_t index_head_own_fields = 3;
static_assert(offsetof(kmr_index_head, Frame) == 0);

constexpr record_field of_index_record[] = {
    FIELD(kmr_index_record, TimeNow),    FIELD(kmr_index_record, IPos),        FIELD(kmr_index_record, Sign),
    FIELD(kmr_index_record, VideoWidth), FIELD(kmr_index_record, VideoHeight),
};

std::string names_of(std::span<const record_field> fields) {
    std::string names;
    for (const record_field& field : fields)
        names += (names.empty() ? "" : ", ") + std::string(field.name);
    return names;
}

} // namespace

const std::span<const record_field> file_header_fields = of_file_header;
const std::span<const record_field> frame_header_fields =
    std::span(of_frame_and_index_head).first(std::size(of_frame_and_index_head) - index_head_own_fields);
const std::span<const record_field> index_head_fields = of_frame_and_index_head;
const std::span<const record_field> index_record_fields = of_index_record;

void field_patch::apply(void* record) const {
    std::memcpy(static_cast<char*>(record) + field.offset, &value, field.width);
}

field_patch parse_field_patch(const std::string& text, std::span<const record_field> fields) {
    const auto [name, value] = split_pair(text, '=');
    const auto field = std::find_if(fields.begin(), fields.end(), [&wanted = name](const record_field& each) {
        return wanted == each.name;
    });
    if (field == fields.end())
        throw usage_error("'" + name + "' is none of the fields " + names_of(fields));
    const uint64_t most = (uint64_t{1} << 8 * field->width) - 1;
    return {*field, static_cast<uint32_t>(parse_number(value, most))};
}

} // namespace compose
