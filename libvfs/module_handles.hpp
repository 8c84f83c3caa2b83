// The modules as the dynamic loader knows them.
#pragma once

#include <cstdint>

namespace kmr {

constexpr uint32_t module_count = 2;

// The loader's handle of each module, null when it is not loaded. Written while modules are loaded, read without a lock.
extern void* module_handles[module_count];

} // namespace kmr
