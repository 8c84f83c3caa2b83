#include "libvfs/directory_path.hpp"

#include <cstdlib>
#include <cstring>

namespace kmr {

bool directory_path::parse(const char* path) {
    if (!split(path) || !build_base())
        return false;
    number_ = std::atoi(components_[last_]);
    return true;
}

bool directory_path::split(const char* path) {
    size_t length = 0;
    for (; *path != '\0'; ++path) {
        if (*path == '/') {
            if (++last_ == most_components)
                return false;
            length = 0;
        } else {
            if (length == component_size - 1)
                return false;
            components_[last_][length++] = *path;
        }
    }
    return true;
}

// Component 0 is what stands before the first '/' and never part of the base path.
bool directory_path::build_base() {
    size_t length = 0;
    base_[length++] = '/';
    for (size_t i = 1; i < last_; ++i) {
        const size_t added = std::strlen(components_[i]);
        if (length + added + 1 >= base_size)
            return false;
        std::memcpy(base_ + length, components_[i], added);
        length += added;
        base_[length++] = '/';
    }
    return true;
}

} // namespace kmr
