// The recordings that the reports are about, sound ones and one for every kind of damage, by their file names.
#pragma once

#include "tests/support/recording_bytes.hpp"

#include <map>
#include <string>

namespace recordings {

using recording::bytes;
using recording::frame;
using recording::index_record;

using table = std::map<std::string, bytes (*)()>;

const table& all();

// The parts of it.
extern const table of_headers; // file headers, counts, and files that are hardly one
extern const table of_frames;
extern const table of_indexes;
extern const table of_user_data;

// Five frames, one second apart from 2015-01-02 03:04:05 UTC; 1 and 4 are I-frames, 4 carries audio.
//
//   offset   88  frame 1, I, 132 bytes
//           220  frame 2, P, 92
//           312  frame 3, P, 92
//           404  frame 4, I, 452
//           856  frame 5, P, 92
//           948  index block of 212 bytes with 2 records; the file ends at 1160
std::vector<frame> five_frames();

// Eight frames of 132 bytes from offset 88 on; 1, 4 and 7 (at 88, 484, 880) are I-frames; the index block of 292
// bytes stands at 1144, the file ends at 1436.
bytes eight_frames();

void cut(bytes& file, size_t size);
void fill(bytes& file, size_t offset, size_t size, uint8_t value);

} // namespace recordings
