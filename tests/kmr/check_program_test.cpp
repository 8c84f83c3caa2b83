// kmr check as a program: its lines, its objects, folders, several files at once.
#include "tests/kmr/program.hpp"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace {

using kmr_test::words;
using kmr_test::workplace;

class CheckTest : public testing::Test {
protected:
    std::string out_of(const words& arguments, const words& environment = {}) const {
        return place_.kmr(arguments, {.environment = environment}).out;
    }

    workplace place_;
};

constexpr char sound_line[] =
    "sound            2015-01-02T03:04:05.000+00:00  0:00:00.360       10 frames  -  a.kmr\n";

TEST_F(CheckTest, SaysOneLineAFile) {
    place_.compose("a.kmr");
    EXPECT_EQ(out_of({"check", "a.kmr"}), sound_line);
    place_.compose("b.kmr", {"--zero", "frame3:32", "--no-index"});
    // 1008 bytes to where the index would be, less the file header and the frame that is gone.
    EXPECT_EQ(out_of({"check", "b.kmr"}),
              "damaged          2015-01-02T03:04:05.000+00:00  0:00:00.360        9 frames  bytes-torn, "
              "index-missing; "
              "repair keeps 9 frames, 838 bytes, 0:00:00.360, loses 82 bytes  b.kmr\n");
    place_.compose("c.kmr", {"--lose", "3:2"});
    EXPECT_EQ(out_of({"check", "c.kmr"}), "damaged          2015-01-02T03:04:05.000+00:00  0:00:00.360       "
                                          " 8 frames  frames-lost; no repair  "
                                          "c.kmr\n");
}

// Nine steps of 40 ms and 100 hours are 360,000,360 ms; nine steps less 100 hours -359,999,640 ms.
TEST_F(CheckTest, KeepsColumnsApartWhateverTheLength) {
    place_.compose("a.kmr", {"--clock-jump", "5:360000000", "--no-index"});
    EXPECT_NE(out_of({"check", "a.kmr"}).find("+00:00 100:00:00.360       10 frames"), std::string::npos);
    place_.compose("b.kmr", {"--clock-jump", "5:-360000000", "--no-index"});
    EXPECT_NE(out_of({"check", "b.kmr"}).find("+00:00 -99:59:59.640       10 frames"), std::string::npos);
}

TEST_F(CheckTest, SumsUpWhatIsMoreThanOne) {
    place_.compose("a.kmr");
    place_.compose("d/b.kmr", {"--no-index"});
    place_.folder().write_text("d/notes.txt", "no recording");
    EXPECT_EQ(out_of({"check", "a.kmr", "d"}),
              sound_line +
                  std::string("unfinished       2015-01-02T03:04:05.000+00:00  0:00:00.360       10 frames  "
                              "index-missing; repair keeps 10 frames, 920 bytes, 0:00:00.360, loses 0 bytes  "
                              "d/b.kmr\n"
                              "2 files: 1 sound, 1 unfinished; 20 frames, 2228 bytes, 0:00:00.720; "
                              "skipped 1 file that is no recording\n"));
}

TEST_F(CheckTest, SaysOneLineAFinding) {
    place_.compose("a.kmr", {"--zero", "frame3:32", "--frame-field", "6.FrameNo=70"});
    const std::string out = out_of({"check", "-v", "a.kmr"});
    EXPECT_EQ(out.substr(out.find('\n') + 1),
              "    error    bytes-torn           at 384 +82, frame 5, 0:00:00.160: 82 bytes are no frame\n"
              "    warning  frames-lost          at 680 +0, frame 70, 0:00:00.240: 63 frame numbers are "
              "missing before "
              "this frame\n");
}

TEST_F(CheckTest, WalksFoldersInOrderOfTheirBytes) {
    for (const char* const name : {"d/b.kmr", "d/a/z.kmr", "d/a-/y.kmr", "d/a.kmr", "d/B.kmr"})
        place_.compose(name);
    namespace fs = std::filesystem;
    fs::create_symlink("a.kmr", place_.folder().path() / "d/link.kmr");
    fs::create_directory_symlink(".", place_.folder().path() / "d/circle");
    ASSERT_EQ(place_.shell("mkfifo d/pipe").status, 0);
    const std::string out = out_of({"check", "d"});
    std::string names;
    for (size_t at = out.find("  d/"); at != std::string::npos; at = out.find("  d/", at + 1))
        names += out.substr(at + 4, out.find('\n', at) - at - 4) + " ";
    EXPECT_EQ(names, "B.kmr a-/y.kmr a.kmr a/z.kmr b.kmr ");  // '-' and '.' come before '/'
    EXPECT_EQ(place_.kmr({"check", "d/link.kmr"}).status, 0); // a link that is named is followed
}

