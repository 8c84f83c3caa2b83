#include "tests/vfslist16a/index_bytes.hpp"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits>
#include <sys/stat.h>

namespace index_bytes {
namespace {

void put_text(bytes& to, size_t offset, size_t field, const std::string& text) {
    ASSERT_LE(text.size(), field);
    std::copy(text.begin(), text.end(), to.begin() + static_cast<std::ptrdiff_t>(offset));
    if (text.size() < field)
        to.at(offset + text.size()) = 0;
}

} // namespace

bytes record(const entry& of) {
    bytes all(184, 0xC3);
    all[0] = of.channel;
    all[1] = of.kind;
    recording::put_u32(all, 4, static_cast<uint32_t>(of.time));
    put_text(all, 12, 104, of.name);
    put_text(all, 116, 68, of.path);
    return all;
}

bytes file(const std::vector<entry>& entries) {
    bytes all(72, 0xA5);
    for (const entry& each : entries)
        recording::append(all, record(each));
    return all;
}

std::string path_of(size_t number) {
    return std::string("p").append(std::to_string(number));
}

std::vector<entry> at_times(const std::vector<int32_t>& times) {
    std::vector<entry> entries;
    for (const int32_t time : times)
        entries.push_back({.time = time, .path = path_of(entries.size())});
    return entries;
}

std::unique_ptr<rec_query_block> open_query() {
    auto query = std::make_unique<rec_query_block>();
    query->channel_filter = 255;
    query->kind_filter = 255;
    query->start_time = std::numeric_limits<int32_t>::min();
    query->end_time = std::numeric_limits<int32_t>::max();
    return query;
}

list empty_list() {
    return list(adt_dlist_create(184));
}

std::vector<std::string> paths(const adt_dlist* of) {
    std::vector<std::string> all;
    adt_dlist_node* before = nullptr;
    for (adt_dlist_node* node = adt_dlist_head(of); node != nullptr; node = adt_dlist_next(node)) {
        EXPECT_EQ(adt_dlist_prev(node), before);
        const auto* content = static_cast<const char*>(adt_dlist_getdata(node)) + 116;
        all.emplace_back(content, strnlen(content, 68));
        before = node;
    }
    EXPECT_EQ(adt_dlist_size(of), static_cast<int32_t>(all.size()));
    if (!all.empty()) {
        EXPECT_EQ(adt_dlist_end(of), before);
    }
    return all;
}

void date_beyond_2038(const std::string& path) {
    const timespec dates[] = {{.tv_sec = 2208988800, .tv_nsec = 0}, {.tv_sec = 2208988800, .tv_nsec = 0}};
    EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), dates, 0), 0);
}

} // namespace index_bytes
