// Pictures of recordings in memory. At 800 pixels the chart reaches from 130 to 756 where no label takes more room, and
// the lanes begin at 342 where there are no tags: heading 88, unit 20, chart 220, I-frames 14. A lane is 18 high.
#include "kmr/plot/marks.hpp"
#include "kmr/plot/picture.hpp"
#include "tests/kmr/plot/xml_check.hpp"
#include "tests/scan/compose.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kmr::output::clock;
using kmr::output::time_zone;
using kmr::plot::frame_gatherer;
using kmr::plot::gathered_frames;
using kmr::plot::picture_size;
using kmr::program::judged_file;
using kmr_test::look_at_xml;
using recording::bytes;
using testing::HasSubstr;
using testing::Not;

std::string picture_of(const judged_file& file, const gathered_frames& frames,
                       const picture_size& size = {}) {
    clock utc(time_zone::utc);
    std::string svg = kmr::plot::draw(file, frames, size, utc);
    EXPECT_EQ(look_at_xml(svg).problem, "");
    return svg;
}

std::string picture_of(const bytes& content, const picture_size& size = {},
                       const std::string& path = "a.kmr") {
    kmr::output::messages err;
    frame_gatherer gatherer(err, 0);
    kmr::scan::memory_source source(content);
    judged_file file{.path = path};
    file.judged = kmr::scan::judge(source, {.most_per_code = kmr::plot::most_marks}, &gatherer);
    return picture_of(file, gatherer.finish(), size);
}

bytes sound_recording() {
    return scan_test::recording_of(scan_test::sound_frames(10));
}

TEST(PictureTest, SaysWhatTheRecordingIs) {
    const std::string svg = picture_of(sound_recording());
    EXPECT_TRUE(svg.starts_with("<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\" width=\"800\""))
        << svg;
    EXPECT_THAT(svg, HasSubstr(" font-family=\"sans-serif\">\n<title>a.kmr: sound</title>\n<desc>"));
    EXPECT_THAT(svg, HasSubstr("font-weight=\"bold\">a.kmr</text>"));
    EXPECT_THAT(svg, HasSubstr("font-weight=\"bold\">sound</text>"));
    EXPECT_THAT(
        svg,
        HasSubstr(">2015-01-02T03:04:05.000+00:00 to 2015-01-02T03:04:05.360+00:00, 0:00:00.360</text>"));
    // 752 bytes in 360 ms
    EXPECT_THAT(svg, HasSubstr(">1920 x 1080, 1372 bytes, 16711 bits of video a second</text>"));
    EXPECT_THAT(svg, HasSubstr(">frames 10: 2 I, 8 P, 0 inserted; 0 encrypted, 0 damaged, 0 lost</text>"));
}

// The first bin holds 376 bytes in 200 ms: 15040 bits a second, of which 10240 are of P-frames; the axis ends at 20000.
// Of 220 pixels up from 328 that is 112.64 and 165.44. The second one is the same.
TEST(PictureTest, DrawsAreasWhereTheRatesAre) {
    const std::string svg = picture_of(sound_recording());
    EXPECT_THAT(svg,
                HasSubstr("<path d=\"M130 328V215.4H443V215.4H756V328H443V328H130Z\" fill=\"#9ec5e8\"/>"));
    EXPECT_THAT(
        svg, HasSubstr("<path d=\"M130 215.4V162.6H443V162.6H756V215.4H443V215.4H130Z\" fill=\"#17457a\"/>"));
    EXPECT_THAT(svg, HasSubstr(">kbit/s</text>"));
}

// I-frames at 0 and 200 of 400 ms.
TEST(PictureTest, HasATickForEachIFrame) {
    EXPECT_THAT(picture_of(sound_recording()), HasSubstr("<path d=\"M130 331V339M443 331V339\""));
}

TEST(PictureTest, LeavesTheIFramesOutWhereTheyHaveNoRoom) {
    auto frames = scan_test::sound_frames(2000);
    EXPECT_THAT(picture_of(scan_test::recording_of(frames)), Not(HasSubstr("V339")));
}