TEST_F(CheckTest, TakesWhatIsNoRecordingForAnErrorWhereAsked) {
    place_.folder().write_text("d/notes.txt", "no recording");
    const auto skipped = place_.kmr({"check", "d"});
    EXPECT_EQ(skipped.status, 0);
    EXPECT_EQ(skipped.out, "0 files; 0 frames, 0 bytes, 0:00:00.000; skipped 1 file that is no recording\n");
    const auto strict = place_.kmr({"check", "--strict", "d"});
    EXPECT_EQ(strict.status, 1);
    EXPECT_NE(strict.out.find("header-short  d/notes.txt\n"), std::string::npos) << strict.out;
    EXPECT_EQ(place_.kmr({"check", "--json", "d"}).out, "");
}

TEST_F(CheckTest, GivesTheSameBytesForAnyNumberOfJobs) {
    for (int i = 0; i < 60; ++i)
        place_.compose("d/" + std::to_string(i) + ".kmr", i % 3 == 0
                                                              ? words{"--zero", "frame3:32"}
                                                              : words{"--frames", std::to_string(1 + i * 7)});
    place_.folder().write_text("d/notes.txt", "no recording");
    for (const words& style : {words{"-v"}, words{"--json"}}) {
        words arguments = {"check", "d", "missing.kmr"};
        arguments.insert(arguments.end(), style.begin(), style.end());
        const auto first = place_.kmr(arguments);
        for (const std::string jobs : {"1", "2", "8", "100"}) {
            words more = arguments;
            more.insert(more.end(), {"-j", jobs});
            const auto again = place_.kmr(more);
            EXPECT_EQ(again.out, first.out);
            EXPECT_EQ(again.err, first.err);
            EXPECT_EQ(again.status, 2);
        }
    }
}

TEST_F(CheckTest, SaysWhatItLeavesOut) {
    place_.compose("a.kmr", {"--frames", "300", "--frame-field", "p-frames.VideoSize=1"}); // 240 P-frames
    const std::string out = out_of({"check", "-v", "a.kmr"});
    EXPECT_NE(out.find("frame-lengths-wrong x240;"), std::string::npos) << out.substr(0, 300);
    EXPECT_NE(out.find("\n    and 140 more (--all-findings lists them)\n"), std::string::npos);
    const std::string all = out_of({"check", "-v", "--all-findings", "a.kmr"});
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 241);
    EXPECT_NE(out_of({"check", "--json", "a.kmr"}).find("\"findings_left_out\":140,"), std::string::npos);
    EXPECT_NE(out_of({"check", "--json", "--all-findings", "a.kmr"}).find("\"findings_left_out\":0,"),
              std::string::npos);
}

TEST_F(CheckTest, WritesAnObjectALine) {
    place_.compose("a.kmr", {"--zero", "frame3:32", "--tag", "1=gate", "--cover-word", "C\"1"});
    EXPECT_EQ(
        out_of({"check", "--json", "a.kmr"}, {"TZ=CET-1"}),
        "{\"schema\":\"kmr.check/"
        "1\",\"path\":\"a.kmr\",\"verdict\":\"damaged\",\"size\":1220,\"changed\":false,"
        "\"header\":{\"plausible\":true,\"start\":\"2015-01-02T03:04:05\",\"frame_rate\":25,\"width\":1920,"
        "\"height\":1080,\"mode\":22,\"audio\":false,\"audio_channels\":0,\"audio_bits\":0,\"audio_rate\":0,"
        "\"cover_mask\":0,\"cover_word\":\"C\\\"1\",\"frame_no_diff\":0,\"trigger_high\":0,\"trigger_low\":0,"
        "\"total_size\":1220,\"frame_count\":10},"
        "\"start\":\"2015-01-02T04:04:05.000+01:00\",\"end\":\"2015-01-02T04:04:05.360+01:00\","
        "\"duration_ms\":360,"
        "\"frames\":{\"total\":9,\"i\":2,\"p\":7,\"inserted\":0,\"encrypted\":0,\"damaged\":0,\"lost\":1},"
        "\"index\":{\"present\":true,\"records\":2,\"tags\":1},"
        "\"findings\":[{\"code\":\"bytes-torn\",\"severity\":\"error\",\"offset\":384,\"length\":82,"
        "\"frame\":5,"
        "\"time_ms\":160,\"message\":\"82 bytes are no frame\"}],\"findings_left_out\":0,"
        "\"repair\":{\"possible\":true,\"frames_kept\":9,\"bytes_kept\":838,\"bytes_lost\":82}}\n");
}

