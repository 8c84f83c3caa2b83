// Standard output, which every report goes to.
#pragma once

namespace kmr {

// Call once, before anything is printed. Gives standard output a large buffer, unless somebody is watching it at a
// terminal, since small libcs write a report in pieces of a kilobyte. From here on a reader that goes away shows as a
// failed write and does not kill the program.
void prepare_standard_output();

// Writes what is still in the buffer. When the report did not get out as a whole, to a reader that went away or
// to a disk that is full, one line on standard error says so.
void finish_standard_output();

} // namespace kmr
