#include "analyse/side_file.h"

#include "base/host_file.hpp"

#include <cstring>

int32_t myReadFile(const char* path, int32_t* value) {
    const kmr::host_file file = kmr::open_host_file(path, "r");
    if (!file)
        return -1;
    // A number that needs more than 32 bits is kept to its low ones; what "%d" makes of it differs between libcs.
    long long number = 0;
    const int32_t items = std::fscanf(file.get(), "%lld\n", &number);
    if (items == 1)
        *value = static_cast<int32_t>(number);
    return items;
}

int32_t myWriteFile(const char* path, int32_t value) {
    const kmr::host_file file = kmr::open_host_file(path, "w+");
    if (!file)
        return -1;
    char text[128]{};
    std::snprintf(text, sizeof text, "%d\n", value);
    return static_cast<int32_t>(std::fwrite(text, std::strlen(text), 1, file.get()));
}
