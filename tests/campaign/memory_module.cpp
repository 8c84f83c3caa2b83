#include "tests/campaign/memory_module.hpp"

#include "libvfs/vfs_module.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <sys/vfs.h>

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

struct planned_fault {
    int remaining = 0; // 0: none
    fault how = fault::negative;
    bool lasts = false;
    bool met = false;
};

struct state {
    std::map<std::string, stored_file> files;
    std::vector<open_file> open;
    counts count;
    uint64_t most_calls = 0;
    void (*beyond)() = nullptr;
    planned_fault planned;
    std::vector<change> changes;
    bool writes_down = false;
    bool loadable[2] = {true, true};
};

// Never destroyed: the product shuts its module down while the process ends.
state& now() {
    static auto* const kept = new state;
    return *kept;
}

void count_call() {
    state& all = now();
    ++all.count.calls;
    if (all.most_calls != 0 && all.count.calls > all.most_calls)
        all.beyond();
}

// Whether the plan concerns this call.
bool is_disturbed() {
    planned_fault& planned = now().planned;
    if (planned.remaining == 0)
        return false;
    if (planned.remaining > 1) {
        --planned.remaining;
        return false;
    }
    if (!planned.lasts)
        planned.remaining = 0;
    return true;
}

// A call that moves no bytes.
template <typename Perform>
auto plain_call(Perform perform) -> decltype(perform()) {
    using result = decltype(perform());
    count_call();
    const bool disturbed = is_disturbed();
    const fault how = now().planned.how;
    if (!disturbed || how == fault::shortened)
        return perform();
    now().planned.met = true;
    return static_cast<result>(how == fault::negative ? -1 : 0);
}

// A call whose zero is no failure: a file number, a position, a file that is there or closed.
template <typename Perform>
auto call_without_zero(Perform perform) -> decltype(perform()) {
    count_call();
    if (!is_disturbed() || now().planned.how != fault::negative)
        return perform();
    now().planned.met = true;
    return -1;
}

