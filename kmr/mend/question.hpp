// Asks somebody at a terminal.
#pragma once

#include <cstdint>
#include <string_view>

namespace kmr::program {

enum class answer : uint8_t { yes, no, nobody }; // nobody: there is no terminal

// On the terminal that the program was started from, wherever its output goes. Anything but y or yes is a no.
answer ask(std::string_view question);

} // namespace kmr::program
