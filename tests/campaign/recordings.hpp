// The files that the campaigns damage: small, and between them with all that a recording can hold.
#pragma once

#include "tests/support/recording_bytes.hpp"

#include <string>
#include <vector>

namespace recordings {

using recording::bytes;

struct composed {
    std::string name;
    bytes content;
};

// Made by the composer when they are first asked for.
const std::vector<composed>& all();
const bytes& of(const std::string& name);

// Ten records, 10 seconds apart from 100 on, one of them a picture.
const bytes& index_file();

} // namespace recordings
