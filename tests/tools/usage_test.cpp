// Wrong arguments and files: what is said, which status, and that no file is left or harmed.
#include "tests/tools/composer.hpp"
#include "tests/tools/hex_bytes.hpp"

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

void expect_refusal(const composer::words& arguments, const std::string& message) {
    const composer make;
    const run::result done = make.run_with(composer::words{"--output", "x"} + arguments);
    EXPECT_EQ(done.status, 2) << message;
    EXPECT_EQ(done.out, "");
    EXPECT_EQ(done.err, "kmr_make: " + message + "\nSee kmr_make --help.\n");
    EXPECT_THAT(make.files(), IsEmpty());
}

TEST(UsageTest, HelpNamesEveryOption) {
    const composer make;
    const run::result done = make.run_with({"--help"});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    for (const char* option : {"--output FILE",
                               "--index-dat FILE",
                               "--demo",
                               "--list",
                               "--help",
                               "--video FILE",
                               "--codec h264|h265",
                               "--frames N",
                               "--i-interval N",
                               "--payload BYTES",
                               "--p-payload BYTES",
                               "--fill HEX",
                               "--sparse",
                               "--audio COUNTxBYTES",
                               "--first-number N",
                               "--first-stamp MS",
                               "--stamp-step MS",
                               "--start-epoch SECONDS",
                               "--frame-rate N",
                               "--size WIDTHxHEIGHT",
                               "--mode N",
                               "--start TIME",
                               "--cover-word TEXT",
                               "--frame-count N",
                               "--header FIELD=VALUE",
                               "--user-data FRAMES",
                               "--segment NAME=VALUE",
                               "--segment-length BYTES",
                               "--block-magic HEX",
                               "--block-count N",
                               "--block-length BYTES",
                               "--block-size BYTES",
                               "--block-content HEX",
                               "--block-lead HEX",
                               "--unescaped",
                               "--tag N=TEXT",
                               "--record-field N.FIELD=VALUE",
                               "--no-index",
                               "--no-trailer",
                               "--trailer-magic N",
                               "--trailer-length BYTES",
                               "--index-field FIELD=VALUE",
                               "--index-noise SEED",
                               "--lose N:COUNT",
                               "--clock-jump N:MS",
                               "--insert-after FRAMES",
                               "--inserted-payload BYTES",
                               "--encrypt FRAMES",
                               "--frame-field FRAMES.FIELD=VALUE",
                               "--gap-bytes N:BYTES",
                               "--torn-last BYTES",
                               "--truncate PLACE",
                               "--zero PLACE:BYTES",
                               "--overwrite PLACE:HEX",
                               "--noise PLACE:BYTES:SEED",
                               "--record CHANNEL,KIND,TIME,NAME,PATH",
                               "--records LIST",
                               "--made-up-records COUNT:TIME:STEP"})
        EXPECT_THAT(done.out, HasSubstr(std::string("  ") + option + "\n"));
}

TEST(UsageTest, SomethingHasToBeWritten) {
    const composer make;
    const std::string message =
        "kmr_make: either --output FILE or --index-dat FILE is needed\nSee kmr_make --help.\n";
    for (const composer::words& arguments :
         {composer::words{}, {"--demo"}, {"--output", "a", "--index-dat", "b"}, {"--output", ""}}) {
        const run::result done = make.run_with(arguments);
        EXPECT_EQ(done.status, 2);
        EXPECT_EQ(done.err, message);
    }
    EXPECT_THAT(make.files(), IsEmpty());
}

TEST(UsageTest, UnknownWordsAreRefused) {
    expect_refusal({"--nothing"}, "--nothing is no option, is short for several, or takes no value");
    expect_refusal({"--frame", "3"}, "--frame is no option, is short for several, or takes no value");
    expect_refusal({"--list=3"}, "--list=3 is no option, is short for several, or takes no value");
    expect_refusal({"word"}, "word is no option");
    expect_refusal({"--frames"}, "--frames needs a value");
}

TEST(UsageTest, BadValuesAreNamedWithTheirOption) {
    expect_refusal({"--frames", "many"}, "--frames: 'many' is not a number from 0 to 4294967295");
    expect_refusal({"--frames", "4294967296"}, "--frames: '4294967296' is not a number from 0 to 4294967295");
    expect_refusal({"--frames", "-1"}, "--frames: '-1' is not a number from 0 to 4294967295");
    expect_refusal({"--frames", "0x"}, "--frames: '0x' is not a number from 0 to 4294967295");
    expect_refusal({"--frames", "1 "}, "--frames: '1 ' is not a number from 0 to 4294967295");
    expect_refusal({"--mode", "65536"}, "--mode: '65536' is not a number from 0 to 65535");
    expect_refusal({"--i-interval", "0"}, "--i-interval: it must be at least 1");
    expect_refusal({"--codec", "mpeg2"}, "--codec: 'mpeg2' is neither h264 nor h265");
    expect_refusal({"--fill", "5555"}, "--fill: '5555' is not one byte");
    expect_refusal({"--fill", "5"}, "--fill: '5' is not an even number of hexadecimal digits");
    expect_refusal({"--audio", "2"}, "--audio: '2' is not of the form AxB");
    expect_refusal({"--start", "2015-02-29 00:00:00"},
                   "--start: '2015-02-29 00:00:00' is not a time of the form YYYY-MM-DD hh:mm:ss");
    expect_refusal({"--start", "2015-01-01 24:00:00"},
                   "--start: '2015-01-01 24:00:00' is not a time of the form YYYY-MM-DD hh:mm:ss");
    expect_refusal({"--cover-word", std::string(37, 'x')},
                   "--cover-word: '" + std::string(37, 'x') + "' is longer than 36 bytes");
    expect_refusal({"--tag", "0=" + std::string(65, 'x')},
                   "--tag: '" + std::string(65, 'x') + "' is longer than 64 bytes");
    expect_refusal({"--header", "AChannels=256"}, "--header: '256' is not a number from 0 to 255");
    expect_refusal(
        {"--record-field", "0.Name=1"},
        "--record-field: 'Name' is none of the fields TimeNow, IPos, Sign, VideoWidth, VideoHeight");
    expect_refusal({"--segment-length", "5"},
                   "--segment-length: it belongs to the --segment in front of it, and there is none");
    expect_refusal({"--block-magic", "41"}, "--block-magic: '41' is not four bytes");
    expect_refusal({"--encrypt", "5-4"}, "--encrypt: '5-4' ends before it begins");
    expect_refusal({"--encrypt", "every:0"}, "--encrypt: 'every:0' selects no frame");
    expect_refusal({"--clock-jump", "1:--5"},
                   "--clock-jump: '-5' is not a number from 0 to 4611686018427387903");
    expect_refusal({"--zero", "nowhere:5"},
                   "--zero: 'nowhere' is not a number from 0 to 4611686018427387903");
}

