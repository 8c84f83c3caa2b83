// Sound in containers: 320 bytes with every frame, which at 8000 a second are the 40 ms that it is shown.
#include "tests/kmr/extract/players.hpp"

#include <gmock/gmock.h>

namespace {

using kmr_test::words;

const std::string containers[] = {"mp4", "mkv"};

class ExtractSoundTest : public kmr_test::PlayersTest {
protected:
    void compose(const words& more = {}) const {
        words arguments = {"--audio", "2x160", "--header", "AChannels=1", "--header", "AudioSample=8000"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        compose_clip("a.kmr", "demo.h264", arguments);
        raw_ = content_of_raw();
    }
    recording::bytes content_of_raw() const {
        EXPECT_LE(extract({"a.kmr", "-o", "a.raw", "--force"}).status, 1);
        return content("a.raw");
    }
    // As it stands in the container, not decoded.
    recording::bytes stored(const std::string& name, const std::string& format) const {
        const auto run = ffmpeg({"-v", "error", "-i", name, "-map", "0:a", "-c", "copy", "-f", format, "-"});
        EXPECT_EQ(run.err, "");
        return {run.out.begin(), run.out.end()};
    }

    mutable recording::bytes raw_ = {};
};

TEST_F(ExtractSoundTest, StandsBesideTheVideo) {
    compose();
    ASSERT_EQ(raw_.size(), 75U * 320);
    for (const words& coding : {words{"alaw", "pcm_alaw", "alaw"}, words{"mulaw", "pcm_mulaw", "mulaw"},
                                words{"u8", "pcm_u8", "u8"}, words{"s16le", "pcm_s16le", "s16le"}}) {
        for (const std::string& container : containers) {
            SCOPED_TRACE(coding[0] + " " + container);
            const std::string name = "a." + container;
            EXPECT_EQ(extract({"a.kmr", "-o", name, "--audio", coding[0], "--force"}).status, 0);
            EXPECT_EQ(probe(name, {"-select_streams", "a", "-show_entries",
                                   "stream=codec_name,sample_rate,channels"}),
                      coding[1] + ",8000,1\n");
            EXPECT_EQ(pictures(name), pictures_of_clip("demo.h264"));
            if (coding[0] != "s16le") { // of which there is half of what the clock asks for
                EXPECT_EQ(stored(name, coding[2]), raw_);
            }
        }
    }
}

TEST_F(ExtractSoundTest, IsSilentWhereFramesAreLeftOut) {
    compose({"--lose", "30:5"}); // 31 to 35 are gone, 36 to 50 left out
    ASSERT_EQ(raw_.size(), 55U * 320);
    recording::bytes expected(raw_.begin(), raw_.begin() + 9600); // 30 frames of 320 bytes
    expected.insert(expected.end(), size_t{20} * 320, 0xD5);
    expected.insert(expected.end(), raw_.begin() + 9600, raw_.end());
    for (const std::string& container : containers) {
        const std::string name = "a." + container;
        EXPECT_EQ(extract({"a.kmr", "-o", name, "--audio", "alaw"}).status, 1);
        EXPECT_EQ(stored(name, "alaw"), expected);
        EXPECT_EQ(sound(name).size(), size_t{75} * 320 * 2);
        EXPECT_EQ(stamps(name, "a").front(), 0);
    }
}

TEST_F(ExtractSoundTest, IsLeftOutUnlessItsCodingIsNamed) {
    compose();
    for (const std::string& container : containers) {
        EXPECT_EQ(extract({"a.kmr", "-o", "a." + container}).status, 0);
        EXPECT_EQ(probe("a." + container, {"-show_entries", "stream=codec_type"}), "video\n");
    }
}

TEST_F(ExtractSoundTest, EndlessSilenceIsRefused) {
    compose({"--clock-jump", "40:36001000"});
    const auto run = extract({"a.kmr", "-o", "a.mkv", "--audio", "alaw"});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, testing::HasSubstr("more than ten hours without sound end at frame "));
    EXPECT_EQ(extract({"a.kmr", "-o", "a.mkv", "--audio", "alaw", "--close-pauses", "1"}).status, 0);
    EXPECT_EQ(stored("a.mkv", "alaw"), raw_);
}

} // namespace
