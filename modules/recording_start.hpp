// The start time of a recording, which a plain file carries in its file header as a local date and time.
#pragma once

#include <cstdint>

namespace kmr::plain {

// The start time, in seconds since 1970-01-01 UTC; 0 when the file cannot be read or is no recording. A file counts
// as a recording when its first 88 bytes say at most 60 frames per second, a year of 1970 to 2105, a month of 1 to
// 12, a day of 1 to 31 and a time of day. Looking at it does not touch the file's access time where the host allows.
uint32_t recording_start(const char* host_path);

// Writes another start time into the file header, and leaves the file's own times as they were. -1 when the
// file is no recording, cannot be written, or the time is outside of 1970 to 2105; it is then unchanged.
int32_t change_recording_start(const char* host_path, int64_t start);

} // namespace kmr::plain