TEST(UsageTest, WhatDoesNotFitTheFramesIsRefused) {
    expect_refusal({"--tag", "4=x"}, "there is no index record 4: there are 4, counted from 0");
    expect_refusal({"--encrypt", "100"}, "there is no frame 100: there are 100, counted from 0");
    expect_refusal({"--user-data", "100-200"}, "there is no frame 100: there are 100, counted from 0");
    expect_refusal({"--insert-after", "100"}, "there is no frame 100: there are 100, counted from 0");
    expect_refusal({"--frame-field", "100.Tag=1"}, "there is no frame 100: there are 100, counted from 0");
    expect_refusal({"--clock-jump", "100:1"}, "there is no frame 100: there are 100, counted from 0");
    expect_refusal({"--gap-bytes", "100:1"}, "there is no frame 100: there are 100, counted from 0");
    expect_refusal({"--lose", "100:1"}, "there is no frame 100: there are 100, counted from 0");
    expect_refusal({"--lose", "99:2"}, "there are not 2 frames to lose from frame 99 on");
    expect_refusal({"--torn-last", "1032"}, "the last frame has 1032 bytes, so it is not torn after 1032");
}

TEST(UsageTest, AVideoWithoutFramesIsRefused) {
    const composer make;
    make.folder().write_text("clip", "no video at all");
    const run::result done = make.run_with({"--output", "x", "--video", "clip"});
    EXPECT_EQ(done.status, 2);
    EXPECT_EQ(done.err, "kmr_make: clip: no frames of this codec in it\nSee kmr_make --help.\n");
    EXPECT_THAT(make.files(), ElementsAre("clip"));
}

TEST(UsageTest, AVideoFrameOfMoreThanAMebibyteIsRefused) {
    const composer make;
    recording::bytes clip = hex("00000001 6588");
    clip.resize(1048576 - 32, 0x55);
    make.folder().write("fits.h264", clip);
    clip.push_back(0x55);
    make.folder().write("long.h264", clip);
    EXPECT_EQ(make.run_with({"--output", "x", "--video", "fits.h264"}).status, 0);
    const run::result done = make.run_with({"--output", "y", "--video", "long.h264"});
    EXPECT_EQ(done.status, 2);
    EXPECT_EQ(done.err, "kmr_make: long.h264: a frame of it is longer than 1 MiB\nSee kmr_make --help.\n");
}

TEST(UsageTest, FilesThatCannotBeReadOrWrittenAreNamed) {
    const composer make;
    const auto message = [&](const composer::words& arguments) {
        const run::result done = make.run_with(arguments);
        EXPECT_EQ(done.status, 1);
        return done.err;
    };
    EXPECT_EQ(message({"--output", "x", "--video", "gone"}), "kmr_make: gone: No such file or directory\n");
    EXPECT_EQ(message({"--index-dat", "x", "--records", "gone"}),
              "kmr_make: gone: No such file or directory\n");
    EXPECT_EQ(message({"--output", "gone/x"}), "kmr_make: gone/x: No such file or directory\n");
    EXPECT_EQ(message({"--output", "."}), "kmr_make: .: not a regular file\n");
    EXPECT_EQ(message({"--output", "/dev/null"}), "kmr_make: /dev/null: not a regular file\n");
    EXPECT_THAT(make.files(), IsEmpty());
}

TEST(UsageTest, AFailureLeavesTheFileThatWasThere) {
    const composer make;
    make.folder().write_text("x", "precious");
    EXPECT_EQ(make.run_with({"--output", "x", "--truncate", "1000000"}).status, 2);
    EXPECT_EQ(scratch::read_text(make.folder().file("x")), "precious");
    EXPECT_EQ(make.run_with({"--output", "x", "--frames", "0"}).status, 0);
    EXPECT_EQ(scratch::read_text(make.folder().file("x")).size(), 140u);
    EXPECT_THAT(make.files(), ElementsAre("x"));
}

TEST(UsageTest, WhatCannotBePrintedIsAFailure) {
    const composer make;
    for (const composer::words& arguments :
         {composer::words{"--help"}, two_small_frames + composer::words{"--output", "x", "--list"}}) {
        const run::result done = run::program(
            KMR_MAKE, arguments, {.directory = make.folder().path(), .stdout_path = "/dev/full"});
        EXPECT_EQ(done.status, 1);
        EXPECT_EQ(done.err, "kmr_make: standard output: No space left on device\n");
    }
}

} // namespace
