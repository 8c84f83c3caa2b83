#include "tests/fakes/restless_module.hpp"

#include "libvfs/vfs_module.h"
#include "tests/support/crowd.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <unistd.h>

namespace restless_module {
namespace {

constexpr int32_t most_files = 1 << 22;
constexpr int64_t calls_between_sleeps = 61;
constexpr useconds_t longest_sleep = 40; // microseconds

constexpr uint32_t not_open = UINT32_MAX;

// The number in the path of every file that was ever opened: a file number is never given twice, and belongs to whoever
// has the descriptor. Not atomic, so that two threads on one file are seen.
uint32_t files[most_files];
std::atomic<int32_t> next_file = 0;

crowd::tally opened, closed, misdirected, all_calls, all_refusals;
std::array<crowd::tally, operation_count> seen;
std::array<std::atomic<int>, operation_count> refuses_every;
std::atomic<void (*)(operation)> looking = nullptr;
bool loadable[2] = {true, true};
thread_local int refused_here = 0;

// What happens in every call. Whether it is refused.
bool visit(operation what) {
    const auto kind = static_cast<size_t>(what);
    if (auto* const look = looking.load(std::memory_order_relaxed))
        look(what);
    const int64_t call = all_calls.add();
    if (call % calls_between_sleeps == 0)
        usleep(static_cast<useconds_t>(call) % longest_sleep);
    const int64_t nth = seen[kind].add();
    const int every = refuses_every[kind].load(std::memory_order_relaxed);
    if (every == 0 || nth % every != 0)
        return false;
    all_refusals.add();
    ++refused_here;
    return true;
}

bool is_open(int32_t file) {
    const bool open = file >= 0 && file < most_files && files[file] != not_open;
    misdirected.add(open ? 0 : 1);
    return open;
}

int32_t do_open(int32_t, const char* path, int32_t) {
    if (visit(operation::open))
        return -1;
    const int32_t file = next_file.fetch_add(1, std::memory_order_relaxed);
    if (file >= most_files) {
        std::fputs("restless_module: too many files\n", stderr);
        std::abort();
    }
    files[file] = number_in(path);
    opened.add();
    return file;
}

int32_t do_read(int32_t file, void* buffer, uint32_t size) {
    if (visit(operation::read) || !is_open(file))
        return -1;
    for (uint32_t at = 0; at + sizeof files[file] <= size; at += sizeof files[file])
        std::memcpy(static_cast<uint8_t*>(buffer) + at, &files[file], sizeof files[file]);
    return static_cast<int32_t>(size);
}

int32_t do_close(int32_t file) {
    if (visit(operation::close) || !is_open(file))
        return -1;
    files[file] = not_open;
    closed.add();
    return 0;
}

// The call on an open file that has nothing to do.
template <typename Result, typename... Arguments>
Result on_file(int32_t file, Arguments...) {
    return visit(operation::other) || !is_open(file) ? -1 : 0;
}

int32_t do_stat(const char*, vfs_stat_record* record) {
    if (visit(operation::stat))
        return -1;
    record->Size = 5000;
    return 0;
}

template <typename... Arguments>
int32_t on_path(const char*, Arguments...) {
    return visit(operation::other) ? -1 : 0;
}

int32_t do_scan_directory(const char*, vfs_scan_entry*** list) {
    *list = nullptr;
    return visit(operation::other) ? -1 : 0;
}

int32_t handle_of_module_1 = -1;

void* do_open_directory(const char*) {
    return visit(operation::directory) ? nullptr : &handle_of_module_1;
}

int32_t do_close_directory(void*) {
    return visit(operation::other) ? -1 : 0;
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
    {"Write", address_of(on_file<int32_t, const void*, uint32_t>)},
    {"Seek", address_of(on_file<int64_t, int64_t, int32_t>)},
    {"Tell", address_of(on_file<int32_t>)},
    {"Eof", address_of(on_file<int32_t>)},
    {"Close", address_of(do_close)},
    {"Unlink", address_of(on_path<>)},
    {"Stat", address_of(do_stat)},
    {"Rename", address_of(on_path<const char*>)},
    {"ChangeTime", address_of(on_path<const vfs_times*>)},
    {"SetUsrParam", address_of(on_path<int32_t, int32_t>)},
    {"fsync", address_of(on_file<int32_t>)},
    {"fcntl", address_of(on_file<int32_t, int32_t, int32_t>)},
    {"ftruncate", address_of(on_file<int32_t, int64_t>)},
    {"Format", address_of(on_path<>)},
    {"Statfs", address_of(on_path<struct statfs*>)},
    {"error", address_of(on_file<int32_t>)},
    {"ScanDir", address_of(do_scan_directory)},
    {"OpenDir", address_of(do_open_directory)},
    {"CloseDir", address_of(do_close_directory)},
};

// How much was tried, for scripts/threads to show.
struct summary {
    ~summary() {
        std::printf("modules that sleep and refuse: %lld calls, %lld of them refused\n",
                    static_cast<long long>(all_calls.get()), static_cast<long long>(all_refusals.get()));
    }
} at_the_end;

int handles[2]; // their addresses are what the loader hands out

} // namespace

void reset() {
    std::fill(files, files + std::min(next_file.load(), most_files), not_open);
    next_file = 0;
    for (crowd::tally* each : {&opened, &closed, &misdirected})
        each->clear();
    for (size_t kind = 0; kind < operation_count; ++kind) {
        seen[kind].clear();
        refuses_every[kind] = 0;
    }
    looking = nullptr;
    set_loadable(true, true);
}

void refuse(operation what, int every) {
    refuses_every[static_cast<size_t>(what)] = every;
}

int refused_to_me() {
    return refused_here;
}

void set_look(void (*look)(operation)) {
    looking = look;
}

void set_loadable(bool module_0, bool module_1) {
    loadable[0] = module_0;
    loadable[1] = module_1;
}

int64_t open_files() {
    return opened.get() - closed.get();
}

int64_t misdirected_calls() {
    return misdirected.get();
}

uint32_t number_in(const char* path) {
    const char* const slash = std::strrchr(path, '/');
    return static_cast<uint32_t>(std::strtoul(slash == nullptr ? path : slash + 1, nullptr, 10));
}

} // namespace restless_module

