// What is wrong with the arguments, in words for the person who gave them.
#pragma once

#include <stdexcept>

namespace compose {

struct usage_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace compose
