// The memory that the C++ library hands out, counted from the making of this on. One at a time.
#pragma once

#include <cstddef>

namespace fuzz {

class memory_in_use {
public:
    memory_in_use();
    memory_in_use(const memory_in_use&) = delete;
    memory_in_use& operator=(const memory_in_use&) = delete;

    // The most bytes in use at any time, without those from before.
    size_t peak() const;
};

} // namespace fuzz
