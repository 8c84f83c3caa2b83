// Recordings that cannot be mended or copied, or only in part, and what is said of them. Of ten frames the headers stand
// at 88, 240, 336, 432, 528, 624, 776, 872, 968 and 1064, the index at 1160.
#include "tests/kmr/mend/failing_calls.hpp"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>

namespace {

using kmr_test::told;
using kmr_test::words;
using recording::bytes;
using recording::put_u32;
using scan_test::frames;
using scan_test::recording_of;
using scan_test::sound_frames;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class OddRecordingsTest : public kmr_test::FailingCallsTest {
protected:
    void expect_refused(const words& arguments, const std::string& message) const {
        const bytes before = content();
        const told run = kmr(arguments);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "kmr: a.kmr: " + message + "\n");
        EXPECT_EQ(content(), before);
        EXPECT_THAT(names(), ElementsAre("a.kmr"));
    }
};

// The video data of frame 4 hold what looks like the next frame, up to its end at 624. As long as other frames follow it
// is skipped. As the last one it would claim the rest of the recording, although that goes on within it.
frames with_a_frame_in_the_fourth() {
    frames all = sound_frames(10);
    const bytes inner =
        recording::frame_record({.number = 5, .time_stamp = 1160, .kind = 1, .video = scan_test::p_video()});
    recording::append(all[3].video, inner);
    return all;
}

TEST_F(OddRecordingsTest, NothingIsCopiedThatWouldNotBeSound) {
    set(recording_of(with_a_frame_in_the_fourth()));
    ASSERT_EQ(kmr({"check", "a.kmr"}).status, 0);
    expect_refused({"copy", "--to", "5", "a.kmr", "b.kmr"}, "what would come out is no sound recording");
    EXPECT_EQ(kmr({"copy", "--to", "6", "a.kmr", "b.kmr"}).status, 0);
}

// What stands in it is ahead of it, so it is taken for one that lost bytes and reaches over others; without the zeros behind
// those the recording ends with them, which proves them.
TEST_F(OddRecordingsTest, AFrameThatReachesOverAnotherIsCoveredUpToIt) {
    bytes file = scan_test::without_index(with_a_frame_in_the_fourth());
    std::fill(file.begin() + 624, file.end(), uint8_t{0});
    set(file);
    const auto run = kmr({"repair", "-y", "a.kmr"});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, HasSubstr("  keeps         4 frames, 0:00:00.160\n"
                                   "  cover         96 bytes at 432\n"
                                   "  cut           632 bytes at 624\n"));
    EXPECT_THAT(kmr({"check", "a.kmr"}).out, HasSubstr("  frames-lost; no repair  a.kmr"));
    EXPECT_EQ(kmr({"undo", "a.kmr"}).status, 0);
    EXPECT_EQ(content(), file);
}

