// kmr report --video: the video of a page, which frames are in it and when, and what becomes of the page without one.
#include "tests/kmr/making_test.hpp"
#include "tests/kmr/on_terminal.hpp"

#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <thread>

namespace {

namespace fs = std::filesystem;

using kmr_test::words;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

const std::string facts_begin = "<script type=\"application/json\" id=\"video-facts\">";

// Demo clips have 75 frames 40 ms apart; decoding can begin with 1, 26 and 51.
class ReportVideoTest : public kmr_test::making_test {
protected:
    ReportVideoTest() : making_test("report") {}

    static std::string clip(const std::string& name) { return KMR_SOURCES "/tools/clips/" + name; }

    void compose_from(const std::string& name, const std::string& stream, const words& more = {}) const {
        words arguments = {"--output", place_.folder().file(name), "--video", stream, "--size", "320x240"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const auto made = run::program(KMR_MAKE, arguments);
        ASSERT_EQ(made.status, 0) << made.err;
    }
    void compose_clip(const std::string& name, const words& more = {}) const {
        compose_from(name, clip("demo.h264"), more);
    }
    // The clip so many times, one behind the other: 32 KB each.
    void compose_long(const std::string& name, int times) const {
        const std::string once = scratch::read_text(clip("demo.h264"));
        std::string all;
        for (int i = 0; i < times; ++i)
            all += once;
        place_.folder().write_text("long.h264", all);
        compose_from(name, place_.folder().file("long.h264"));
        fs::remove(place_.folder().path() / "long.h264");
    }

    void expect_none(const words& arguments, const std::string& why, const words& environment = {}) const {
        const auto run = command(arguments, {.environment = environment});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "kmr: " + arguments[1] + ": no video in the page: " + why + "\n");
        EXPECT_THAT(text("p.html"), Not(HasSubstr("id=\"video-facts\"")));
        EXPECT_THAT(text("p.html"), Not(HasSubstr("id=\"video-bytes")));
        EXPECT_THAT(text("p.html"), testing::EndsWith("</html>\n"));
        fs::remove(place_.folder().path() / "p.html");
    }

    static std::string between(const std::string& page, const std::string& opening) {
        const size_t begin = page.find(opening);
        if (begin == std::string::npos)
            throw std::runtime_error(opening + ": not in the page");
        const size_t from = begin + opening.size();
        return page.substr(from, page.find("</script>", from) - from);
    }
    static rapidjson::Document parsed(const std::string& json) {
        rapidjson::Document of;
        of.Parse(json.data(), json.size());
        EXPECT_FALSE(of.HasParseError());
        return of;
    }
    rapidjson::Document facts() const { return parsed(between(text("p.html"), facts_begin)); }

    // What is in the page's pieces, decoded bit by bit.
    std::string video() const {
        const std::string page = text("p.html");
        const uint64_t count = facts()["blocks"].GetUint64();
        std::string bytes;
        for (uint64_t i = 0; i < count; ++i)
            bytes += decoded(
                between(page, "<script type=\"text/plain\" id=\"video-bytes-" + std::to_string(i) + "\">"));
        EXPECT_THAT(page, Not(HasSubstr("id=\"video-bytes-" + std::to_string(count))));
        return bytes;
    }
    static std::string decoded(const std::string& base64) {
        const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        EXPECT_EQ(base64.size() % 4, 0U);
        std::string bytes;
        uint32_t bits = 0;
        unsigned known = 0;
        for (const char each : base64) {
            if (each == '=')
                break;
            bits = bits << 6 | static_cast<uint32_t>(letters.find(each));
            known += 6;
            if (known >= 8) {
                known -= 8;
                bytes += static_cast<char>(bits >> known & 0xFF);
            }
        }
        return bytes;
    }

    // When each picture of an .mp4 is shown, by its table of durations.
    static std::vector<uint64_t> stamps_of(const std::string& mp4) {
        const auto number = [&](size_t at) {
            uint64_t value = 0;
            for (size_t i = 0; i < 4; ++i)
                value = value << 8 | static_cast<uint8_t>(mp4.at(at + i));
            return value;
        };
        const uint64_t units_a_second = number(mp4.find("mdhd") + 16);
        const size_t table = mp4.find("stts");
        std::vector<uint64_t> stamps;
        uint64_t now = 0;
        for (uint64_t entry = 0; entry < number(table + 8); ++entry)
            for (uint64_t i = 0; i < number(table + 12 + entry * 8); ++i) {
                stamps.push_back(now * 1000 / units_a_second);
                now += number(table + 16 + entry * 8);
            }
        return stamps;
    }

