// The analysis as the program runs it.
#pragma once

#include <cstdint>

namespace kmr {

// Banner, file name, help text, parameter line, the report of the recording and the time that it took.
void run_analysis(const char* program, const char* recording, uint32_t option_word);

} // namespace kmr