// The frame behind stands at 160 of 400 ms: 130 + 626 x 0.4; the one before at 80, which is 125.2 to the left of it.
TEST(PictureTest, MarksDamageWhereItIs) {
    bytes file = sound_recording();
    for (size_t at = 432; at < 464; ++at)
        file[at] = 0;
    const std::string svg = picture_of(file);
    EXPECT_THAT(svg, HasSubstr(">damaged</text>"));
    EXPECT_THAT(svg,
                HasSubstr("<path transform=\"translate(380.4 351)\" d=\"M-4-4H4V4H-4Z\" fill=\"#b00020\""));
    EXPECT_THAT(
        svg,
        HasSubstr("<rect x=\"255.2\" y=\"108\" width=\"125.2\" height=\"220\" fill=\"url(#missing)\"/>"));
    EXPECT_THAT(svg, HasSubstr(">bytes-torn</text>"));
    EXPECT_THAT(svg, HasSubstr(">frames or time missing</text>"));
    EXPECT_THAT(svg, HasSubstr(">filled: error</text>"));
}

TEST(PictureTest, TellsAPauseFromWhatIsMissing) {
    auto frames = scan_test::sound_frames(10);
    for (size_t frame = 5; frame < 10; ++frame)
        frames[frame].time_stamp += 10000;
    const std::string svg = picture_of(scan_test::recording_of(frames));
    EXPECT_THAT(svg, HasSubstr("fill=\"url(#pause)\"/>"));
    EXPECT_THAT(svg, HasSubstr(">pause</text>"));
    EXPECT_THAT(svg, Not(HasSubstr("fill=\"url(#missing)\"/>")));
}

TEST(PictureTest, SaysWhatIsOfTheFileAsAWhole) {
    bytes file = sound_recording();
    recording::put_u32(file, 84, 11);
    const std::string svg = picture_of(file);
    EXPECT_THAT(svg, HasSubstr(">frame-count-wrong</text>\n<text x="));
    EXPECT_THAT(svg, HasSubstr(">the file as a whole</text>"));
}

bytes recording_with_tags(const std::vector<std::string>& tags) {
    const auto frames = scan_test::sound_frames(10 * tags.size());
    auto records = scan_test::records_for(frames);
    for (size_t tag = 0; tag < tags.size(); ++tag)
        records[tag].tag = tags[tag];
    return scan_test::recording_of(frames, records);
}

TEST(PictureTest, LetsNoTextBecomeMarkup) {
    const std::string svg = picture_of(
        recording_with_tags({"</text><script>alert(1)</script>", "\x1B[31m\xFF]]>&quot;", "a\" onload=\"x"}),
        {}, "</title><script>.kmr");
    const kmr_test::xml_look look = look_at_xml(svg);
    const std::set<std::string> known = {"svg",  "title", "desc", "defs", "pattern", "path",
                                         "rect", "line",  "text", "g",    "circle"};
    for (const std::string& element : look.elements)
        EXPECT_TRUE(known.contains(element)) << element;
    EXPECT_THAT(svg, HasSubstr("&lt;/text&gt;&lt;script&gt;alert(1)"));
    EXPECT_THAT(svg, HasSubstr("\\x1b[31m\\xff]]&gt;&amp;quot;"));
    EXPECT_THAT(svg, HasSubstr("<title>&lt;/title&gt;&lt;script&gt;.kmr: sound</title>"));
    EXPECT_THAT(svg, Not(HasSubstr("\x1B")));
}

TEST(PictureTest, TellsHowManyTagsHaveNoRoom) {
    const std::string svg =
        picture_of(recording_with_tags(std::vector<std::string>(20, "a tag as long as this")));
    // Five stand at each of four seconds, 78 pixels apart; a text takes 140 with what is beside it. So three have room
    // at the first second, and three at the third.
    EXPECT_THAT(svg,
                HasSubstr(">Tags that have no room for their text: 14 of 20 (kmr tag lists them).</text>"));
    EXPECT_THAT(picture_of(recording_with_tags({"one"})), Not(HasSubstr("no room")));
}

