// The calls of the two modules: counted, disturbed, and handed to the files in memory.
#include "tests/campaign/memory_module.hpp"

#include "libvfs/vfs_module.h"
#include "tests/campaign/memory_files.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <sys/vfs.h>

namespace memory_module {
namespace {

struct planned_fault {
    int remaining = 0; // 0: none
    fault how = fault::negative;
    bool lasts = false;
    bool met = false;
};

struct state {
    counts count;
    uint64_t most_calls = 0;
    void (*beyond)() = nullptr;
    planned_fault planned;
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

} // namespace

void reset() {
    files::reset();
    state& all = now();
    all.count = {};
    all.most_calls = 0;
    all.planned = {};
}

counts& counted() {
    return now().count;
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

void set_loadable(bool module_0, bool module_1) {
    now().loadable[0] = module_0;
    now().loadable[1] = module_1;
}

} // namespace memory_module

using namespace memory_module;

// --- the operations that both modules have ---

namespace {

int32_t do_open(int32_t, const char* path, int32_t flags) {
    return call_without_zero([&] { return files::open(path, flags); });
}
int32_t do_read(int32_t file, void* buffer, uint32_t size) {
    return moving_call(size, [&](uint32_t most) { return files::read(file, buffer, most); });
}
int32_t do_write(int32_t file, const void* buffer, uint32_t size) {
    return moving_call(size, [&](uint32_t most) { return files::write(file, buffer, most); });
}
int64_t do_seek(int32_t file, int64_t offset, int32_t origin) {
    return call_without_zero([&] { return files::seek(file, offset, origin); });
}
int32_t do_tell(int32_t file) {
    return call_without_zero([&] { return files::tell(file); });
}
int32_t do_eof(int32_t file) {
    return plain_call([&] { return files::is_at_end(file); });
}
int32_t do_close(int32_t file) {
    const int32_t result = call_without_zero([&] { return files::close(file); });
    now().count.refused_closes += result != 0;
    return result;
}
int32_t do_unlink(const char* path) {
    return call_without_zero([&] { return files::remove(path); });
}
int32_t do_stat(const char* path, vfs_stat_record* record) {
    return call_without_zero([&] { return files::stat(path, record); });
}
int32_t do_rename(const char*, const char*) {
    return plain_call([] { return 0; });
}
int32_t do_change_time(const char* path, const vfs_times* times) {
    return plain_call([&] { return files::set_times(path, *times); });
}
int32_t do_set_user_parameter(const char*, int32_t, int32_t) {
    return plain_call([] { return 0; });
}
int32_t do_fsync(int32_t file) {
    return plain_call([&] { return files::sync(file); });
}
int32_t do_fcntl(int32_t, int32_t, int32_t) {
    return plain_call([] { return 0; });
}
int32_t do_ftruncate(int32_t file, int64_t size) {
    return plain_call([&] { return files::cut(file, size); });
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
    files::sync_all();
}
// The rest between two pieces of a recording.
int usleep(unsigned) {
    return 0;
}
}
