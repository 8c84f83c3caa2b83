// A module 0 whose block functions say what a test wants them to say, linked into the program in place of a library.
#pragma once

#include "libvfs/vfs.h"

#include <string>
#include <vector>

struct scripted_module_0 {
    std::vector<std::string> calls;
    int32_t file_count = 0;
    int32_t block_stat_result = 0;
    int32_t used_blocks = 0;
    int32_t block_info_result = 0;
    std::vector<vfs_block_record> blocks;
};

extern scripted_module_0 script;
