// What went into a recording comes out of it.
#include "tests/kmr/extract/extracting.hpp"

#include <algorithm>
#include <gmock/gmock.h>

namespace {

using kmr_test::words;
using recording::bytes;
using testing::ElementsAre;

class ExtractStreamsTest : public kmr_test::ExtractingTest {};

TEST_F(ExtractStreamsTest, BitForBit) {
    for (const std::string coding : {"h264", "h265"}) {
        const std::string name = "a." + coding;
        compose_clip("a.kmr", "demo." + coding);
        const auto run = extract({"a.kmr", "-o", name});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out + run.err, "");
        EXPECT_EQ(content(name), clip("demo." + coding));
        const auto piped = extract({"a.kmr", "-o", "-"});
        EXPECT_EQ(piped.status, 0);
        EXPECT_EQ(bytes(piped.out.begin(), piped.out.end()), clip("demo." + coding));
        EXPECT_EQ(piped.err, "");
    }
    EXPECT_THAT(names(), ElementsAre("a.h264", "a.h265", "a.kmr"));
}

TEST_F(ExtractStreamsTest, SoundAndUserDataChangeNothingOfIt) {
    compose_clip("a.kmr", "demo.h264", {"--audio", "2x160"});
    EXPECT_EQ(extract({"a.kmr", "-o", "a.h264"}).status, 0);
    EXPECT_EQ(content("a.h264"), clip("demo.h264"));
    EXPECT_EQ(extract({"a.kmr", "-o", "A.RAW"}).status, 0);
    EXPECT_EQ(content("A.RAW").size(), 75U * 320U);
}

TEST_F(ExtractStreamsTest, UserDataStaysUnlessItIsNotWanted) {
    for (const std::string coding : {"h264", "h265"}) {
        const std::string name = "a." + coding;
        compose_clip("a.kmr", "demo." + coding, {"--user-data", "all", "--segment", "osd=CAMERA"});
        EXPECT_EQ(extract({"a.kmr", "-o", name}).status, 0);
        const bytes with = content(name);
        EXPECT_GT(with.size(), clip("demo." + coding).size() + size_t{75} * 8);
        const std::string text = "CAMERA";
        EXPECT_NE(std::search(with.begin(), with.end(), text.begin(), text.end()), with.end());
        EXPECT_EQ(extract({"a.kmr", "-o", name, "--force", "--strip-user-data"}).status, 0);
        EXPECT_EQ(content(name), clip("demo." + coding));
    }
}

// Ten frames of 100 and 50 bytes.
TEST_F(ExtractStreamsTest, WhatTheHeaderSaysOfTheCodingHolds) {
    place_.compose("a.kmr", {"--mode", "41"});
    EXPECT_EQ(extract({"a.kmr", "-o", "a.mjpeg"}).status, 0);
    EXPECT_EQ(content("a.mjpeg").size(), 2U * 100 + 8U * 50);
    expect_refused({"a.kmr", "-o", "a.h264"}, "a.kmr: the video is MJPEG: name a file that ends with .mjpeg");
    place_.compose("b.kmr");
    EXPECT_EQ(extract({"b.kmr", "-o", "b.h264"}).status, 0);
    EXPECT_EQ(content("b.h264"), content("a.mjpeg"));
}

TEST_F(ExtractStreamsTest, ASuffixOfAnotherCodingIsRefused) {
    compose_clip("a.kmr", "demo.h265");
    compose_clip("b.kmr", "demo.h264");
    expect_refused({"a.kmr", "-o", "a.h264"}, "a.kmr: the video is H.265: name a file that ends with .h265");
    expect_refused({"b.kmr", "-o", "b.h265"}, "b.kmr: the video is H.264: name a file that ends with .h264");
    expect_refused({"b.kmr", "-o", "b.mjpeg"}, "b.kmr: the video is H.264: name a file that ends with .h264");
}