TEST(PictureTest, IsTheSameForTheSameRecording) {
    EXPECT_EQ(picture_of(sound_recording()), picture_of(sound_recording()));
    EXPECT_NE(picture_of(sound_recording()), picture_of(sound_recording(), {.width = 801}));
}

TEST(PictureTest, OfOneFrameIsAPicture) {
    const std::string svg = picture_of(scan_test::recording_of(scan_test::sound_frames(1)));
    EXPECT_THAT(svg, HasSubstr("<path d=\"M130 331V339\""));
    EXPECT_THAT(svg, HasSubstr(">0:00.040</text>"));
}

TEST(PictureTest, OfNoFrameSaysSo) {
    const std::string none = picture_of(bytes(300, 0));
    EXPECT_THAT(none, HasSubstr(">There is no frame to draw.</text>"));
    EXPECT_THAT(none, HasSubstr(">not a recording</text>"));
    EXPECT_THAT(none, HasSubstr(">header-implausible</text>"));
    EXPECT_THAT(none, Not(HasSubstr("stream time")));
    EXPECT_THAT(picture_of(scan_test::without_index({})), HasSubstr(">unfinished</text>"));
    EXPECT_THAT(picture_of(bytes()), HasSubstr(">There is no frame to draw.</text>"));
}

TEST(PictureTest, HasTheSizeThatIsAskedFor) {
    const std::string svg = picture_of(sound_recording(), {.width = 1600, .height = 900});
    EXPECT_THAT(svg, HasSubstr(" width=\"1600\" height=\"900\" viewBox=\"0 0 1600 900\""));
    // The least height has room for the chart and whatever stands around it.
    EXPECT_THAT(picture_of(sound_recording(), {.width = 640, .height = 360}),
                HasSubstr("height=\"360\" viewBox"));
}

TEST(PictureTest, IsNeverLowerThanWhatMustBeInIt) {
    const std::string svg = picture_of(sound_recording(), {.width = 800, .height = 150});
    EXPECT_THAT(svg, HasSubstr("<path d=\"M130 201V209M443 201V209\"")); // 108, and a chart of 90
}

// Four seconds; at the end of them there is no room for a text.
TEST(PictureTest, ATagAtTheEndStandsInFrontOfItsLine) {
    const auto frames = scan_test::sound_frames(100);
    auto records = scan_test::records_for(frames);
    records[0].tag = "first";
    records[19].tag = "last";
    records[19].time += 1;
    const std::string svg = picture_of(scan_test::recording_of(frames, records));
    EXPECT_THAT(svg, testing::ContainsRegex("<text [^>]*fill=\"#1a1a1a\">first</text>"));
    EXPECT_THAT(svg, testing::ContainsRegex("<text [^>]*text-anchor=\"end\">last</text>"));
}

// A finding of every code, with a time and without.
judged_file file_with_everything(bool with_times) {
    judged_file file{.path = "a.kmr"};
    file.judged.judged = kmr::scan::verdict::damaged;
    for (size_t code = 0; code < kmr::scan::finding_code_count; ++code) {
        kmr::scan::finding found{.code = static_cast<kmr::scan::finding_code>(code), .offset = code};
        if (with_times)
            found.time_ms = static_cast<int64_t>(code) * 40;
        file.judged.findings.push_back(found);
        file.judged.found[code] = code + 1;
    }
    return file;
}

gathered_frames frames_of_a_second() {
    gathered_frames frames;
    for (int64_t at = 0; at < 1000; at += 40)
        frames.bins.add(at, at == 0, 100);
    frames.frames = 25;
    frames.last_ms = 960;
    return frames;
}

