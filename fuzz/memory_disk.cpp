#include "fuzz/memory_disk.hpp"

#include "file_op/open_table.h"
#include "fuzz/memory_host.hpp"
#include "libvfs/vfs.h"
#include "tests/campaign/memory_module.hpp"

#include <algorithm>

namespace fuzz {
namespace {

constexpr uint64_t patience = 20'000; // calls

void beyond() {
    expect(false, "no more calls of a module than the bound allows");
}

bool is_free(pthread_mutex_t& lock) {
    if (pthread_mutex_trylock(&lock) != 0)
        return false;
    pthread_mutex_unlock(&lock);
    return true;
}

void expect_nothing_left() {
    expect(std::all_of(std::begin(g_stvfile), std::end(g_stvfile),
                       [](const vfs_file& entry) { return entry.pMdlOps == nullptr; }),
           "the layer has nothing open");
    expect(memory_module::open_files() == 0, "nothing is open in the module");
    expect(std::none_of(std::begin(tOpenFile), std::end(tOpenFile),
                        [](const rec_open_entry& entry) { return entry.uiInUse != 0; }),
           "the table of recordings is empty");
    expect(is_free(vfs_fd_tLock) && is_free(g_tFileLock), "no lock is held");
}

} // namespace

memory_disk::memory_disk(const bytes& recording, const work_bound::bound& bound) : bound_(bound) {
    [[maybe_unused]] static const int32_t started = vfs_Init();
    memory_host::reset();
    memory_module::reset();
    memory_module::put(path, recording);
    memory_module::limit(bound.calls, beyond);
}

memory_disk::~memory_disk() {
    expect(memory_module::counted().bytes_read <= bound_.bytes,
           "no more bytes are read than the bound allows");
    expect_nothing_left();
}

const bytes& memory_disk::content() const {
    return *memory_module::find(path);
}

bool is_too_much(const work_bound::bound& bound) {
    return bound.calls > patience;
}

} // namespace fuzz
