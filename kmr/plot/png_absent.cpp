// Built without the library that draws SVG.
#include "kmr/plot/png.hpp"

namespace kmr::plot {

std::string why_no_png() {
    return "built without librsvg, this program makes no .png; .svg needs nothing";
}

png_result png_of(std::string_view) {
    return {.problem = why_no_png()};
}

} // namespace kmr::plot
