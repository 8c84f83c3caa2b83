// The files that a module holds open, each known to the layer by a small number.
//
// Numbers start at 3, lowest free first, so that none can be taken for a standard stream. Every file remembers its own
// position: Seek from the start or the current position and Tell cost no system call. Calls for different files
// may run at the same time; calls for one file follow each other. A number that is not open gives -1, as does every
// failure, and the file's last_error then tells why.
#pragma once

#include <cstdint>

namespace kmr::plain {

// Opens a regular file or a device; a directory or a pipe is refused. New files get mode 0666 less the umask.
int32_t open_file(const char* host_path, int32_t flags);
int32_t close_file(int32_t file);
// Closes whatever is still open.
void close_all_files();

int32_t read_file(int32_t file, void* buffer, uint32_t count);
// A file opened with O_APPEND is written at its end, and its position is behind what was written.
int32_t write_file(int32_t file, const void* buffer, uint32_t count);
// A position before the start is refused and the old one kept; one behind the end is allowed.
int64_t seek_file(int32_t file, int64_t offset, int32_t origin);
// The low 32 bits of the position, signed.
int32_t tell_file(int32_t file);
// 1 at or behind the end of the file, else 0.
int32_t at_end_of_file(int32_t file);
int32_t sync_file(int32_t file);
// F_GETFD and F_GETFL; commands that would change the descriptor behind the module's back are refused.
int32_t control_file(int32_t file, int32_t command);
// Leaves the position as it is.
int32_t truncate_file(int32_t file, int64_t length);
// 0 for a file that is open.
int32_t require_file(int32_t file);
// The errno of the file's last failure, 0 when nothing has failed.
int32_t last_error(int32_t file);

} // namespace kmr::plain