TEST_F(ExtractStreamsTest, APartBeginsAtTheIFrameBeforeAndIncludesItsLastSecond) {
    place_.compose("a.kmr", {"--frames", "20", "--stamp-step", "500"}); // I-frames at 0, 2.5, 5 and 7.5 s
    const auto sizes = [&](const words& span) {
        words arguments = {"a.kmr", "-o", "-"};
        arguments.insert(arguments.end(), span.begin(), span.end());
        const auto run = extract(arguments);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, "");
        return run.out.size();
    };
    EXPECT_EQ(sizes({"--from", "0:04"}), 3U * 100 + 12U * 50);      // 6 to 20
    EXPECT_EQ(sizes({"--from", "0:05"}), 2U * 100 + 8U * 50);       // 11 to 20
    EXPECT_EQ(sizes({"--to", "0:04"}), 2U * 100 + 8U * 50);         // 4.0 and 4.5 belong to it: 1 to 10
    EXPECT_EQ(sizes({"--to", "0:04.200"}), 2U * 100 + 8U * 50);     // so does the rest of its second
    EXPECT_EQ(sizes({"--to", "0:05"}), 3U * 100 + 9U * 50);         // 1 to 12
    EXPECT_EQ(sizes({"--from", "7", "--to", "9"}), 100U + 2U * 50); // 6 to 8
    EXPECT_EQ(sizes({"--from", "2015-01-02T03:04:09", "--to", "2015-01-02T03:04:09"}), 100U + 4U * 50);
    EXPECT_EQ(sizes({"--from", "2015-01-02T04:04:09+01:00", "--to", "0:05"}), 2U * 100 + 5U * 50); // 6 to 12
    expect_refused({"a.kmr", "-o", "b.h264", "--from", "21"}, "a.kmr: nothing is left that could be written");
    expect_refused({"a.kmr", "-o", "b.h264", "--from", "noon"},
                   "noon: neither a frame number nor a stream time (M:SS.mmm) nor a time (ISO 8601)");
    expect_refused({"a.kmr", "-o", "b.h264", "--to", "4294967296"}, "4294967296: no frame has such a number");
}

TEST_F(ExtractStreamsTest, WhatIsLeftOutIsTold) {
    place_.compose("a.kmr", {"--frames", "20", "--encrypt", "2", "--lose", "7:1", "--insert-after", "11",
                             "--p-payload", "80"});
    const auto run = extract({"a.kmr", "-o", "a.h264"});
    // Frames of the composer count from 0: 3 is encrypted, 8 is gone.
    EXPECT_EQ(run.err,
              "kmr: a.kmr: left out 6 of 20 frames: 1 encrypted, 2 behind missing ones up to the next "
              "I-frame, 2 behind encrypted ones up to the next I-frame, 1 inserted\n");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(content("a.h264").size(), 4U * 100 + 10U * 80);
    const auto kept = extract({"a.kmr", "-o", "a.h264", "--force", "--keep-damaged"});
    EXPECT_EQ(kept.err, "kmr: a.kmr: left out 2 of 20 frames: 1 encrypted, 1 inserted\n");
    EXPECT_EQ(kept.status, 1);
    EXPECT_EQ(content("a.h264").size(), 4U * 100 + 14U * 80);
}

TEST_F(ExtractStreamsTest, InsertedFramesAreToldButNothingIsWrong) {
    place_.compose("a.kmr", {"--insert-after", "3"});
    const auto run = extract({"a.kmr", "-o", "a.h264"});
    EXPECT_EQ(run.err, "kmr: a.kmr: left out 1 of 11 frames: 1 inserted\n");
    EXPECT_EQ(run.status, 0);
}

TEST_F(ExtractStreamsTest, DamageIsToldInBytesAndFrames) {
    place_.compose("a.kmr", {"--frames", "20", "--zero", "frame7:32"});
    const auto run = extract({"a.kmr", "-o", "a.h264"});
    EXPECT_EQ(run.err,
              "kmr: a.kmr: left out 2 of 19 frames: 2 behind damage up to the next I-frame; 82 bytes that "
              "are no frame\n");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(extract({"a.kmr", "-o", "-", "--keep-damaged"}).err,
              "kmr: a.kmr: left out 82 bytes that are no frame\n");
}

TEST_F(ExtractStreamsTest, WhereNothingIsLeftThereIsNoFile) {
    place_.compose("a.kmr", {"--encrypt", "all", "--p-payload", "80"});
    expect_refused(
        {"a.kmr", "-o", "a.h264"},
        "a.kmr: left out 10 of 10 frames: 10 encrypted\nkmr: a.kmr: nothing is left that could be written");
    expect_refused(
        {"a.kmr", "-o", "-"},
        "a.kmr: left out 10 of 10 frames: 10 encrypted\nkmr: a.kmr: nothing is left that could be written");
    place_.compose("b.kmr");
    expect_refused({"b.kmr", "-o", "b.raw"}, "b.kmr: nothing is left that could be written");
}

} // namespace
