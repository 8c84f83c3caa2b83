// How long text is in a picture whose fonts are those of whoever looks at it.
#pragma once

#include <string>
#include <string_view>

namespace kmr::plot {

// In pixels at this size, rather too long than too short: as wide as the wider ones of the fonts without serifs are.
double text_width(std::string_view text, double size);

// Where it is too long, its beginning with dots behind it. Control characters and what is no UTF-8 count as they are
// shown, as \xhh, and stand so in what is given back.
std::string shortened(std::string_view text, double size, double room);

// The same with its end, which tells most of a path.
std::string shortened_in_front(std::string_view text, double size, double room);

} // namespace kmr::plot