    // Waits until the program has room for the video, and is about to fill it.
    static void wait_for_room(pid_t program) {
        const fs::path descriptors = "/proc/" + std::to_string(program) + "/fd";
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < end) {
            std::error_code error;
            for (const auto& each : fs::directory_iterator(descriptors, error)) {
                std::error_code gone;
                const std::string name = fs::read_symlink(each.path(), gone).string();
                if (name.find("p.html.kmr-mp4 (deleted)") != std::string::npos)
                    return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        FAIL() << "no video is made";
    }
};

TEST_F(ReportVideoTest, RefusesSizesThatAreNone) {
    place_.compose("a.kmr");
    for (const std::string size : {"0", "4097", "64MiB", "-1", "1.5", "0x40", "99999"}) {
        const auto run = command({"--video=" + size, "a.kmr", "-o", "p.html"});
        EXPECT_EQ(run.status, 2) << size;
        EXPECT_THAT(run.err,
                    testing::StartsWith("kmr: --video: " + size + " is no number of MiB from 1 to 4096\n"));
    }
    EXPECT_EQ(command({"--video=", "a.kmr", "-o", "p.html"}).status, 2);
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

TEST_F(ReportVideoTest, IsOfferedByTheHelp) {
    const auto run = command({"--help"});
    EXPECT_THAT(run.out, HasSubstr("\n  --video[=MIB] "));
    EXPECT_THAT(run.out, HasSubstr("  kmr report --video recording.kmr -o recording.html "));
}

#ifdef KMR_WITHOUT_CONTAINERS

TEST_F(ReportVideoTest, IsLeftOutWithoutTheLibrary) {
    compose_clip("a.kmr");
    expect_none({"--video", "a.kmr", "-o", "p.html"}, "libavformat, which makes it, is not there");
}

#else

// The library is looked for in this folder first, and what stands there is none.
TEST_F(ReportVideoTest, IsLeftOutWithoutTheLibrary) {
    compose_clip("a.kmr");
    const fs::path libraries = place_.folder().path() / "lib";
    fs::create_directory(libraries);
    for (int version = 59; version < 100; ++version)
        place_.folder().write_text("lib/libavformat.so." + std::to_string(version), "no library");
    expect_none({"--video", "a.kmr", "-o", "p.html"}, "libavformat, which makes it, is not there",
                {"LD_LIBRARY_PATH=" + libraries.string()});
}

TEST_F(ReportVideoTest, IsWhatExtractMakes) {
    for (const std::string coding : {"h264", "h265"}) {
        compose_from("a.kmr", clip("demo." + coding), {"--user-data", "all", "--segment", "osd=CAMERA"});
        const auto run = command({"--video", "a.kmr", "-o", "p.html", "--force"});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out + run.err, "");
        EXPECT_EQ(place_.kmr({"extract", "a.kmr", "-o", "a.mp4", "--force"}).status, 0);
        EXPECT_EQ(video(), text("a.mp4"));
        EXPECT_EQ(between(text("p.html"), facts_begin),
                  "{\"type\":\"video/mp4\",\"codec\":\"" + coding +
                      "\",\"frames\":75,\"left_out\":\"\",\"blocks\":1,\"runs\":[[88,75,0]]}");
    }
    EXPECT_THAT(names(), ElementsAre("a.kmr", "a.mp4", "p.html"));
}

// The page without its video is the page that is made without one.
TEST_F(ReportVideoTest, ChangesNothingElse) {
    compose_clip("a.kmr");
    EXPECT_EQ(command({"a.kmr", "-o", "without.html"}).status, 0);
    EXPECT_EQ(command({"a.kmr", "--video=64", "-o", "p.html"}).status, 0);
    std::string page = text("p.html");
    const size_t begin = page.find(facts_begin);
    page.erase(begin, page.find("</script>\n", page.find("id=\"video-bytes-0\"")) + 10 - begin);
    EXPECT_EQ(page, text("without.html"));
}

// Frame 21 is torn, so 22 to 25 hang in the air; 41 to 43 are missing, so 44 to 50 do. The clock runs back at frame 61:
// the video goes on by a millisecond, and from there as the clock does.
TEST_F(ReportVideoTest, TellsWhichFramesItShowsAndWhen) {
    compose_clip("a.kmr", {"--zero", "frame20:32", "--lose", "40:3", "--clock-jump", "60:-400"});
    const auto run = command({"--video", "a.kmr", "-o", "p.html"});
    EXPECT_EQ(run.status, 1);
    const std::string left_out = "left out 11 of 71 frames: 4 behind damage up to the next I-frame, 7 behind "
                                 "missing ones up to the next I-frame; 352 bytes that are no frame";
    EXPECT_EQ(run.err, "kmr: a.kmr: the video in the page: " + left_out + "\n");
    const auto told = facts();
    EXPECT_EQ(told["left_out"].GetString(), left_out);
    EXPECT_EQ(told["frames"].GetInt(), 60);

    const auto frames = parsed(between(text("p.html"), "<script type=\"application/json\" id=\"frames\">"));
    ASSERT_STREQ(frames["columns"][0].GetString(), "number");
    ASSERT_STREQ(frames["columns"][1].GetString(), "offset");
    const auto offset_of = [&](int number) {
        for (const auto& row : frames["rows"].GetArray())
            if (row[0].GetInt() == number)
                return row[1].GetInt64();
        return int64_t{-1};
    };
    const std::vector<std::vector<int64_t>> expected = {
        {88, 20, 0}, {offset_of(26), 15, 1000}, {offset_of(51), 10, 2000}, {offset_of(61), 15, 2361}};
    std::vector<std::vector<int64_t>> runs;
    std::vector<uint64_t> stamps;
    for (const auto& each : told["runs"].GetArray()) {
        runs.push_back({each[0].GetInt64(), each[1].GetInt64(), each[2].GetInt64()});
        for (uint64_t i = 0; i < each[1].GetUint64(); ++i)
            stamps.push_back(each[2].GetUint64() + 40 * i);
    }
    EXPECT_EQ(runs, expected);
    EXPECT_EQ(stamps_of(video()), stamps);
}

// The last frame, which no other hangs on.
TEST_F(ReportVideoTest, TellsOfBytesThatAreNoFrame) {
    compose_clip("a.kmr", {"--zero", "frame74:32"});
    const auto run = command({"--video", "a.kmr", "-o", "p.html"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err,
                MatchesRegex("kmr: a.kmr: the video in the page: left out [0-9]+ bytes that are no frame\n"));
    EXPECT_EQ(facts()["frames"].GetInt(), 74);
}

// Inserted frames are no loss.
TEST_F(ReportVideoTest, GoesOnBehindInsertedFrames) {
    compose_clip("a.kmr", {"--insert-after", "30"});
    const auto run = command({"--video", "a.kmr", "-o", "p.html"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "kmr: a.kmr: the video in the page: left out 1 of 76 frames: 1 inserted\n");
    const auto told = facts();
    ASSERT_EQ(told["runs"].Size(), 2U);
    EXPECT_EQ(told["runs"][0][1].GetInt() + told["runs"][1][1].GetInt(), 75);
    EXPECT_EQ(told["runs"][1][2].GetInt(), told["runs"][0][1].GetInt() * 40);
}

TEST_F(ReportVideoTest, IsLeftOutWhereItTakesTooMuch) {
    compose_long("a.kmr", 50); // 1.6 MB
    expect_none({"--video=1", "a.kmr", "-o", "p.html"}, "it takes 2 MiB, more than 1 (--video=2 lets it in)");
    EXPECT_EQ(command({"--video=2", "a.kmr", "-o", "p.html"}).status, 0);
    EXPECT_EQ(facts()["frames"].GetInt(), 50 * 75);
    EXPECT_THAT(names(), ElementsAre("a.kmr", "p.html"));
}

TEST_F(ReportVideoTest, StandsInSeveralPiecesWhereItIsLong) {
    compose_long("a.kmr", 400); // 12.8 MB, and a piece takes 12 MiB
    EXPECT_EQ(command({"--video", "a.kmr", "-o", "p.html"}).status, 0);
    EXPECT_EQ(facts()["blocks"].GetInt(), 2);
    EXPECT_EQ(place_.kmr({"extract", "a.kmr", "-o", "a.mp4"}).status, 0);
    EXPECT_TRUE(video() == text("a.mp4"));
}

TEST_F(ReportVideoTest, IsLeftOutWhereThereIsNone) {
    place_.compose("a.kmr");
    expect_none({"--video", "a.kmr", "-o", "p.html"},
                "the video has no parameter sets, and without them no container can hold it");
    place_.folder().write_text("notes", "no recording at all");
    expect_none({"--video", "notes", "-o", "p.html"}, "not a recording");
    // The level of the sets of frame 26 on: a byte behind the header, the start code and three more.
    compose_clip("b.kmr", {"--overwrite", "frame25+39:29", "--overwrite", "frame50+39:29"});
    expect_none(
        {"--video", "b.kmr", "-o", "p.html"},
        "the video's parameter sets change at frame 26, which .mp4 cannot hold (kmr extract makes .mkv)");
    EXPECT_THAT(names(), ElementsAre("a.kmr", "b.kmr", "notes"));
}

// What somebody else has there is not touched.
TEST_F(ReportVideoTest, TakesRoomUnderANameThatIsFree) {
    compose_clip("a.kmr");
    place_.folder().write_text("p.html.kmr-mp4", "mine");
    EXPECT_EQ(command({"--video", "a.kmr", "-o", "p.html"}).status, 0);
    EXPECT_EQ(facts()["frames"].GetInt(), 75);
    EXPECT_EQ(text("p.html.kmr-mp4"), "mine");
    EXPECT_THAT(names(), ElementsAre("a.kmr", "p.html", "p.html.kmr-mp4"));
    // Another name would be longer than names may be.
    const std::string longest = std::string(255 - 8 - 5, 'p') + ".html";
    place_.folder().write_text(longest + ".kmr-mp4", "mine");
    const auto run = command({"--video", "a.kmr", "-o", longest});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kmr: " + longest + ": File name too long\n");
    EXPECT_THAT(names(), ElementsAre("a.kmr", "p.html", "p.html.kmr-mp4", longest + ".kmr-mp4"));
}

// As disks that are full: of 1.6 MB of video, and 2.1 MB of it in a page.
TEST_F(ReportVideoTest, LeavesNothingBehindWhereThereIsNoRoom) {
    compose_long("a.kmr", 50);
    for (const std::string blocks : {"64", "1024", "1900"}) {
        const auto run =
            place_.shell("ulimit -f " + blocks +
                         "; \"$1\" report --video a.kmr -o p.html 2>&1 | cat; exit ${PIPESTATUS[0]}");
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.out, "kmr: p.html: File too large\n");
        EXPECT_THAT(names(), ElementsAre("a.kmr"));
    }
}

TEST_F(ReportVideoTest, LeavesNothingBehindWhenItIsInterrupted) {
    compose_long("a.kmr", 800);
    for (const int signal : {SIGINT, SIGTERM}) {
        kmr_test::on_terminal run(place_, {"report", "--video=200", "a.kmr", "-o", "p.html"});
        wait_for_room(run.child());
        kill(run.child(), signal);
        run.read_until();
        EXPECT_EQ(run.wait_status(), -signal);
        EXPECT_THAT(names(), ElementsAre("a.kmr"));
    }
}

TEST_F(ReportVideoTest, IsLeftOutOfARecordingThatIsRewrittenMeanwhile) {
    compose_long("a.kmr", 800);
    kmr_test::on_terminal run(place_, {"report", "--video=200", "a.kmr", "-o", "p.html"});
    wait_for_room(run.child());
    kmr_test::make_old(place_.folder().file("a.kmr"));
    EXPECT_THAT(
        run.read_until(),
        HasSubstr("kmr: a.kmr: no video in the page: the recording was changed while it was read\r\n"));
    EXPECT_EQ(run.wait_status(), 1);
    EXPECT_THAT(text("p.html"), Not(HasSubstr("id=\"video-facts\"")));
    EXPECT_THAT(names(), ElementsAre("a.kmr", "p.html"));
}

#endif

} // namespace
