// What the parts of a picture are drawn on: the writer, and the few figures that they all are made of.
#pragma once

#include "kmr/plot/style.hpp"
#include "kmr/plot/svg_writer.hpp"

#include <string_view>

namespace kmr::plot {

struct text_style {
    double size = small_text_size;
    std::string_view color = ink;
    std::string_view anchor = "start"; // "start", "middle", "end"
    bool bold = false;
};

class canvas {
public:
    explicit canvas(std::string& to) : svg(to) {}

    // `whole` is told where the text is shortened.
    void write(double x, double y, std::string_view text, const text_style& style = {},
               std::string_view whole = {});
    void line(double x1, double y1, double x2, double y2, std::string_view color,
              std::string_view dashes = {});
    void box(double x, double y, double width, double height, std::string_view fill);

    svg_writer svg;
};

} // namespace kmr::plot
