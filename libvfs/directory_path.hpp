// Taking apart the path of a module 0 directory.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kmr {

// "/dev/sda1/3" is the directory 3 below "/dev/sda1/".
class directory_path {
public:
    // False when the path has 8 or more '/', a component of more than 63 characters, or too long a base path.
    [[nodiscard]] bool parse(const char* path);

    const char* base() const { return base_; }
    int32_t number() const { return number_; } // 0 for a last component that is no number

private:
    static constexpr size_t most_components = 8;
    static constexpr size_t component_size = 64; // with the terminator
    static constexpr size_t base_size = 256;     // with the terminator

    bool split(const char* path);
    bool build_base();

    char components_[most_components][component_size] = {};
    size_t last_ = 0; // index of the last component
    char base_[base_size] = {};
    int32_t number_ = 0;
};

} // namespace kmr
