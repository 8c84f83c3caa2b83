// Text and numbers on their way into a picture.
#include "kmr/plot/svg_writer.hpp"
#include "kmr/plot/text_width.hpp"

#include <gtest/gtest.h>

namespace {

using kmr::plot::shortened;
using kmr::plot::shortened_in_front;
using kmr::plot::svg_writer;
using kmr::plot::text_width;

std::string coordinate(double value) {
    std::string to;
    kmr::plot::append_coordinate(to, value);
    return to;
}

TEST(SvgWriterTest, WritesElements) {
    std::string to;
    svg_writer svg(to);
    svg.begin("g").with("x", 1.25).with("class", "a").begin("path").end().leaf("title", "a<b").end();
    EXPECT_EQ(to, "<g x=\"1.3\" class=\"a\">\n<path/>\n<title>a&lt;b</title>\n</g>\n");
}

TEST(SvgWriterTest, LetsNoTextBecomeMarkup) {
    std::string to;
    svg_writer svg(to);
    svg.begin("text").with("id", "\"><script>'&").text("</text><script>alert(1)</script>\x1B\n]]>").end();
    EXPECT_EQ(to, "<text id=\"&quot;&gt;&lt;script&gt;&#39;&amp;\">&lt;/text&gt;&lt;script&gt;alert(1)"
                  "&lt;/script&gt;\\x1b\\x0a]]&gt;</text>\n");
}

TEST(SvgWriterTest, WritesOneDigitBehindThePoint) {
    EXPECT_EQ(coordinate(0), "0");
    EXPECT_EQ(coordinate(12.04), "12");
    EXPECT_EQ(coordinate(12.05), "12.1");
    EXPECT_EQ(coordinate(-0.04), "0");
    EXPECT_EQ(coordinate(-0.3), "-0.3");
    EXPECT_EQ(coordinate(800), "800");
}

// At size 10: an m takes 9.8, an i 4.2, the dots 10.
TEST(TextWidthTest, IsThatOfAWideFont) {
    EXPECT_DOUBLE_EQ(text_width("", 10), 0);
    EXPECT_DOUBLE_EQ(text_width("mi", 10), 14);
    EXPECT_DOUBLE_EQ(text_width("aA1", 10), 20.4);
    EXPECT_DOUBLE_EQ(text_width("\xC3\xBC", 10), 7.5);
    EXPECT_DOUBLE_EQ(text_width("\xE9\x97\xA8", 10), 10);
}

TEST(TextWidthTest, TextThatIsTooLongIsCutBetweenCharacters) {
    EXPECT_EQ(shortened("mmmm", 10, 39.3), "mmmm");
    EXPECT_EQ(shortened("mmmm", 10, 39), "mm\xE2\x80\xA6");
    EXPECT_EQ(shortened("\xE9\x97\xA8\xE9\x97\xA8\xE9\x97\xA8", 10, 25), "\xE9\x97\xA8\xE2\x80\xA6");
    EXPECT_EQ(shortened("mmmm", 10, 0), "\xE2\x80\xA6");
    EXPECT_EQ(shortened_in_front("mmmm", 10, 39.3), "mmmm");
    EXPECT_EQ(shortened_in_front("/iiii/mm", 10, 32), "\xE2\x80\xA6mm");
    EXPECT_EQ(shortened_in_front("mm", 10, 0), "\xE2\x80\xA6");
}

TEST(TextWidthTest, ControlCharactersAreAsLongAsTheyAreShown) {
    EXPECT_EQ(shortened("\x1B", 10, 100), "\\x1b");
    EXPECT_EQ(shortened("\xFF\xFF", 10, 30), "\\xff\xE2\x80\xA6");
}

} // namespace
