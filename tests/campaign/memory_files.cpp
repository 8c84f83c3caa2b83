// The files in memory and what is open of them; no call is counted or disturbed here.
#include "tests/campaign/memory_files.hpp"

#include "tests/campaign/memory_module.hpp"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <map>

namespace memory_module {
namespace {

struct stored_file {
    bytes content;
    vfs_times times = {1'100'000'000, 1'000'000'000};
};

struct open_file {
    stored_file* file = nullptr; // null: the number is free
    std::string path;
    int64_t position = 0;
};

struct state {
    std::map<std::string, stored_file> files;
    std::vector<open_file> open;
    std::vector<change> changes;
    bool writes_down = false;
};

// Never destroyed: the product shuts its module down while the process ends.
state& now() {
    static auto* const kept = new state;
    return *kept;
}

open_file* opened(int32_t number) {
    auto& open = now().open;
    if (number < 0 || static_cast<size_t>(number) >= open.size())
        return nullptr;
    open_file& entry = open[static_cast<size_t>(number)];
    return entry.file != nullptr ? &entry : nullptr;
}

stored_file* stored(const char* path) {
    const auto found = now().files.find(path);
    return found == now().files.end() ? nullptr : &found->second;
}

void remember(change what) {
    if (now().writes_down)
        now().changes.push_back(std::move(what));
}

} // namespace

namespace files {

void reset() {
    now() = {};
}

int32_t open(const char* path, int32_t flags) {
    stored_file* file = stored(path);
    if (file == nullptr && (flags & O_CREAT) != 0)
        file = &now().files[path];
    if (file == nullptr)
        return -1;
    auto& open = now().open;
    const auto place =
        std::find_if(open.begin(), open.end(), [](const auto& e) { return e.file == nullptr; });
    const auto number = static_cast<int32_t>(place - open.begin());
    if (place == open.end())
        open.emplace_back();
    open[static_cast<size_t>(number)] = {file, path, 0};
    return number;
}

int32_t read(int32_t number, void* buffer, uint32_t size) {
    open_file* const entry = opened(number);
    if (entry == nullptr)
        return -1;
    const bytes& content = entry->file->content;
    const auto length = static_cast<int64_t>(content.size());
    const auto moved = static_cast<size_t>(
        std::clamp<int64_t>(length - entry->position, 0, std::min<uint32_t>(size, INT32_MAX)));
    if (moved > 0)
        std::memcpy(buffer, content.data() + entry->position, moved);
    entry->position += static_cast<int64_t>(moved);
    counted().bytes_read += moved;
    return static_cast<int32_t>(moved);
}

int32_t write(int32_t number, const void* buffer, uint32_t size) {
    open_file* const entry = opened(number);
    if (entry == nullptr)
        return -1;
    bytes& content = entry->file->content;
    const auto at = static_cast<size_t>(entry->position);
    if (size > 0 && content.size() < at + size)
        content.resize(at + size);
    const auto* from = static_cast<const uint8_t*>(buffer);
    std::copy(from, from + size, content.begin() + static_cast<std::ptrdiff_t>(at));
    if (size > 0)
        remember({change::kind::write, entry->path, at, bytes(from, from + size)});
    entry->position += size;
    counted().bytes_written += size;
    return static_cast<int32_t>(size);
}

int64_t seek(int32_t number, int64_t offset, int32_t origin) {
    open_file* const entry = opened(number);
    if (entry == nullptr)
        return -1;
    int64_t base = 0;
    if (origin == SEEK_CUR)
        base = entry->position;
    else if (origin == SEEK_END)
        base = static_cast<int64_t>(entry->file->content.size());
    if (base + offset < 0)
        return -1;
    return entry->position = base + offset;
}

int32_t close(int32_t number) {
    open_file* const entry = opened(number);
    if (entry == nullptr)
        return -1;
    *entry = {};
    return 0;
}

int32_t cut(int32_t number, int64_t size) {
    open_file* const entry = opened(number);
    if (entry == nullptr || size < 0)
        return -1;
    entry->file->content.resize(static_cast<size_t>(size));
    remember({change::kind::cut, entry->path, static_cast<size_t>(size)});
    return 0;
}

int32_t stat(const char* path, vfs_stat_record* record) {
    const stored_file* const file = stored(path);
    if (file == nullptr)
        return -1;
    record->Size = static_cast<int64_t>(file->content.size());
    record->AccessTime = static_cast<uint32_t>(file->times.AccessTime);
    record->ModifyTime = static_cast<uint32_t>(file->times.ModifyTime);
    record->Channel = 7;
    record->StartTime = 5000;
    return 0;
}

int32_t tell(int32_t number) {
    const open_file* const entry = opened(number);
    return entry == nullptr ? -1 : static_cast<int32_t>(entry->position);
}

int32_t is_at_end(int32_t number) {
    const open_file* const entry = opened(number);
    if (entry == nullptr)
        return -1;
    return entry->position >= static_cast<int64_t>(entry->file->content.size()) ? 1 : 0;
}

int32_t sync(int32_t number) {
    const open_file* const entry = opened(number);
    if (entry == nullptr)
        return -1;
    remember({change::kind::sync, entry->path});
    return 0;
}

void sync_all() {
    remember({change::kind::sync, ""});
}

int32_t set_times(const char* path, const vfs_times& times) {
    stored_file* const file = stored(path);
    if (file == nullptr)
        return -1;
    file->times = times;
    return 0;
}

int32_t remove(const char* path) {
    return now().files.erase(path) == 1 ? 0 : -1;
}

} // namespace files

bytes& put(const std::string& path, const bytes& content) {
    stored_file& file = now().files[path];
    file = {content};
    return file.content;
}

const bytes* find(const std::string& path) {
    const stored_file* const file = stored(path.c_str());
    return file == nullptr ? nullptr : &file->content;
}

int open_files() {
    const auto& open = now().open;
    return static_cast<int>(
        std::count_if(open.begin(), open.end(), [](const auto& entry) { return entry.file != nullptr; }));
}

std::vector<change>& changes() {
    return now().changes;
}

void write_down(bool wanted) {
    now().writes_down = wanted;
}

} // namespace memory_module
