#include "fuzz/memory_in_use.hpp"

#include <algorithm>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {

// Signed: what was taken before may be given back now.
std::ptrdiff_t in_use;
std::ptrdiff_t most_in_use;

void* take_if_there_is(size_t size) noexcept {
    void* const memory = std::malloc(std::max<size_t>(size, 1));
    if (memory == nullptr)
        return nullptr;
    in_use += static_cast<std::ptrdiff_t>(malloc_usable_size(memory));
    most_in_use = std::max(most_in_use, in_use);
    return memory;
}

void* take(size_t size) {
    void* const memory = take_if_there_is(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void give_back(void* memory) {
    if (memory != nullptr)
        in_use -= static_cast<std::ptrdiff_t>(malloc_usable_size(memory));
    std::free(memory);
}

} // namespace

void* operator new(size_t size) {
    return take(size);
}
void* operator new[](size_t size) {
    return take(size);
}
// A sanitizer brings its own of these too, whose memory it would miss in free().
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return take_if_there_is(size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return take_if_there_is(size);
}
void operator delete(void* memory) noexcept {
    give_back(memory);
}
void operator delete[](void* memory) noexcept {
    give_back(memory);
}
void operator delete(void* memory, size_t) noexcept {
    give_back(memory);
}
void operator delete[](void* memory, size_t) noexcept {
    give_back(memory);
}

namespace fuzz {

memory_in_use::memory_in_use() {
    in_use = 0;
    most_in_use = 0;
}

size_t memory_in_use::peak() const {
    return static_cast<size_t>(most_in_use);
}

} // namespace fuzz
