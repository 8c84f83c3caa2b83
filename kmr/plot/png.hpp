// A picture in SVG as one of pixels, by a library that is looked for when it is needed.
#pragma once

#include <string>
#include <string_view>

namespace kmr::plot {

struct png_result {
    std::string bytes = {};
    std::string problem = {}; // empty: there is a picture
};

// Why there can be none, to be asked before long work is done for nothing; empty: nothing is known against it.
std::string why_no_png();

png_result png_of(std::string_view svg);

} // namespace kmr::plot
