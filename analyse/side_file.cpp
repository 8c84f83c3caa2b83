#include "analyse/side_file.h"

#include "base/host_file.hpp"

#include <cstring>

std::int32_t myReadFile(const char* path, std::int32_t* value) {
    const kmr::host_file file = kmr::open_host_file(path, "r");
    if (!file)
        return -1;
    return std::fscanf(file.get(), "%d\n", value);
}

std::int32_t myWriteFile(const char* path, std::int32_t value) {
    const kmr::host_file file = kmr::open_host_file(path, "w+");
    if (!file)
        return -1;
    char text[128]{};
    std::snprintf(text, sizeof text, "%d\n", value);
    return static_cast<std::int32_t>(std::fwrite(text, std::strlen(text), 1, file.get()));
}
