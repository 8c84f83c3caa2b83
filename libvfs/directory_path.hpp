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
    static constexpr std::size_t MOST_COMPONENTS = 8;
    static constexpr std::size_t COMPONENT_SIZE = 64; // with the terminator
    static constexpr std::size_t BASE_SIZE = 256;     // with the terminator

    bool split(const char* path);
    bool build_base();

    char components_[MOST_COMPONENTS][COMPONENT_SIZE] = {};
    std::size_t last_ = 0; // index of the last component
    char base_[BASE_SIZE] = {};
    int32_t number_ = 0;
};

} // namespace kmr