TEST(PictureTest, HasALaneForEveryCode) {
    for (const bool with_times : {true, false}) {
        const std::string svg = picture_of(file_with_everything(with_times), frames_of_a_second());
        for (const kmr::scan::finding_kind& kind : kmr::scan::finding_kinds())
            EXPECT_THAT(svg, HasSubstr(">" + std::string(kind.code))) << kind.code;
        EXPECT_THAT(svg, HasSubstr(">beyond-4-gib x26</text>"));
        EXPECT_THAT(svg, Not(HasSubstr("Also found")));
    }
}

TEST(PictureTest, TellsWhichLanesHaveNoRoom) {
    const std::string svg =
        picture_of(file_with_everything(true), frames_of_a_second(), {.width = 800, .height = 480});
    EXPECT_THAT(svg, HasSubstr("height=\"480\" viewBox"));
    EXPECT_THAT(svg, HasSubstr("Also found, and not drawn in a picture of this height: "));
    EXPECT_THAT(svg, HasSubstr(">header-short</text>"));          // the most severe stay
    EXPECT_THAT(svg, Not(HasSubstr(">beyond-4-gib x26</text>"))); // and this goes first
}

TEST(PictureTest, TellsHowManyMarksAreLeftOut) {
    judged_file file{.path = "a.kmr"};
    const auto lost = kmr::scan::finding_code::frames_lost;
    file.judged.found[static_cast<size_t>(lost)] = 2345;
    file.judged.findings.assign(2000, {.code = lost, .offset = 1, .frame = 1, .time_ms = 40});
    EXPECT_THAT(picture_of(file, frames_of_a_second()),
                HasSubstr(">Not all are marked: frames-lost 2000 of 2345.</text>"));
}

TEST(PictureTest, MarksThatLieOnEachOtherAreOne) {
    judged_file file{.path = "a.kmr"};
    const auto lost = kmr::scan::finding_code::frames_lost;
    file.judged.found[static_cast<size_t>(lost)] = 2000;
    for (int64_t each = 0; each < 2000; ++each)
        file.judged.findings.push_back(
            {.code = lost, .offset = static_cast<uint64_t>(each), .frame = 1, .time_ms = each / 2});
    const std::string svg = picture_of(file, frames_of_a_second());
    size_t markers = 0;
    for (size_t at = svg.find("M-5-4H5L0 5Z"); at != std::string::npos; at = svg.find("M-5-4H5L0 5Z", at + 1))
        ++markers;
    EXPECT_LE(markers, 128U); // 626 pixels, one of 5 each, and in the two legends
    EXPECT_GE(markers, 60U);
}

TEST(PictureTest, ShortensALongName) {
    const std::string path = std::string(300, 'd') + "/recording.kmr";
    const std::string svg = picture_of(sound_recording(), {}, path);
    EXPECT_THAT(svg, HasSubstr("<title>" + path + "</title>\n\xE2\x80\xA6"));
    EXPECT_THAT(svg, HasSubstr("d/recording.kmr</text>"));
}

TEST(PictureTest, SaysThatNothingTellsTheTimeOfDay) {
    bytes file = scan_test::without_index(scan_test::sound_frames(10));
    for (size_t at = 0; at < 88; ++at)
        file[at] = 0;
    EXPECT_THAT(picture_of(file), HasSubstr(">no time of day</text>"));
}

TEST(XmlCheckTest, NoticesWhatItIsFor) {
    EXPECT_EQ(look_at_xml("<a b=\"c\"><d/>e&lt;</a>\n").problem, "");
    for (const std::string wrong :
         {"<a>", "</a>", "<a></b>", "<a/><b/>", "<a b=c/>", "<a>&x;</a>", "<a>\x1B</a>", "<a>\xFF</a>",
          "<a b=\"1\" b=\"2\"/>", "<a>]]></a>", "x", "", "<a b=\"<\"/>"})
        EXPECT_NE(look_at_xml(wrong).problem, "") << wrong;
}

} // namespace
