#include "kmr/plot/canvas.hpp"

namespace kmr::plot {

void canvas::write(double x, double y, std::string_view text, const text_style& style,
                   std::string_view whole) {
    svg.begin("text").with("x", x).with("y", y).with("font-size", style.size).with("fill", style.color);
    if (style.anchor != "start")
        svg.with("text-anchor", style.anchor);
    if (style.bold)
        svg.with("font-weight", "bold");
    if (!whole.empty() && whole != text)
        svg.leaf("title", whole);
    svg.text(text).end();
}

void canvas::line(double x1, double y1, double x2, double y2, std::string_view color,
                  std::string_view dashes) {
    svg.begin("line").with("x1", x1).with("y1", y1).with("x2", x2).with("y2", y2).with("stroke", color);
    if (!dashes.empty())
        svg.with("stroke-dasharray", dashes);
    svg.end();
}

void canvas::box(double x, double y, double width, double height, std::string_view fill) {
    svg.begin("rect")
        .with("x", x)
        .with("y", y)
        .with("width", width)
        .with("height", height)
        .with("fill", fill)
        .end();
}

} // namespace kmr::plot