template <typename Perform>
int32_t moving_call(uint32_t size, Perform perform) {
    count_call();
    if (!is_disturbed())
        return perform(size);
    now().planned.met = true;
    switch (now().planned.how) {
    case fault::negative:
        return -1;
    case fault::zero:
        return 0;
    default:
        return perform(size / 2);
    }
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

int32_t open_now(const char* path, int32_t flags) {
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

int32_t read_now(int32_t number, void* buffer, uint32_t size) {
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
    now().count.bytes_read += moved;
    return static_cast<int32_t>(moved);
}

int32_t write_now(int32_t number, const void* buffer, uint32_t size) {
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
    now().count.bytes_written += size;
    return static_cast<int32_t>(size);
}

int64_t seek_now(int32_t number, int64_t offset, int32_t origin) {
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

int32_t close_now(int32_t number) {
    open_file* const entry = opened(number);
    if (entry == nullptr)
        return -1;
    *entry = {};
    return 0;
}

int32_t cut_now(int32_t number, int64_t size) {
    open_file* const entry = opened(number);
    if (entry == nullptr || size < 0)
        return -1;
    entry->file->content.resize(static_cast<size_t>(size));
    remember({change::kind::cut, entry->path, static_cast<size_t>(size)});
    return 0;
}

int32_t stat_now(const char* path, vfs_stat_record* record) {
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

} // namespace

void reset() {
    state& all = now();
    all.files.clear();
    all.open.clear();
    all.count = {};
    all.most_calls = 0;
    all.planned = {};
    all.changes.clear();
    all.writes_down = false;
}

bytes& put(const std::string& path, const bytes& content) {
    stored_file& file = now().files[path];
    file = {content};
    return file.content;
}

const bytes* find(const std::string& path) {
    const stored_file* const file = stored(path.c_str());
    return file == nullptr ? nullptr : &file->content;
}

counts& counted() {
    return now().count;
}

int open_files() {
    const auto& open = now().open;
    return static_cast<int>(
        std::count_if(open.begin(), open.end(), [](const auto& entry) { return entry.file != nullptr; }));
}

void limit(uint64_t calls, void (*beyond)()) {
    now().most_calls = calls;
    now().beyond = beyond;
}

void fail(int nth, fault how, bool lasts) {
    now().planned = {nth, how, lasts, false};
}

bool has_failed() {
    return now().planned.met;
}

void heal() {
    now().planned = {};
}

std::vector<change>& changes() {
    return now().changes;
}

void write_down(bool wanted) {
    now().writes_down = wanted;
}

void set_loadable(bool module_0, bool module_1) {
    now().loadable[0] = module_0;
    now().loadable[1] = module_1;
}

} // namespace memory_module

using namespace memory_module;

// --- the operations that both modules have ---

namespace {

int32_t do_open(int32_t, const char* path, int32_t flags) {
    return call_without_zero([&] { return open_now(path, flags); });
}
int32_t do_read(int32_t file, void* buffer, uint32_t size) {
    return moving_call(size, [&](uint32_t most) { return read_now(file, buffer, most); });
}
int32_t do_write(int32_t file, const void* buffer, uint32_t size) {
    return moving_call(size, [&](uint32_t most) { return write_now(file, buffer, most); });
}
int64_t do_seek(int32_t file, int64_t offset, int32_t origin) {
    return call_without_zero([&] { return seek_now(file, offset, origin); });
}
int32_t do_tell(int32_t file) {
    return call_without_zero([&] {
        const open_file* const entry = opened(file);
        return entry == nullptr ? -1 : static_cast<int32_t>(entry->position);
    });
}
int32_t do_eof(int32_t file) {
    return plain_call([&] {
        const open_file* const entry = opened(file);
        if (entry == nullptr)
            return -1;
        return entry->position >= static_cast<int64_t>(entry->file->content.size()) ? 1 : 0;
    });
}
int32_t do_close(int32_t file) {
    const int32_t result = call_without_zero([&] { return close_now(file); });
    now().count.refused_closes += result != 0;
    return result;
}
int32_t do_unlink(const char* path) {
    return call_without_zero([&] { return now().files.erase(path) == 1 ? 0 : -1; });
}
int32_t do_stat(const char* path, vfs_stat_record* record) {
    return call_without_zero([&] { return stat_now(path, record); });
}
int32_t do_rename(const char*, const char*) {
    return plain_call([] { return 0; });
}
int32_t do_change_time(const char* path, const vfs_times* times) {
    return plain_call([&] {
        stored_file* const file = stored(path);
        if (file == nullptr)
            return -1;
        file->times = *times;
        return 0;
    });
}
int32_t do_set_user_parameter(const char*, int32_t, int32_t) {
    return plain_call([] { return 0; });
}
int32_t do_fsync(int32_t file) {
    return plain_call([&] {
        const open_file* const entry = opened(file);
        if (entry == nullptr)
            return -1;
        remember({change::kind::sync, entry->path});
        return 0;
    });
}
int32_t do_fcntl(int32_t, int32_t, int32_t) {
    return plain_call([] { return 0; });
}
int32_t do_ftruncate(int32_t file, int64_t size) {
    return plain_call([&] { return cut_now(file, size); });
}
int32_t do_format(const char*) {
    return plain_call([] { return 0; });
}
int32_t do_statfs(const char*, struct statfs* statistics) {
    return plain_call([&] {
        *statistics = {};
        return 0;
    });
}
int32_t do_error(int32_t) {
    return plain_call([] { return 0; });
}
int32_t do_scan_directory(const char*, vfs_scan_entry*** list) {
    *list = nullptr;
    return plain_call([] { return 0; });
}
void* do_open_directory(const char*) {
    static int32_t handle_of_module_1 = -1;
    count_call();
    if (is_disturbed()) {
        now().planned.met = true;
        return nullptr;
    }
    return &handle_of_module_1;
}
int32_t do_close_directory(void*) {
    return plain_call([] { return 0; });
}

struct symbol {
    const char* operation;
    void* address;
};

template <typename Function>
void* address_of(Function* function) {
    return reinterpret_cast<void*>(function);
}

const symbol symbols[] = {
    {"Open", address_of(do_open)},
    {"Read", address_of(do_read)},
    {"Write", address_of(do_write)},
    {"Seek", address_of(do_seek)},
    {"Tell", address_of(do_tell)},
    {"Eof", address_of(do_eof)},
    {"Close", address_of(do_close)},
    {"Unlink", address_of(do_unlink)},
    {"Stat", address_of(do_stat)},
    {"Rename", address_of(do_rename)},
    {"ChangeTime", address_of(do_change_time)},
    {"SetUsrParam", address_of(do_set_user_parameter)},
    {"fsync", address_of(do_fsync)},
    {"fcntl", address_of(do_fcntl)},
    {"ftruncate", address_of(do_ftruncate)},
    {"Format", address_of(do_format)},
    {"Statfs", address_of(do_statfs)},
    {"error", address_of(do_error)},
    {"ScanDir", address_of(do_scan_directory)},
    {"OpenDir", address_of(do_open_directory)},
    {"CloseDir", address_of(do_close_directory)},
};

int handles[2]; // their addresses are what the loader hands out

} // namespace

extern "C" {

// --- what module 0 has alone ---

void znfs_Init(int32_t) {
    count_call();
}
int32_t znfs_Mount(const char*) {
    return plain_call([] { return -1; });
}
void znfs_DeInit(void) {}
int32_t znfs_ChangeCreateTime(const char*, int64_t) {
    return plain_call([] { return 0; });
}
int32_t znfs_ChangeRecType(const char*, int32_t, int32_t) {
    return plain_call([] { return 0; });
}
int32_t znfs_UpdataePreRecPtr(int32_t, int32_t, int32_t) {
    return plain_call([] { return 0; });
}
int32_t znfs_Lock(const char*, int32_t) {
    return plain_call([] { return 0; });
}
// Three blocks, and three files in every directory.
int32_t znfs_GetUsedBlockNum(const char*) {
    return plain_call([] { return 3; });
}
int32_t znfs_GetBlockInfo(const char*, vfs_block_record* blocks, int32_t length) {
    return plain_call([&] {
        const int32_t count = std::min(length, 3);
        for (int32_t i = 0; i < count; ++i)
            blocks[i] = {static_cast<uint32_t>(i), 0, static_cast<uint32_t>(9 - i), {}};
        return count;
    });
}
int32_t znfs_GetFileNum(const char*, int32_t) {
    return plain_call([] { return 3; });
}
int32_t znfs_BlockStat(const char*, int32_t, vfs_directory_record* records, int32_t length) {
    return plain_call([&] {
        const int32_t count = std::min(length, 3);
        std::memset(records, 1, static_cast<size_t>(count) * sizeof *records);
        return count;
    });
}

// --- in place of the platform's own ---

void* __wrap_dlopen(const char* path, int) {
    const bool is_module_1 = std::strstr(path, "libsznfs") != nullptr;
    return now().loadable[is_module_1] ? &handles[is_module_1] : nullptr;
}
void* __wrap_dlsym(void*, const char* name) {
    const char* const operation = std::strchr(name, '_') + 1;
    const auto* const found = std::find_if(std::begin(symbols), std::end(symbols), [&](const symbol& each) {
        return std::strcmp(each.operation, operation) == 0;
    });
    return found == std::end(symbols) ? nullptr : found->address;
}
void* __wrap___dlsym_time64(void* handle, const char* name) {
    return __wrap_dlsym(handle, name);
}

// It would wait for the disks of the machine.
void sync() {
    remember({change::kind::sync, ""});
}
// The rest between two pieces of a recording.
int usleep(unsigned) {
    return 0;
}
}
