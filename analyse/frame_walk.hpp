// The walk over the frames of a recording.
#pragma once

#include "analyse/walk_context.h"

#include <cstdint>

namespace kmr {

// Walks from context.Position until quota + 1 ordinary frames have been taken into account, printing what
// g_Opt asks for. The stream time in whole seconds when the quota was used up, and context.Position is where
// the next call resumes; -1 when the walk ends on an error or at the end of the data, with the position as it was.
int32_t rec_WalkFrames(const char* name, uint32_t start_seconds, kmr_walk_context& context,
                       const int32_t* quota);

} // namespace kmr
