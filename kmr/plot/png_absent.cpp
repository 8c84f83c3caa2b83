// Built without the library that draws SVG.
#include "kmr/plot/png.hpp"

namespace kmr::plot {

png_result png_of(std::string_view) {
    return {.problem = "built without librsvg, this program makes no .png; .svg needs nothing"};
}

} // namespace kmr::plot
