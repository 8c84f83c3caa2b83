// The fields of the recording's records by name, so that any of them can be given any value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace compose {

struct record_field {
    const char* name;
    size_t offset;
    size_t width; // bytes
};

extern const std::span<const record_field> file_header_fields;
extern const std::span<const record_field> frame_header_fields;
extern const std::span<const record_field> index_head_fields; // those of its frame header included
extern const std::span<const record_field> index_record_fields;

// A value for one field of a record.
struct field_patch {
    record_field field;
    uint32_t value;

    void apply(void* record) const;
};

// "FIELD=VALUE"; throws usage_error on an unknown field (and names those there are) or a value that does not fit.
field_patch parse_field_patch(const std::string& text, std::span<const record_field> fields);

} // namespace compose
