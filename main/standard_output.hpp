// The buffer of standard output.
#pragma once

namespace kmr {

// Small libcs write a report in pieces of a kilobyte. Gives standard output a large buffer, unless somebody
// is watching it at a terminal. Call once, before anything is printed.
void enlarge_output_buffer();

} // namespace kmr