using namespace restless_module;

extern "C" {

// --- what module 0 has alone ---

void znfs_Init(int32_t) {
    visit(operation::other);
}
int32_t znfs_Mount(const char* path) {
    return on_path<>(path);
}
void znfs_DeInit(void) {}
int32_t znfs_ChangeCreateTime(const char* path, int64_t) {
    return on_path<>(path);
}
int32_t znfs_ChangeRecType(const char* path, int32_t, int32_t) {
    return on_path<>(path);
}
int32_t znfs_UpdataePreRecPtr(int32_t file, int32_t, int32_t) {
    return on_file<int32_t>(file);
}
int32_t znfs_Lock(const char* path, int32_t) {
    return on_path<>(path);
}
int32_t znfs_GetUsedBlockNum(const char*) {
    return visit(operation::other) ? -1 : 2;
}
int32_t znfs_GetBlockInfo(const char*, vfs_block_record* blocks, int32_t length) {
    if (visit(operation::other))
        return -1;
    for (int32_t i = 0; i < length; ++i)
        blocks[i] = {static_cast<uint32_t>(i), 0, static_cast<uint32_t>(i), {}};
    return length;
}
int32_t znfs_GetFileNum(const char*, int32_t directory) {
    return visit(operation::file_count) ? -1 : directory % 3 + 1;
}
int32_t znfs_BlockStat(const char*, int32_t directory, vfs_directory_record* records, int32_t length) {
    if (visit(operation::directory))
        return -1;
    for (int32_t i = 0; i < length; ++i)
        std::memcpy(&records[i], &directory, sizeof directory);
    return length;
}

// --- in place of the platform's own ---

void* __wrap_dlopen(const char* path, int) {
    const bool is_module_1 = std::strstr(path, "libsznfs") != nullptr;
    return visit(operation::load) || !loadable[is_module_1] ? nullptr : &handles[is_module_1];
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
}
