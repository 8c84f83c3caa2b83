// Pictures that the library for pixels does not draw.
#include "kmr/plot/png.hpp"

#include <gtest/gtest.h>

namespace {

using kmr::plot::png_of;
using kmr::plot::png_result;

std::string svg_of(const std::string& size) {
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\" " + size + "></svg>";
}

TEST(PngTest, DrawsAPicture) {
    EXPECT_EQ(kmr::plot::why_no_png(), "");
    const png_result png = png_of(svg_of("width=\"20\" height=\"10\""));
    EXPECT_EQ(png.problem, "");
    EXPECT_EQ(png.bytes.substr(1, 3), "PNG");
}

// No SVG, one without a size in pixels, and one that is wider than any picture.
TEST(PngTest, SaysThatItCannotDraw) {
    for (const std::string& svg :
         {std::string("nothing"), std::string(), svg_of("width=\"100%\" height=\"100%\""),
          svg_of("width=\"40000\" height=\"10\"")}) {
        const png_result png = png_of(svg);
        EXPECT_EQ(png.problem, "librsvg cannot draw it") << svg;
        EXPECT_EQ(png.bytes, "") << svg;
    }
}

} // namespace
