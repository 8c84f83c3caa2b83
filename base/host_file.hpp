// A file of the host, opened with the platform's own calls, that closes itself.
#pragma once

#include <cstdio>
#include <memory>

namespace kmr {

struct host_file_close {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

using host_file = std::unique_ptr<std::FILE, host_file_close>;

// Null when the file cannot be opened. Files beyond 2 GiB open on 32-bit machines too.
[[nodiscard]] inline host_file open_host_file(const char* path, const char* mode) {
    return host_file(fopen64(path, mode));
}

} // namespace kmr
