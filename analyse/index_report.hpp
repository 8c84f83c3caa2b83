// The I-frame index at the end of a recording: the detail that is printed of it, and the verdict that it decides.
#pragma once

#include "libvfs/vfs.h"

namespace kmr {

// The stream has just passed a header that looks like an index block's. Prints the index detail, when g_Opt
// asks for it, and the verdict. With a good trailer the stream is left wherever reading the index took it,
// otherwise where it was: the search for the next frame starts from there.
void report_index(vfs_file* file);

} // namespace kmr
