// kmr plot as a program.
#include "tests/kmr/making_test.hpp"
#include "tests/kmr/on_terminal.hpp"
#include "tests/kmr/plot/xml_check.hpp"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kmr_test::look_at_xml;
using kmr_test::make_old;
using kmr_test::words;
using testing::ElementsAre;
using testing::HasSubstr;

class PlotTest : public kmr_test::making_test {
protected:
    PlotTest() : making_test("plot") { place_.compose("a.kmr", {"--tag", "1=Door"}); }
};

TEST_F(PlotTest, WritesAPicture) {
    const auto run = command({"a.kmr", "-o", "a.svg"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out + run.err, "");
    EXPECT_THAT(names(), ElementsAre("a.kmr", "a.svg"));
    const std::string svg = text("a.svg");
    EXPECT_EQ(look_at_xml(svg).problem, "");
    EXPECT_THAT(svg, HasSubstr(">Door</text>"));
    EXPECT_THAT(svg, HasSubstr("03:04:05.000+00:00"));
    EXPECT_EQ(command({"a.kmr", "-o", "-"}).out, svg);
    EXPECT_EQ(command({"a.kmr", "--output", "B.SVG"}).status, 0);
    EXPECT_EQ(text("B.SVG"), svg);
}

TEST_F(PlotTest, TellsTimesInTheZoneThatIsAskedFor) {
    const words arguments = {"plot", "a.kmr", "-o", "-"};
    const auto local = place_.kmr(arguments, {.environment = {"TZ=CET-1"}});
    EXPECT_THAT(local.out, HasSubstr("2015-01-02T04:04:05.000+01:00"));
    EXPECT_THAT(local.out, HasSubstr(">04:04:05.2</text>"));
    const auto utc = place_.kmr({"plot", "--utc", "a.kmr", "-o", "-"}, {.environment = {"TZ=CET-1"}});
    EXPECT_THAT(utc.out, HasSubstr("2015-01-02T03:04:05.000+00:00"));
    EXPECT_THAT(utc.out, HasSubstr(">03:04:05.2</text>"));
}

TEST_F(PlotTest, HasTheStatusOfWhatWasFound) {
    place_.compose("damaged.kmr", {"--zero", "frame3:32"});
    place_.compose("unfinished.kmr", {"--no-index"});
    place_.folder().write_text("notes.txt", "no recording");
    for (const std::string name : {"damaged.kmr", "unfinished.kmr", "notes.txt"}) {
        const auto run = command({name, "-o", "-"});
        EXPECT_EQ(run.status, 1) << name;
        EXPECT_EQ(run.err, "") << name;
        EXPECT_EQ(look_at_xml(run.out).problem, "") << name;
    }
}

TEST_F(PlotTest, WritesNothingOfWhatCannotBeRead) {
    expect_refused({"missing.kmr", "-o", "a.svg"}, "missing.kmr: No such file or directory");
    expect_refused({".", "-o", "a.svg"}, ".: not a regular file");
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

TEST_F(PlotTest, KnowsSvgAndPng) {
    for (const std::string name : {"a.jpg", "a", "svg", "a.svg.gz", ".svg"})
        expect_refused({"a.kmr", "-o", name}, name + ": a picture is a file that ends in .svg or .png");
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

TEST_F(PlotTest, WantsASizeWithinItsLimits) {
    for (const words& size :
         {words{"--width", "639"}, {"--width", "4097"}, {"--height", "429"}, {"--height", "x"}}) {
        const auto run = command({"a.kmr", "-o", "a.svg", size[0], size[1]});
        EXPECT_EQ(run.status, 2) << size[1];
        EXPECT_THAT(run.err, HasSubstr(size[0])) << size[1];
    }
    EXPECT_EQ(command({"a.kmr"}).status, 2);
    EXPECT_EQ(command({"a.kmr", "-o", ""}).status, 2);
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
    EXPECT_THAT(command({"a.kmr", "-o", "-", "--width", "4096", "--height", "430"}).out,
                HasSubstr("width=\"4096\" height=\"430\""));
}

TEST_F(PlotTest, ReplacesWhatIsThereOnlyWhenItIsTold) {
    place_.folder().write_text("a.svg", "mine");
    expect_refused({"a.kmr", "-o", "a.svg"}, "a.svg: is there already (--force replaces it)");
    EXPECT_EQ(text("a.svg"), "mine");
    EXPECT_EQ(command({"a.kmr", "-o", "a.svg", "--force"}).status, 0);
    EXPECT_EQ(look_at_xml(text("a.svg")).problem, "");
    EXPECT_THAT(names(), ElementsAre("a.kmr", "a.svg"));
}

TEST_F(PlotTest, NeverWritesOntoTheRecordingOrThroughALink) {
    expect_no_way_onto_the_recording(".svg");
}

TEST_F(PlotTest, ChangesNothingOfTheRecording) {
    const std::string file = place_.folder().file("a.kmr");
    make_old(file);
    const auto before = kmr_test::read_quietly(file);
    ASSERT_EQ(command({"a.kmr", "-o", "a.svg"}).status, 0);
    EXPECT_EQ(kmr_test::read_quietly(file), before);
    EXPECT_TRUE(std::filesystem::exists(file));
}

TEST_F(PlotTest, LeavesNothingBehindWhereThereIsNoRoom) {
    const auto run = place_.shell("ulimit -f 1; \"$1\" plot a.kmr -o a.svg");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kmr: a.svg: File too large\n");
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
    EXPECT_EQ(place_.shell("\"$1\" plot a.kmr -o - >/dev/full").status, 2);
}

TEST_F(PlotTest, LetsNoTextFromOutsideBecomeMarkup) {
    place_.compose("<svg>&.kmr", {"--tag", "0=</text><script>alert(1)</script>", "--tag", "1=\x1B]0;x\x07"});
    const auto run = command({"<svg>&.kmr", "-o", "-"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(look_at_xml(run.out).problem, "");
    EXPECT_FALSE(look_at_xml(run.out).elements.contains("script"));
    EXPECT_THAT(run.out, HasSubstr("&lt;svg&gt;&amp;.kmr: sound"));
    EXPECT_THAT(run.out, HasSubstr("\\x1b]0;x\\x07"));
}

// Two weeks with a frame every ten minutes; and with as many frames a thousandth of the time.
TEST_F(PlotTest, TakesNoMoreMemoryForALongRecording) {
    place_.compose("sparse.kmr", {"--frames", "2016", "--stamp-step", "600000"});
    place_.compose("many.kmr", {"--frames", "200000", "--p-payload", "20"});
    for (const std::string name : {"sparse.kmr", "many.kmr"}) {
        const auto run = place_.shell(KMR_LIMITED "\"$1\" plot \"$2\" -o -", {name});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(look_at_xml(run.out).problem, "");
        EXPECT_LT(run.out.size(), 40000U);
    }
}

// What is asked for is a PNG of the size of the picture; or there is none, and it is said why.
TEST_F(PlotTest, DrawsPixelsWhereItCan) {
    const words arguments = {"a.kmr", "-o", "a.png", "--width", "1000", "--height", "500"};
#if KMR_HAS_PNG
    const auto run = command(arguments);
    EXPECT_EQ(run.status, 0) << run.err;
    const recording::bytes png = scratch::read_file(place_.folder().path() / "a.png");
    const recording::bytes begin = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0, 0, 13,
                                    'I',  'H', 'D', 'R', 0,    0,    3,    0xE8, 0, 0, 1, 0xF4};
    ASSERT_GT(png.size(), begin.size());
    EXPECT_TRUE(std::equal(begin.begin(), begin.end(), png.begin()));
    EXPECT_THAT(names(), ElementsAre("a.kmr", "a.png"));
    expect_refused({"a.kmr", "-o", "a.png"}, "a.png: is there already (--force replaces it)");
#else
    expect_refused(arguments, "a.png: built without librsvg, this program makes no .png; .svg needs nothing");
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
#endif
}

#if KMR_HAS_PNG
// The library is there, but cannot be loaded: it is told before a long recording is read for nothing.
TEST_F(PlotTest, WithoutTheLibraryThereAreNoPixels) {
    std::filesystem::create_directory(place_.folder().path() / "lib");
    place_.folder().write_text("lib/librsvg-2.so.2", "no library");
    const words in_front = {"LD_LIBRARY_PATH=" + place_.folder().file("lib")};
    expect_refused({"a.kmr", "-o", "a.png"},
                   "a.png: librsvg is not installed, which makes a .png; .svg needs nothing",
                   {.environment = in_front});
    EXPECT_EQ(command({"a.kmr", "-o", "a.svg"}, {.environment = in_front}).status, 0);
    EXPECT_THAT(names(), ElementsAre("a.kmr", "a.svg", "lib"));
}
#endif

// Hours of work in a file that takes no room.
TEST_F(PlotTest, TellsHowFarItHasCome) {
    place_.folder().write_text("zeros", "");
    std::filesystem::resize_file(place_.folder().path() / "zeros", uint64_t{1} << 40);
    kmr_test::on_terminal run(place_, {"plot", "zeros", "-o", "b.svg"});
    EXPECT_THAT(run.read_until(" left"), HasSubstr(" of 1099.5 GB, "));
    kill(run.child(), SIGINT);
    EXPECT_EQ(run.wait_status(), -SIGINT);
    EXPECT_THAT(names(), ElementsAre("a.kmr", "zeros"));
}

const words damages[] = {
    {"--lose", "3:2"},
    {"--clock-jump", "3:5000"},
    {"--clock-jump", "3:-500"},
    {"--clock-jump", "5:5000"},
    {"--clock-jump", "5:2000000000"},
    {"--insert-after", "3"},
    {"--encrypt", "all"},
    {"--frame-field", "3.SyncWord=0"},
    {"--frame-field", "3.FrameSize=83"},
    {"--frame-field", "3.FrameKind=0"},
    {"--frame-field", "3.FrameNo=9"},
    {"--frame-field", "3.FrameNo=3"},
    {"--frame-field", "3.TimeStamp=9999"},
    {"--frame-field", "3.TimeStamp=4000000000"},
    {"--frame-field", "0.TimeStamp=4000000000"},
    {"--frame-field", "9.TimeStamp=0"},
    {"--frame-field", "all.TimeStamp=5"},
    {"--gap-bytes", "0:20"},
    {"--torn-last", "40"},
    {"--torn-last", "20"},
    {"--truncate", "0"},
    {"--truncate", "50"},
    {"--truncate", "frame0"},
    {"--truncate", "frame0+20"},
    {"--truncate", "frame1"},
    {"--truncate", "index+60"},
    {"--zero", "0:88"},
    {"--zero", "frame0:32"},
    {"--zero", "frame9:294"},
    {"--zero", "frame5+32:10"},
    {"--noise", "frame3:300:1"},
    {"--noise", "0:900:2"},
    {"--record-field", "1.TimeNow=5"},
    {"--record-field", "1.TimeNow=4294967295"},
    {"--record-field", "1.IPos=600"},
    {"--no-trailer"},
    {"--index-noise", "1"},
    {"--index-field", "FrameNo=5"},
    {"--frame-count", "11"},
    {"--header", "Month=13"},
    {"--stamp-step", "0"},
    {"--stamp-step", "2147483647"},
    {"--frames", "1"},
    {"--tag", "0=x", "--tag", "1=\xFF\xFE", "--record-field", "1.TimeNow=4294967295"},
};

TEST_F(PlotTest, IsWellFormedWhateverHasHappened) {
    for (const words& each : damages) {
        SCOPED_TRACE(testing::PrintToString(each));
        place_.compose("damaged.kmr", each);
        const auto run = command({"damaged.kmr", "-o", "-"});
        EXPECT_LE(run.status, 1) << run.err;
        EXPECT_GE(run.status, 0);
        EXPECT_EQ(look_at_xml(run.out).problem, "");
        EXPECT_THAT(run.out, testing::Not(HasSubstr("nan")));
        EXPECT_THAT(run.out, testing::Not(HasSubstr("-9223372036854775808")));
    }
}

} // namespace
