#include "kmr/output/color.hpp"
#include "kmr/output/text.hpp"

#include <gtest/gtest.h>

namespace {

using kmr::output::text;

std::string csv(std::string_view from) {
    std::string to;
    kmr::output::append_csv(to, from);
    return to;
}

std::string json(std::string_view from) {
    std::string to;
    kmr::output::append_json(to, from);
    return to;
}

std::string xml(std::string_view from) {
    std::string to;
    kmr::output::append_xml(to, from);
    return to;
}

TEST(TextTest, StaysAsItIs) {
    EXPECT_EQ(text(""), "");
    EXPECT_EQ(text("a b\\c\"d"), "a b\\c\"d");
    EXPECT_EQ(text("T\xC3\xBCr \xE9\x97\xA8 \xF0\x9F\x93\xB7"), "T\xC3\xBCr \xE9\x97\xA8 \xF0\x9F\x93\xB7");
}

TEST(TextTest, HasNoControlCharacters) {
    EXPECT_EQ(text("a\x1B[31m\n"), "a\\x1b[31m\\x0a");
    EXPECT_EQ(text(std::string_view("\0\x7F", 2)), "\\x00\\x7f");
    EXPECT_EQ(text("\xC2\x9B"), "\\xc2\\x9b");          // the one-character form of ESC [
    EXPECT_EQ(text("\xE2\x80\xAE"), "\\xe2\\x80\\xae"); // writes on from right to left
    EXPECT_EQ(text("\xD8\x9C"), "\\xd8\\x9c"); // U+061C, as the letters of Arabic have their direction
    EXPECT_EQ(text("\xE2\x80\xA8"), "\\xe2\\x80\\xa8"); // a separator of lines
}

TEST(TextTest, EscapesWhatIsNoUtf8ByteByByte) {
    EXPECT_EQ(text("\xFF\xC3"), "\\xff\\xc3");
    EXPECT_EQ(text("\xC0\xAF"), "\\xc0\\xaf");                   // longer than it need be
    EXPECT_EQ(text("\xED\xA0\x80"), "\\xed\\xa0\\x80");          // half of a pair of surrogates
    EXPECT_EQ(text("\xF4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80"); // behind the last character
    EXPECT_EQ(text("\xE9\x97z"), "\\xe9\\x97z");
}

TEST(CsvTest, QuotesWhereItMust) {
    EXPECT_EQ(csv("plain text"), "plain text");
    EXPECT_EQ(csv("a,b"), "\"a,b\"");
    EXPECT_EQ(csv("a\"b"), "\"a\"\"b\"");
    EXPECT_EQ(csv("a\nb\xFF"), "a\\x0ab\\xff");
}

TEST(XmlTextTest, HoldsNoMarkup) {
    EXPECT_EQ(xml("plain"), "plain");
    EXPECT_EQ(xml("<a b=\"c\" d='e'>&amp;"), "&lt;a b=&quot;c&quot; d=&#39;e&#39;&gt;&amp;amp;");
    EXPECT_EQ(xml("T\xC3\xBCr"), "T\xC3\xBCr");
}

TEST(XmlTextTest, HoldsNothingThatXmlDoesNotKnow) {
    EXPECT_EQ(xml("a\n\x1B\xFF\xE2\x80\xAE"), "a\\x0a\\x1b\\xff\\xe2\\x80\\xae");
    EXPECT_EQ(xml("\xEF\xBF\xBE\xEF\xBF\xBF"), "\\xef\\xbf\\xbe\\xef\\xbf\\xbf"); // U+FFFE, U+FFFF
    EXPECT_EQ(xml("\xEF\xBF\xBD"), "\xEF\xBF\xBD");                               // U+FFFD
}

TEST(JsonTextTest, EscapesInItsOwnWay) {
    EXPECT_EQ(json("plain"), "\"plain\"");
    EXPECT_EQ(json("a\"b\\c"), "\"a\\\"b\\\\c\"");
    EXPECT_EQ(json("a\n\x1B"), "\"a\\u000a\\u001b\"");
    EXPECT_EQ(json("\xC2\x9B\xE2\x80\xAE"), "\"\\u009b\\u202e\"");
    EXPECT_EQ(json("\xFF"), "\"\\\\xff\"");
    EXPECT_EQ(json("T\xC3\xBCr"), "\"T\xC3\xBCr\"");
}

TEST(ColorTest, StandsAroundTheTextAlone) {
    std::string to;
    kmr::output::append_colored(to, "sound", kmr::output::color::green, true, 7);
    EXPECT_EQ(to, "\x1b[32msound\x1b[0m  ");
    to.clear();
    kmr::output::append_colored(to, "sound", kmr::output::color::green, false, 7);
    EXPECT_EQ(to, "sound  ");
}

} // namespace
