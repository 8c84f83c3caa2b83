// A picture in SVG as one of pixels, by a library that is looked for when it is needed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kmr::plot {

struct png_result {
    std::string bytes = {};
    std::string problem = {}; // empty: there is a picture
};

png_result png_of(std::string_view svg);

} // namespace kmr::plot
