// Files of the host, by the names under which the product opens them in the working directory: "EndFrame", "Diff" and
// "Index.dat". They stand in memory.
#pragma once

#include "fuzz/target.hpp"

#include <cstdio>

namespace fuzz::memory_host {

void reset();
void put(const char* name, input content);
const bytes* find(const char* name);
// Seeks since the last reset, and bytes read.
uint64_t seeks();
uint64_t bytes_read();

} // namespace fuzz::memory_host

// In place of the platform's own, where the build leads the product's sources here.
extern "C" {
std::FILE* memory_fopen64(const char* path, const char* mode);
int memory_fseeko64(std::FILE* file, int64_t offset, int origin);
}
