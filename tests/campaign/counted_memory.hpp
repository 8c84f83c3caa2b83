// The memory that the product asks the C library for: counted, and refused on command. The linker leads the product's
// calls here; those of the C and C++ libraries themselves go past.
#pragma once

#include <cstddef>

namespace counted_memory {

// The nth request from now (1-based), and every later one where it lasts, gets nothing.
void refuse(int nth, bool lasts);
void refuse_nothing();
// Whether a request has been refused since the last call of refuse.
bool has_refused();

size_t blocks_in_use();
size_t bytes_in_use();
// The most bytes in use at any time since the last call of this.
size_t take_peak();

} // namespace counted_memory
