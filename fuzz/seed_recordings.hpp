// Recordings to begin with: those that the golden reports are about, and those that the campaigns compose.
#pragma once

#include "fuzz/target.hpp"

namespace fuzz {

std::vector<seed> seed_recordings();
// An index file of ten records.
bytes seed_index_file();

} // namespace fuzz
