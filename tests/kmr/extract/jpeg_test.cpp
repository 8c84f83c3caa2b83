// MJPEG whose pictures are not all of one size.
#include "tests/kmr/extract/players.hpp"

#include <gtest/gtest.h>

namespace {

using kmr_test::words;

class ExtractJpegTest : public kmr_test::PlayersTest {
protected:
    // As the composer takes it.
    std::string jpeg(const std::string& size) const {
        EXPECT_EQ(
            ffmpeg({"-y", "-f", "lavfi", "-i", "testsrc2=rate=25:size=" + size, "-frames:v", "1", "one.jpg"})
                .status,
            0);
        auto file = content("one.jpg");
        file.resize(frame_size); // zeros behind its end disturb nobody
        std::string hex;
        for (const uint8_t each : file) {
            constexpr char digits[] = "0123456789abcdef";
            hex += digits[each / 16];
            hex += digits[each % 16];
        }
        return hex;
    }

    void compose(const words& sizes, const words& more = {}) const {
        words arguments = {"--frames",     std::to_string(sizes.size()),
                           "--payload",    std::to_string(frame_size),
                           "--i-interval", "1",
                           "--mode",       "41",
                           "--size",       "320x240"};
        for (size_t i = 0; i < sizes.size(); ++i)
            arguments.insert(arguments.end(),
                             {"--overwrite", "frame" + std::to_string(i) + "+32:" + jpeg(sizes[i])});
        arguments.insert(arguments.end(), more.begin(), more.end());
        place_.compose("a.kmr", arguments);
    }

    static constexpr size_t frame_size = 12000;
};

TEST_F(ExtractJpegTest, AnotherSizeNeedsMkv) {
    compose({"320x240", "320x240", "160x120", "160x120"});
    expect_refused({"a.kmr", "-o", "a.mp4"},
                   "a.kmr: the size of the picture changes at frame 3, which .mp4 cannot hold: use .mkv, or "
                   "begin there (--from 3)");
    EXPECT_EQ(extract({"a.kmr", "-o", "a.mkv"}).status, 0);
    EXPECT_EQ(stamps("a.mkv").size(), 4U);
    EXPECT_EQ(extract({"a.kmr", "-o", "a.mp4", "--from", "3"}).status, 0);
    EXPECT_EQ(probe("a.mp4", {"-show_entries", "stream=width,height"}), "160,120\n");
}

// Its header may be damaged: what is behind it goes on as before.
TEST_F(ExtractJpegTest, OneAloneOfAnotherSizeIsNoChange) {
    compose({"320x240", "160x120", "320x240", "160x120", "320x240"});
    EXPECT_EQ(extract({"a.kmr", "-o", "a.mp4"}).status, 0);
    EXPECT_EQ(stamps("a.mp4").size(), 5U);
}

TEST_F(ExtractJpegTest, TheSizeIsKnownWithoutAFileHeader) {
    compose({"160x120", "160x120"}, {"--zero", "0:88"});
    EXPECT_EQ(extract({"a.kmr", "-o", "a.mp4"}).status, 0);
    EXPECT_EQ(probe("a.mp4", {"-show_entries", "stream=codec_name,width,height"}), "mjpeg,160,120\n");
}

} // namespace
