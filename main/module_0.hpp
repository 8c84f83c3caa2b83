// Which library the program's direct calls of module 0 go to.
#pragma once

namespace kmr {

// The layer loads module 0 from ./lib; the program's own calls go to the library that the loader chose when the program
// started. Some loaders let LD_LIBRARY_PATH choose before the program's own list of folders. Where that led to another
// library than the program's list does, the program is started anew with its own folder in front of that variable, and
// this does not return. Call first of all, before anything is printed.
void use_own_module_0(char** argv);

} // namespace kmr
