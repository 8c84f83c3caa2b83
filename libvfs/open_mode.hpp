// The mode text of vfs_fopen.
#pragma once

#include <cstdint>
#include <optional>

namespace kmr {

// The open flags that a mode stands for; nothing for a mode that is null, too long or unknown.
std::optional<int32_t> open_flags(const char* mode);

} // namespace kmr