// Three frames of 36 bytes, 40 bytes that are none, and so on, in more than 262,144 places.
TEST_F(OddRecordingsTest, TooManyPlacesAreNeitherMendedNorLeftOut) {
    constexpr uint32_t places = 262'146;
    bytes file = recording::file_header(3 * places);
    bytes one = recording::frame_record({.kind = 0, .video = bytes(4, 0xAA)});
    for (uint32_t i = 1; i <= 3 * places; ++i) {
        put_u32(one, 12, i);
        put_u32(one, 16, 40 * i);
        recording::append(file, one);
        one[8] = 1; // P-frames behind the first
        if (i % 3 == 0)
            file.insert(file.end(), 40, uint8_t{0x5A});
    }
    set(file);
    EXPECT_EQ(kmr({"repair", "-y", "a.kmr"}).err,
              "kmr: a.kmr: damaged in more places than can be mended at once\n");
    EXPECT_EQ(kmr({"copy", "a.kmr", "b.kmr"}).err,
              "kmr: a.kmr: damaged in more places than can be left out at once\n");
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

TEST_F(OddRecordingsTest, AHundredRegionsAreListedForTheEye) {
    bytes file = recording_of(sound_frames(510));
    for (size_t k = 0; k < 102; ++k)
        put_u32(file, 88 + 536 * k + 152, 0); // of the frame behind each I-frame
    set(file);
    const std::string told = kmr({"repair", "-n", "a.kmr"}).out;
    EXPECT_THAT(told, HasSubstr("  cover         96 bytes at 53304\n" // 88 + 536 x 99 + 152
                                "  and 2 more (--json lists them)\n"));
    const std::string json = kmr({"repair", "-n", "--json", "a.kmr"}).out;
    EXPECT_THAT(json, HasSubstr(R"({"action":"cover","offset":54376,"length":96}],)"));
}

TEST_F(OddRecordingsTest, AFrameThatIsSetRightIsNamed) {
    frames all = sound_frames(10);
    all[4].time_stamp = 99'999; // the stamp stands at 528 + 16
    set(recording_of(all));
    EXPECT_THAT(kmr({"repair", "-n", "a.kmr"}).out, HasSubstr("  set-stamp     4 bytes at 544, frame 5\n"));
}

TEST_F(OddRecordingsTest, TheLongestActionStandsApartFromWhatFollows) {
    bytes file = recording_of(sound_frames(10));
    std::fill_n(file.begin(), 88, uint8_t{0xEE});
    set(file);
    EXPECT_THAT(kmr({"repair", "-n", "a.kmr"}).out, HasSubstr("  rebuild-header 88 bytes at 0\n"));
}

// Frame 4 lacks ten bytes of 1 MiB, and twenty torn ones follow.
TEST_F(OddRecordingsTest, AFrameThatIsTooLongToTakeBytesInIsCovered) {
    constexpr size_t most = 1048576;
    frames all = sound_frames(10);
    all[3].video = scan_test::p_video(most - 10 - 32);
    bytes file = recording_of(all);
    file.insert(file.begin() + 432 + most - 10, 20, uint8_t{0x77});
    set(file);
    const std::string told = kmr({"repair", "-n", "a.kmr"}).out;
    EXPECT_THAT(told, HasSubstr("  keeps         9 frames, "));
    EXPECT_THAT(told, HasSubstr("  cover-frame   1048586 bytes at 432"));
    EXPECT_THAT(
        told, HasSubstr("  note          1 whole frame is covered: too long to take in the bytes behind\n"));
}

// 4100 frames of 1 MiB, which take no room, the header of the eighth gone, and an index without records behind them.
TEST_F(OddRecordingsTest, Beyond4GiBLittleIsMendedAndLittleCopied) {
    constexpr uint32_t mib = 1048576;
    std::ofstream to(place_.file("a.kmr"), std::ios::binary);
    const auto put = [&](const bytes& from) {
        to.write(reinterpret_cast<const char*>(from.data()), static_cast<std::streamsize>(from.size()));
    };
    put(recording::file_header(4100));
    for (uint32_t i = 0; i < 4100; ++i) {
        const bool is_i = i % 10 == 0;
        bytes begin = recording::frame_record({.number = i + 1,
                                               .time_stamp = 40 * i,
                                               .kind = is_i ? 0U : 1U,
                                               .video = is_i ? scan_test::i_video() : scan_test::p_video()});
        put_u32(begin, 4, mib);
        put_u32(begin, 20, mib - 32);
        if (i == 7)
            put_u32(begin, 0, 0);
        to.seekp(88 + int64_t{mib} * i);
        put(begin);
    }
    to.seekp(88 + int64_t{mib} * 4100);
    put(recording::index_block({}));
    to.close();
    const told run = kmr({"repair", "-n", "a.kmr"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out, HasSubstr("  keeps         4099 frames, "));
    EXPECT_THAT(run.out, HasSubstr("  cover         1048576 bytes at 7340120\n")); // 88 + 7 MiB
    EXPECT_THAT(run.out, Not(HasSubstr("  cut ")));
    EXPECT_THAT(run.out,
                HasSubstr("  note          beyond 4 GiB an index cannot name offsets: none is written\n"
                          "  note          1 error stays that no repair mends: kmr check -v tells\n"));
    const told copy = kmr({"copy", "a.kmr", "b.kmr"});
    EXPECT_EQ(copy.status, 2);
    EXPECT_EQ(copy.err,
              "kmr: a.kmr: the span is longer than 4 GiB, which an index cannot name; choose a shorter "
              "one\n");
}

TEST_F(OddRecordingsTest, ACopyAndNumbersForScripts) {
    bytes file = recording_of(sound_frames(10));
    put_u32(file, 336, 0);
    set(file);
    const told run = kmr({"repair", "--json", "-o", "b.kmr", "a.kmr"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(run.out, testing::StartsWith(R"({"schema":"kmr.repair/1","path":"a.kmr","changes":true,)"));
    EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 1);
    EXPECT_EQ(content(), file);
    EXPECT_EQ(kmr({"repair", "-n", "b.kmr"}).out, "b.kmr: nothing to do\n");
}

// VideoSize of frame 4 is one less than it was.
TEST_F(OddRecordingsTest, ACopyTellsDamagedFrames) {
    bytes file = recording_of(sound_frames(10));
    put_u32(file, 432 + 20, 63);
    set(file);
    EXPECT_THAT(kmr({"copy", "a.kmr", "b.kmr"}).out,
                HasSubstr("\n  left out      96 damaged bytes with 1 damaged frame in the span\n"));
    put_u32(file, 528 + 20, 63);
    set(file);
    EXPECT_THAT(kmr({"copy", "--force", "a.kmr", "b.kmr"}).out,
                HasSubstr("\n  left out      192 damaged bytes with 2 damaged frames in the span\n"));
}

TEST_F(OddRecordingsTest, ATimeOfDayNeedsADate) {
    bytes file = scan_test::without_index(sound_frames(10));
    recording::put_u16(file, 12, 13); // the month
    set(file);
    expect_refused({"copy", "--from", "2015-01-02T03:04:05", "a.kmr", "b.kmr"},
                   "nothing tells when it was recorded; name a stream time or a frame number");
    expect_refused({"copy", "--to", "2015-01-02T03:04:05", "a.kmr", "b.kmr"},
                   "nothing tells when it was recorded; name a stream time or a frame number");
    EXPECT_EQ(kmr({"copy", "--from", "0:00.200", "a.kmr", "b.kmr"}).status, 0);
}

TEST_F(OddRecordingsTest, ATagNeedsARecord) {
    frames all = sound_frames(5);
    all[0].kind = 1;
    all[0].video = scan_test::p_video();
    set(recording_of(all, {}));
    expect_refused({"tag", "add", "a.kmr", "0:00", "Gate"}, "the index has no records");
    expect_refused({"tag", "add", "a.kmr", "0", "Gate"}, "there is no record 0");
}

} // namespace