TEST_F(CheckTest, WritesTheFurtherFieldsOfAFinding) {
    place_.compose("a.kmr", {"--record-field", "1.IPos=600"});
    EXPECT_NE(
        out_of({"check", "--json", "a.kmr"})
            .find(
                "\"frame\":null,\"time_ms\":null,\"message\":\"the offset in index record 1 is wrong: 600\","
                "\"record\":1,\"field\":\"offset\",\"actual\":600}"),
        std::string::npos);
}

TEST_F(CheckTest, WritesAnObjectOfWhatCannotBeRead) {
    const auto run = place_.kmr({"check", "--json", "missing.kmr"});
    EXPECT_EQ(
        run.out,
        "{\"schema\":\"kmr.check/1\",\"path\":\"missing.kmr\",\"verdict\":\"unreadable\",\"size\":null,"
        "\"changed\":false,\"header\":null,\"start\":null,\"end\":null,\"duration_ms\":null,"
        "\"frames\":{\"total\":0,\"i\":0,\"p\":0,\"inserted\":0,\"encrypted\":0,\"damaged\":0,\"lost\":0},"
        "\"index\":{\"present\":false,\"records\":0,\"tags\":0},\"findings\":[],\"findings_left_out\":0,"
        "\"repair\":{\"possible\":false,\"frames_kept\":0,\"bytes_kept\":0,\"bytes_lost\":0}}\n");
    EXPECT_EQ(run.err, "kmr: missing.kmr: No such file or directory\n");
}

TEST_F(CheckTest, EscapesNames) {
    place_.compose("a\x1b[31m\xff\n.kmr");
    EXPECT_NE(out_of({"check", "."}).find("  ./a\\x1b[31m\\xff\\x0a.kmr\n"), std::string::npos);
    EXPECT_NE(out_of({"check", "--json", "."}).find("\"path\":\"./a\\u001b[31m\\\\xff\\u000a.kmr\""),
              std::string::npos);
    EXPECT_EQ(place_.kmr({"check", "no\x1b.kmr"}).err, "kmr: no\\x1b.kmr: No such file or directory\n");
}

TEST_F(CheckTest, ColorsWhereAsked) {
    place_.compose("a.kmr");
    EXPECT_EQ(out_of({"check", "--color", "always", "a.kmr"}, {"NO_COLOR=1"}),
              "\x1b[32msound\x1b[0m" + std::string(sound_line + 5));
    EXPECT_EQ(out_of({"check", "--color", "auto", "a.kmr"}), sound_line);
    EXPECT_EQ(out_of({"check", "--color", "never", "a.kmr"}), sound_line);
}

TEST_F(CheckTest, WritesTimesInUtcWhereAsked) {
    place_.compose("a.kmr");
    EXPECT_EQ(out_of({"check", "--utc", "a.kmr"}, {"TZ=CET-1"}), sound_line);
    EXPECT_NE(out_of({"check", "a.kmr"}, {"TZ=CET-1"}).find("2015-01-02T04:04:05.000+01:00"),
              std::string::npos);
}

TEST_F(CheckTest, ReadsAChangingFileAsItWasAndSaysSo) {
    place_.compose("d/a.kmr");
    // A reader of the folder that writes to the file while it is judged: every time it is read.
    const auto run = place_.shell("while :; do printf x >>d/a.kmr; done & writer=$!; for i in $(seq 200); do "
                                  "\"$1\" check --json d >out 2>err; "
                                  "status=$?; grep -q '\"changed\":true' out && break; done; kill $writer; "
                                  "wait 2>/dev/null; cat err; exit $status");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "kmr: d/a.kmr: changed while it was read\n");
}

} // namespace
