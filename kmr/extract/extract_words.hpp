// What kmr extract tells.
#pragma once

#include "convert/extract.hpp"

#include <string>

namespace kmr::program {

// "left out 4 of 75 frames: 1 damaged, 3 behind damage up to the next I-frame; 719 bytes that are no frame"; empty:
// nothing was left out.
std::string words_for(const convert::extracted& result);

// Why there is no stream; empty: there is one, or it could not be written.
std::string why_no_stream(const convert::extracted& result);

// Behind that: with which options of kmr extract there is one; empty: with none.
std::string way_out_of(const convert::extracted& result);

} // namespace kmr::program
