#include "tools/compose/index_file.hpp"

#include "tools/compose/text_values.hpp"
#include "tools/compose/usage_error.hpp"
#include "vfslist16a/index_file.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <stdexcept>

namespace compose {
namespace {

// A text that fills its field has no terminator, and that is allowed.
template <size_t Size>
void fill_text(char (&field)[Size], const std::string& text) {
    std::memcpy(field, text.data(), std::min(text.size(), Size));
}

rec_query_record make_record(const index_file_entry& entry) {
    rec_query_record record = {};
    record.channel = entry.channel;
    record.kind = entry.kind;
    record.start_time = entry.time;
    fill_text(record.file_name, entry.name);
    fill_text(record.file_path, entry.path);
    return record;
}

int32_t parse_time(const std::string& text) {
    const int64_t value = parse_signed(text);
    if (value != static_cast<int32_t>(value))
        throw usage_error("'" + text + "' is not a time in signed 32-bit seconds");
    return static_cast<int32_t>(value);
}

} // namespace

index_file_entry parse_index_file_entry(const std::string& text) {
    const std::vector<std::string> parts = split(text, ',', 5);
    if (parts.size() != 5)
        throw usage_error("'" + text + "' is not of the form CHANNEL,KIND,TIME,NAME,PATH");
    return {static_cast<uint8_t>(parse_number(parts[0], 255)),
            static_cast<uint8_t>(parse_number(parts[1], 255)), parse_time(parts[2]),
            parse_text(parts[3], sizeof(rec_query_record::file_name)),
            parse_text(parts[4], sizeof(rec_query_record::file_path))};
}

std::vector<index_file_entry> read_index_file_list(const std::string& path) {
    errno = 0;
    std::ifstream list(path);
    std::vector<index_file_entry> entries;
    size_t number = 0;
    for (std::string line; std::getline(list, line);) {
        ++number;
        if (line.empty() || line.starts_with("#"))
            continue;
        try {
            entries.push_back(parse_index_file_entry(line));
        } catch (const usage_error& error) {
            throw usage_error(path + ", line " + std::to_string(number) + ": " + error.what());
        }
    }
    if (!list.is_open() || list.bad())
        throw std::runtime_error(path + ": " + std::strerror(errno));
    return entries;
}

std::vector<index_file_entry> make_up_index_file_entries(const std::string& text) {
    const std::vector<std::string> parts = split(text, ':', 3);
    if (parts.size() != 3)
        throw usage_error("'" + text + "' is not of the form COUNT:FIRST_TIME:STEP");
    const uint32_t count = parse_u32(parts[0]);
    const int64_t first = parse_time(parts[1]);
    const int64_t step = parse_time(parts[2]);
    std::vector<index_file_entry> entries;
    for (uint32_t i = 0; i < count; ++i) {
        char name[64];
        std::snprintf(name, sizeof name, "H1100020150102030405I%06" PRIu32, i % 1000000);
        entries.push_back({static_cast<uint8_t>(i % 16), 0, static_cast<int32_t>(first + i * step), name,
                           std::string("20150102/") + name});
    }
    return entries;
}

void compose_index_file(const index_file_plan& plan, const std::string& path) {
    output_file file(path);
    file.append_fill(0, KMR_INDEX_FILE_HEADER_SIZE);
    for (const index_file_entry& entry : plan.entries) {
        const rec_query_record record = make_record(entry);
        file.append(&record, sizeof record);
    }
    for (const damage& harm : plan.damages)
        apply_damage(file, harm, {});
    file.commit();
}

} // namespace compose
