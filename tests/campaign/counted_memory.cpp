#include "tests/campaign/counted_memory.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <unordered_map>

namespace {

struct state {
    std::unordered_map<void*, size_t> blocks;
    size_t bytes = 0;
    size_t peak = 0;
    int remaining = 0; // until a request is refused; 0: none is
    bool lasts = false;
    bool refused = false;
};

state& now() {
    static auto* const kept = new state;
    return *kept;
}

bool is_granted() {
    state& all = now();
    if (all.remaining == 0)
        return true;
    if (all.remaining > 1) {
        --all.remaining;
        return true;
    }
    if (!all.lasts)
        all.remaining = 0;
    all.refused = true;
    return false;
}

void* taken(void* memory, size_t size) {
    if (memory == nullptr)
        return nullptr;
    state& all = now();
    all.blocks[memory] = size;
    all.bytes += size;
    all.peak = std::max(all.peak, all.bytes);
    return memory;
}

void given_back(void* memory) {
    state& all = now();
    const auto found = all.blocks.find(memory);
    if (found == all.blocks.end())
        return;
    all.bytes -= found->second;
    all.blocks.erase(found);
}

} // namespace

namespace counted_memory {

void refuse(int nth, bool lasts) {
    now().remaining = nth;
    now().lasts = lasts;
    now().refused = false;
}

void refuse_nothing() {
    now().remaining = 0;
}

bool has_refused() {
    return now().refused;
}

size_t blocks_in_use() {
    return now().blocks.size();
}

size_t bytes_in_use() {
    return now().bytes;
}

size_t take_peak() {
    const size_t peak = now().peak;
    now().peak = now().bytes;
    return peak;
}

} // namespace counted_memory

extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* memory, size_t size);
int __real_posix_memalign(void** memory, size_t alignment, size_t size);
void __real_free(void* memory);

void* __wrap_malloc(size_t size) {
    return is_granted() ? taken(__real_malloc(size), size) : nullptr;
}

void* __wrap_calloc(size_t count, size_t size) {
    return is_granted() ? taken(__real_calloc(count, size), count * size) : nullptr;
}

// For a moment both blocks may be in use.
void* __wrap_realloc(void* memory, size_t size) {
    if (!is_granted())
        return nullptr;
    state& all = now();
    all.peak = std::max(all.peak, all.bytes + size);
    given_back(memory);
    return taken(__real_realloc(memory, size), size);
}

int __wrap_posix_memalign(void** memory, size_t alignment, size_t size) {
    if (!is_granted())
        return ENOMEM;
    const int result = __real_posix_memalign(memory, alignment, size);
    if (result == 0)
        taken(*memory, size);
    return result;
}

void __wrap_free(void* memory) {
    given_back(memory);
    __real_free(memory);
}
}
