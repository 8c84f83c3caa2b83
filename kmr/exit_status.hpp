// What the program tells a script. The highest of all files is told.
#pragma once

#include <algorithm>
#include <cstdint>

namespace kmr::program {

enum class exit_status : uint8_t {
    sound = 0,  // nothing to find fault with
    found = 1,  // something was found
    failed = 2, // wrong usage, something could not be read, or not be written
};

inline exit_status worse(exit_status one, exit_status other) {
    return std::max(one, other);
}

} // namespace kmr::program
