#pragma once

#include "fuzz/target.hpp"

namespace fuzz {

void add_golden_recordings(std::vector<seed>& to);

} // namespace fuzz
