// The folder that the benchmarks work in: ./lib with the plain-file modules, and files composed on demand.
#pragma once

#include <string>
#include <vector>

namespace bench {

// Makes the folder, changes to it and starts the layer. The folder is removed when the process ends.
void enter_workspace();

// Composes a file once per process by kmr_make with these arguments, and returns its full path.
std::string composed(const std::string& name, const std::string& arguments);

// A file of `size` bytes of repeatable noise without any sync word.
std::string noise(const std::string& name, size_t size);

} // namespace bench
