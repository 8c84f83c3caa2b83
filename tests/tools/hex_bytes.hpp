// Bytes written out in hexadecimal, as a person works them out.
#pragma once

#include "tests/support/recording_bytes.hpp"

#include <string>

// Blanks may stand anywhere between the bytes.
recording::bytes hex(const std::string& digits);
