// The directory handles of module 0, for the layer's own sources.
#pragma once

namespace kmr {

void clear_directories();

} // namespace kmr
