// The search through the index file.
#include "vfslist16a/record_query.h"

#include "base/host_file.hpp"
#include "vfslist16a/host_status.hpp"

#include <array>
#include <cstring>
#include <span>

namespace {

constexpr int64_t header_size = KMR_INDEX_FILE_HEADER_SIZE;
constexpr int64_t record_size = KMR_INDEX_FILE_RECORD_SIZE;

// 0 for a file that is shorter than a header and a record.
int64_t number_of_records(const char* path) {
    kmr::host_status status = {};
    if (!kmr::ask_host(path, status))
        return 0;
    return (status.size - header_size) / record_size;
}

bool seek_record(std::FILE* file, int64_t number) {
    return fseeko64(file, header_size + number * record_size, SEEK_SET) == 0;
}

bool read_record(std::FILE* file, int64_t number, rec_query_record& record) {
    return seek_record(file, number) && // uncovered: what has a size can be sought in
           std::fread(&record, sizeof record, 1, file) == 1;
}

// A record at or before the first one of the interval, by bisection over the ascending start times. A record
// that cannot be read ends it: the scan begins there.
int64_t find_scan_start(std::FILE* file, int64_t count, int32_t start_time) {
    if (count <= 1)
        return 0;
    int64_t low = 0;
    int64_t high = count;
    int64_t middle = (low + high) / 2;
    for (;;) {
        rec_query_record record;
        if (read_record(file, middle, record))
            (record.start_time < start_time ? low : high) = middle;
        const int64_t next = (low + high) / 2;
        if (next == middle)
            return middle;
        middle = next;
    }
}

bool file_type_passes(const rec_query_record& record, int32_t filter) {
    if (filter == REC_QUERY_ALL_FILES)
        return true;
    constexpr char picture[] = ".jpg";
    const size_t length = strnlen(record.file_name, sizeof record.file_name);
    const bool is_picture = memmem(record.file_name, length, picture, sizeof picture - 1) != nullptr;
    return filter == (is_picture ? REC_QUERY_PICTURES : REC_QUERY_VIDEOS);
}

bool value_passes(uint8_t value, uint32_t filter) {
    return filter == REC_QUERY_ANY || value == filter;
}

bool record_passes(const rec_query_record& record, const rec_query_block& query) {
    if (!file_type_passes(record, query.file_type_filter) ||
        !value_passes(record.channel, query.channel_filter))
        return false;
    // Before time and kind are looked at: a program's own hook is asked about records of the right file type and
    // channel while the search still passes over those that lie outside the interval.
    test_break();
    return record.start_time >= query.start_time && record.start_time < query.end_time &&
           value_passes(record.kind, query.kind_filter);
}

// Inserts records in order of time. The place only ever moves forward, which suffices for an ascending file;
// past the end it stays there.
class ordered_insertion {
public:
    explicit ordered_insertion(adt_dlist* list) : list_(list), place_(adt_dlist_head(list)) {}

    void put(const rec_query_record& record) {
        while (place_ != nullptr && record.start_time >= time_at(place_))
            place_ = adt_dlist_next(place_);
        if (place_ == nullptr)
            adt_dlist_add(list_, nullptr, &record);
        else
            adt_dlist_insert(list_, place_, &record);
    }

private:
    static int32_t time_at(adt_dlist_node* node) {
        return static_cast<const rec_query_record*>(adt_dlist_getdata(node))->start_time;
    }

    adt_dlist* list_;
    adt_dlist_node* place_;
};

// Reads from the file's position to its end. A record that is cut off ends it too.
template <typename Take>
void for_each_record(std::FILE* file, Take take) {
    std::array<rec_query_record, 356> records; // nearly 64 KiB per read
    size_t count;
    do {
        count = std::fread(records.data(), sizeof(rec_query_record), records.size(), file);
        for (const rec_query_record& record : std::span(records).first(count))
            take(record);
    } while (count == records.size());
}

} // namespace

int32_t SearchIndexEx(const char* path, const rec_query_block* query, adt_dlist* list) {
    const kmr::host_file file = kmr::open_host_file(path, "rb");
    if (file == nullptr)
        return -1;
    const int64_t start = find_scan_start(file.get(), number_of_records(path), query->start_time);
    if (!seek_record(file.get(), start))
        return 0;
    ordered_insertion matches(list);
    for_each_record(file.get(), [&](const rec_query_record& record) {
        if (record_passes(record, *query))
            matches.put(record);
    });
    return 0;
}
