// Heap memory that frees itself and whose failed allocation is a null pointer, never an exception.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace kmr {

struct heap_free {
    void operator()(void* memory) const { std::free(memory); }
};

// An array of trivial elements from the C heap, so that it may be handed to C callers who use free().
template <typename Element>
using heap_array = std::unique_ptr<Element[], heap_free>;

using heap_bytes = heap_array<uint8_t>;

// `count` uninitialised elements; null when there is no memory.
template <typename Element>
[[nodiscard]] heap_array<Element> allocate_array(size_t count) {
    if (count > SIZE_MAX / sizeof(Element))
        return nullptr;
    return heap_array<Element>(static_cast<Element*>(std::malloc(count * sizeof(Element))));
}

[[nodiscard]] inline heap_bytes allocate_bytes(size_t size) {
    return allocate_array<uint8_t>(size);
}

} // namespace kmr
