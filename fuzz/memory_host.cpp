#include "fuzz/memory_host.hpp"

#include "vfslist16a/host_status.hpp"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>

namespace fuzz::memory_host {
namespace {

struct state {
    std::map<std::string, bytes> files;
    uint64_t seeks = 0;
    uint64_t bytes_read = 0;
};

state& now() {
    static state kept;
    return kept;
}

} // namespace

void reset() {
    now() = {};
}

void put(const char* name, input content) {
    now().files[name].assign(content.begin(), content.end());
}

const bytes* find(const char* name) {
    const auto found = now().files.find(name);
    return found == now().files.end() ? nullptr : &found->second;
}

uint64_t seeks() {
    return now().seeks;
}

uint64_t bytes_read() {
    return now().bytes_read;
}

namespace {

// An open file of memory: it lives as long as its stream.
struct open_file {
    bytes& content;
    size_t position;
};

ssize_t read_file(void* cookie, char* to, size_t size) {
    auto& file = *static_cast<open_file*>(cookie);
    const size_t moved = std::min(size, file.content.size() - std::min(file.content.size(), file.position));
    if (moved > 0)
        std::memcpy(to, file.content.data() + file.position, moved);
    file.position += moved;
    now().bytes_read += moved;
    return static_cast<ssize_t>(moved);
}

ssize_t write_file(void* cookie, const char* from, size_t size) {
    auto& file = *static_cast<open_file*>(cookie);
    file.content.insert(file.content.end(), from, from + size);
    return static_cast<ssize_t>(size);
}

int seek_file(void* cookie, off64_t* offset, int origin) {
    auto& file = *static_cast<open_file*>(cookie);
    int64_t base = 0;
    if (origin == SEEK_CUR)
        base = static_cast<int64_t>(file.position);
    else if (origin == SEEK_END)
        base = static_cast<int64_t>(file.content.size());
    if (base + *offset < 0)
        return -1;
    *offset += base;
    file.position = static_cast<size_t>(*offset);
    return 0;
}

int close_file(void* cookie) {
    delete static_cast<open_file*>(cookie);
    return 0;
}

} // namespace
} // namespace fuzz::memory_host

using namespace fuzz::memory_host;

std::FILE* memory_fopen64(const char* path, const char* mode) {
    const bool writes = mode[0] == 'w';
    if (!writes && find(path) == nullptr)
        return nullptr;
    fuzz::bytes& content = now().files[path];
    if (writes)
        content.clear();
    return fopencookie(new open_file{content, 0}, mode,
                       {.read = read_file, .write = write_file, .seek = seek_file, .close = close_file});
}

int memory_fseeko64(std::FILE* file, int64_t offset, int origin) {
    ++now().seeks;
    return fseeko64(file, offset, origin);
}

namespace kmr {

// In place of ask_host.
bool ask_memory(const char* path, host_status& status);

bool ask_memory(const char* path, host_status& status) {
    const fuzz::bytes* const content = find(path);
    if (content == nullptr)
        return false;
    status = {};
    status.size = static_cast<int64_t>(content->size());
    return true;
}

} // namespace kmr
