// At size 10 an "m" takes 9.8; beside a line stand 4 pixels, between two texts 10.
#include "kmr/plot/tag_labels.hpp"

#include <gtest/gtest.h>

namespace {

using kmr::plot::place_tags;
using kmr::plot::tag_labels;
using kmr::plot::time_scale;
using kmr::scan::tag;

constexpr time_scale scale{.from_ms = 0, .to_ms = 100000, .left = 100, .right = 600}; // 5 pixels a second
constexpr int64_t start_ms = 1420167845500;

tag tag_at(uint32_t seconds, const std::string& text) {
    return {.record = 0, .time = 1420167845 + seconds, .text = text};
}

TEST(TagLabelsTest, StandWhereTheirTimeIs) {
    const tag_labels placed = place_tags({tag_at(40, "b"), tag_at(21, "a")}, scale, start_ms, 10);
    ASSERT_EQ(placed.labels.size(), 2U);
    EXPECT_EQ(placed.labels[0].text, "a");
    EXPECT_DOUBLE_EQ(placed.labels[0].x, 202.5); // 20.5 s behind the start
    EXPECT_DOUBLE_EQ(placed.labels[1].x, 297.5);
    EXPECT_TRUE(placed.labels[0].is_shown && placed.labels[1].is_shown);
    EXPECT_EQ(placed.rows, 1U);
    EXPECT_EQ(placed.without_text, 0U);
}

// A time is a whole second, cut off: the first one lies half a second in front of the start.
TEST(TagLabelsTest, StandAtTheEndWhereTheyLieOutside) {
    const tag_labels placed = place_tags({tag_at(0, "a"), tag_at(5000, "b")}, scale, start_ms, 10);
    EXPECT_DOUBLE_EQ(placed.labels[0].x, 100);
    EXPECT_DOUBLE_EQ(placed.labels[1].x, 600);
    EXPECT_FALSE(placed.labels[0].in_front);
    EXPECT_TRUE(placed.labels[1].in_front);
}

// Each text is 58.8 long, and takes 62.8 from its line on; the lines stand 10 apart.
TEST(TagLabelsTest, NeverLieOnEachOther) {
    std::vector<tag> tags;
    for (uint32_t second = 0; second < 20; second += 2)
        tags.push_back(tag_at(second, "mmmmmm"));
    const tag_labels placed = place_tags(tags, scale, 1420167845000, 10);
    const size_t rows[] = {0, 1, 2};
    for (size_t label = 0; label < 10; ++label) {
        const bool shown =
            label < 3 || label > 7; // at 172.8 the first row is free again: the ninth stands at 180
        EXPECT_EQ(placed.labels[label].is_shown, shown) << label;
        if (label < 3) {
            EXPECT_EQ(placed.labels[label].row, rows[label]);
        }
    }
    EXPECT_EQ(placed.labels[8].row, 0U);
    EXPECT_EQ(placed.labels[9].row, 1U);
    EXPECT_EQ(placed.rows, 3U);
    EXPECT_EQ(placed.without_text, 5U);
}

TEST(TagLabelsTest, AreShortenedAndKnowTheirWholeText) {
    const std::string text(40, 'm');
    const tag_labels placed = place_tags({tag_at(5, text)}, scale, start_ms, 10);
    EXPECT_EQ(placed.labels[0].text, std::string(16, 'm') + "\u2026"); // 16 x 9.8 + 10 of 170
    EXPECT_EQ(placed.labels[0].whole, text);
}

TEST(TagLabelsTest, OfNoTagsAreNone) {
    EXPECT_EQ(place_tags({}, scale, start_ms, 10).rows, 0U);
}

} // namespace
