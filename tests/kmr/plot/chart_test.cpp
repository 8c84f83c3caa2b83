// Parts of a chart on their own, ten pixels to the second: from 100 to 200, and from 50 down to 150.
#include "kmr/plot/chart.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kmr::plot::canvas;
using kmr::plot::chart_place;
using kmr::plot::gathered_frames;
using kmr::plot::lane;
using kmr::plot::mark;
using kmr::scan::finding_code;
using testing::HasSubstr;
using testing::Not;

const chart_place place = {
    .scale = {.from_ms = 0, .to_ms = 10000, .left = 100, .right = 200}, .top = 50, .bottom = 150};

std::string gaps(const std::vector<mark>& stretches, const std::vector<mark>& others = {},
                 finding_code of_others = finding_code::frames_lost) {
    std::string svg;
    canvas on(svg);
    std::vector<lane> lanes(2);
    lanes[0].code = finding_code::bytes_torn;
    lanes[0].marks = stretches;
    lanes[1].code = of_others;
    lanes[1].marks = others;
    kmr::plot::draw_gaps(on, lanes, place);
    return svg;
}

std::string band(const std::string& from, const std::string& width, const std::string& pattern = "missing") {
    return "<rect x=\"" + from + "\" y=\"50\" width=\"" + width + "\" height=\"100\" fill=\"url(#" + pattern +
           ")\"/>";
}

size_t bands(const std::string& svg) {
    size_t count = 0;
    for (size_t at = svg.find("<rect"); at != std::string::npos; at = svg.find("<rect", at + 1))
        ++count;
    return count;
}

TEST(ChartTest, WhatHasNoLengthIsNoBand) {
    EXPECT_EQ(gaps({{1000, 1000}, {2000, 1000}}), "");
}

TEST(ChartTest, AStretchIsOneBandHoweverOftenItIsFound) {
    EXPECT_THAT(gaps({{1000, 3000}}), HasSubstr(band("110", "20")));
    EXPECT_EQ(bands(gaps({{1000, 3000}}, {{1000, 3000}})), 1U);
    EXPECT_EQ(bands(gaps({{1000, 3000}}, {{1500, 2500}})), 1U);
}

TEST(ChartTest, BandsDoNotLieOnEachOther) {
    const std::string svg = gaps({{3000, 5000}}, {{1000, 4000}});
    EXPECT_THAT(svg, HasSubstr(band("110", "30")));
    EXPECT_THAT(svg, HasSubstr(band("140", "10")));
    const std::string both = gaps({{1000, 4000}}, {{3000, 5000}}, finding_code::paused);
    EXPECT_THAT(both, HasSubstr(band("110", "30")));
    EXPECT_THAT(both, HasSubstr(band("130", "20", "pause")));
}

// One of a few milliseconds is as wide as can be seen, but no further than the chart.
TEST(ChartTest, AShortBandCanBeSeen) {
    EXPECT_THAT(gaps({{1000, 1001}}), HasSubstr(band("110", "1.5")));
    EXPECT_THAT(gaps({{9900, 10000}}), HasSubstr(band("199", "1")));
    EXPECT_EQ(bands(gaps({{0, 9950}}, {{9940, 10000}})), 1U); // half a pixel is left
}

TEST(ChartTest, WithoutFramesThereIsAnAxisAndNoArea) {
    std::string svg;
    canvas on(svg);
    kmr::plot::draw_rates(on, gathered_frames(), place);
    EXPECT_THAT(svg, HasSubstr(">0</text>"));
    EXPECT_THAT(svg, Not(HasSubstr("<path")));
}

} // namespace
