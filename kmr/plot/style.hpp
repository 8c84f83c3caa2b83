// Colours and sizes of a picture: for white paper, and told apart without colours too.
#pragma once

#include "scan/finding.hpp"

#include <cstddef>
#include <string_view>

namespace kmr::plot {

inline constexpr double text_size = 12;
inline constexpr double small_text_size = 11;
inline constexpr double title_size = 16;

inline constexpr std::string_view ink = "#1a1a1a";
inline constexpr std::string_view faint_ink = "#4d4d4d";
inline constexpr std::string_view grid_color = "#d9d9d9";
inline constexpr std::string_view axis_color = "#808080";
inline constexpr std::string_view i_color = "#17457a";
inline constexpr std::string_view p_color = "#9ec5e8";

// Of a severity; how a marker is filled tells it as well.
struct severity_style {
    std::string_view color;
    bool filled;
    double line_width;
};

inline const severity_style& style_of(scan::severity level) {
    static constexpr severity_style styles[] = {
        {"#b00020", true, 1.2}, {"#a85400", false, 1.8}, {"#3c6591", false, 1}};
    return styles[static_cast<size_t>(level)];
}

} // namespace kmr::plot
