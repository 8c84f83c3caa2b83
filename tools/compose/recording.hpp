// A whole recording: file header, frames, index.
#pragma once

#include "tools/compose/file_item.hpp"
#include "tools/compose/recording_plan.hpp"

#include <string>

namespace compose {

// Writes the recording to `path`; `listener` may be empty. Throws usage_error when the plan does not fit the frames,
// std::runtime_error when a file cannot be read or written; `path` is left as it was then.
void compose_recording(const recording_plan& plan, const std::string& path, const item_listener& listener);

} // namespace compose
