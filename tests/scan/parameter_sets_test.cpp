// Parameter sets with the fields that few encoders write, put together bit by bit.
#include "scan/parameter_sets.hpp"
#include "tests/support/recording_bytes.hpp"

#include <gtest/gtest.h>
#include <string>

namespace {

namespace scan = kmr::scan;
using recording::bytes;
using scan::picture_size;

// Bits as text, which reads as the fields do.
class set_writer {
public:
    set_writer& bits(const std::string& text) {
        text_ += text;
        return *this;
    }
    set_writer& zeros(size_t count) { return bits(std::string(count, '0')); }
    set_writer& byte(unsigned value) {
        for (int bit = 7; bit >= 0; --bit)
            text_ += (value >> bit & 1) != 0 ? '1' : '0';
        return *this;
    }
    // Unsigned Exp-Golomb: as many zeros as the binary digits of value + 1, less one, and those digits.
    set_writer& number(unsigned value) {
        std::string digits;
        for (unsigned rest = value + 1; rest != 0; rest /= 2)
            digits.insert(digits.begin(), rest % 2 != 0 ? '1' : '0');
        return zeros(digits.size() - 1).bits(digits);
    }
    // The stop bit, zeros up to the byte, and the escapes that the stream needs.
    bytes finish() {
        text_ += '1';
        text_.resize((text_.size() + 7) / 8 * 8, '0');
        bytes unit;
        size_t zero_bytes = 0;
        for (size_t at = 0; at < text_.size(); at += 8) {
            const auto value = static_cast<uint8_t>(std::stoul(text_.substr(at, 8), nullptr, 2));
            if (zero_bytes == 2 && value <= 3) {
                unit.push_back(3);
                zero_bytes = 0;
            }
            zero_bytes = value == 0 ? zero_bytes + 1 : 0;
            unit.push_back(value);
        }
        return unit;
    }

private:
    std::string text_;
};

// The front of an H.264 set up to the fields of the profiles that have them.
set_writer h264(unsigned profile) {
    set_writer set;
    set.byte(0x67).byte(profile).byte(0).byte(40).number(0);
    return set;
}

// 40 x 30 macroblocks, 640 x 480; four units cut off at the right and three at the bottom.
bytes h264_end(set_writer& set, const std::string& order = "011", bool interlaced = false) {
    set.number(0);             // longest frame number
    set.bits(order);           // picture order: 011 is type 2, which has no fields
    set.number(1).bits("0");   // reference frames, gaps
    set.number(39).number(29); // macroblocks
    set.bits(interlaced ? "0" : "1");
    if (interlaced)
        set.bits("0");
    set.bits("1").bits("1").number(0).number(4).number(0).number(3).bits("0");
    return set.finish();
}

// Sample depths of 8 bits, no bypass.
void depths(set_writer& set) {
    set.number(0).number(0).bits("0");
}

TEST(H264SetTest, CutsOffInUnitsOfItsSampling) {
    const struct {
        unsigned chroma;
        const char* planes; // a bit that 4:4:4 alone has
        picture_size size;
    } samplings[] = {
        {0, "", {636, 477}},  // grey: one by one
        {1, "", {632, 474}},  // 4:2:0: two by two
        {2, "", {632, 477}},  // 4:2:2: two across
        {3, "0", {636, 477}}, // 4:4:4: one by one
        {3, "1", {636, 477}}, // in planes of their own
    };
    for (const auto& sampling : samplings) {
        set_writer set = h264(100);
        set.number(sampling.chroma).bits(sampling.planes);
        depths(set);
        set.bits("0"); // no scaling lists
        EXPECT_EQ(scan::size_in_h264_set(h264_end(set)), sampling.size) << sampling.chroma;
    }
}

// Those that say how colours are sampled.
TEST(H264SetTest, TellsItsSamplingInHighProfilesAlone) {
    for (const unsigned profile :
         {100U, 110U, 122U, 244U, 44U, 83U, 86U, 118U, 128U, 138U, 139U, 134U, 135U}) {
        set_writer set = h264(profile);
        set.number(2);
        depths(set);
        set.bits("0");
        EXPECT_EQ(scan::size_in_h264_set(h264_end(set)), (picture_size{632, 477})) << profile;
    }
    for (const unsigned profile : {66U, 77U, 88U}) {
        set_writer set = h264(profile);
        EXPECT_EQ(scan::size_in_h264_set(h264_end(set)), (picture_size{632, 474})) << profile;
    }
}

TEST(H264SetTest, CountsTheRowsOfBothFields) {
    set_writer set = h264(66);
    // 2 x 480 rows less 3 units of 2 x 2
    EXPECT_EQ(scan::size_in_h264_set(h264_end(set, "011", true)), (picture_size{632, 948}));
}

TEST(H264SetTest, PassesOverTheFieldsOfItsPictureOrder) {
    set_writer type_0 = h264(66);
    EXPECT_EQ(scan::size_in_h264_set(h264_end(type_0, "1"
                                                      "00101")),
              (picture_size{632, 474}));
    // type 1: a bit, two offsets (+1 and -1), two references (+1 and +2)
    set_writer type_1 = h264(66);
    EXPECT_EQ(scan::size_in_h264_set(h264_end(type_1, "010"
                                                      "0"
                                                      "010"
                                                      "011"
                                                      "011"
                                                      "010"
                                                      "00100")),
              (picture_size{632, 474}));
}

TEST(H264SetTest, WithMoreReferencesThanItHasBitsHasNoSize) {
    set_writer set = h264(66);
    set.number(0).bits("010").bits("0").bits("1").bits("1").number(255).bits("1111");
    EXPECT_FALSE(scan::size_in_h264_set(set.finish()).known());
}

TEST(H264SetTest, PassesOverScalingLists) {
    set_writer set = h264(100);
    set.number(1);
    depths(set);
    set.bits("1"); // lists follow, eight of them
    // The first ends with its first step: -8 leads from 8 to 0.
    set.bits("1").bits("000010001");
    // The second has all its sixteen steps: +1 each.
    set.bits("1");
    for (int i = 0; i < 16; ++i)
        set.bits("010");
    set.bits("0000"); // four are left out
    // The seventh has 64 steps of 0; the eighth goes back by 9 and so around to 255, then on by 1 to 0.
    set.bits("1");
    for (int i = 0; i < 64; ++i)
        set.bits("1");
    set.bits("1").bits("000010011").bits("010");
    EXPECT_EQ(scan::size_in_h264_set(h264_end(set)), (picture_size{632, 474}));
}

TEST(H264SetTest, HasTwelveScalingListsWithFullColours) {
    set_writer set = h264(244);
    set.number(3).bits("0");
    depths(set);
    set.bits("1").zeros(12);
    EXPECT_EQ(scan::size_in_h264_set(h264_end(set)), (picture_size{636, 477}));
}

TEST(H264SetTest, CutOffInsideItsScalingListsHasNoSize) {
    set_writer set = h264(100);
    set.number(1);
    depths(set);
    set.bits("1").bits("1").bits("111");
    EXPECT_FALSE(scan::size_in_h264_set(set.finish()).known());
}

TEST(H264SetTest, OfNoWidthOrHeightHasNoSize) {
    // 640 less 2 x 320 units leaves nothing, and so does 480 less 2 x 240.
    for (const auto& [right, bottom] : {std::pair{320U, 0U}, std::pair{0U, 240U}}) {
        set_writer set = h264(66);
        set.number(0).bits("011").number(1).bits("0").number(39).number(29).bits("1").bits("1");
        set.bits("1").number(0).number(right).number(0).number(bottom).bits("0");
        EXPECT_FALSE(scan::size_in_h264_set(set.finish()).known());
    }
}

// Profile and level: 88 and 8 bits, of each lower layer as far as its two bits say.
TEST(H265SetTest, PassesOverTheProfilesOfLowerLayers) {
    set_writer set;
    set.byte(0x42).byte(0x01);
    set.bits("0000").bits("011").bits("1"); // three lower layers
    set.zeros(96);
    set.bits("10").bits("01").bits("11"); // the first has a profile, the second a level, the third both
    set.zeros(10);                        // up to eight layers
    set.bits(std::string(88, '1')).bits(std::string(8, '1')).bits(std::string(96, '1'));
    set.number(0).number(2).number(640).number(480); // 4:2:2
    set.bits("1").number(1).number(2).number(3).number(4);
    EXPECT_EQ(scan::size_in_h265_set(set.finish()), (picture_size{634, 473}));
}

TEST(H265SetTest, PassesOverTheProfileOfOneLowerLayer) {
    set_writer set;
    set.byte(0x42).byte(0x01);
    set.bits("0000").bits("001").bits("1");
    set.zeros(96);
    set.bits("11").zeros(14); // profile and level; up to eight layers
    set.bits(std::string(96, '1'));
    set.number(0).number(1).number(640).number(480).bits("0");
    EXPECT_EQ(scan::size_in_h265_set(set.finish()), (picture_size{640, 480}));
}

bytes h265_set_of(uint32_t width, uint32_t height) {
    set_writer set;
    set.byte(0x42).byte(0x01).bits("0000").bits("000").bits("1").zeros(96);
    set.number(0).number(1).number(width).number(height).bits("0");
    return set.finish();
}

TEST(H265SetTest, WithoutCroppingIsAsLargeAsItSays) {
    EXPECT_EQ(scan::size_in_h265_set(h265_set_of(352, 288)), (picture_size{352, 288}));
}

TEST(H265SetTest, OfMoreThanAnyLevelAllowsHasNoSize) {
    EXPECT_EQ(scan::size_in_h265_set(h265_set_of(16384, 16384)), (picture_size{16384, 16384}));
    EXPECT_FALSE(scan::size_in_h265_set(h265_set_of(16385, 288)).known());
    EXPECT_FALSE(scan::size_in_h265_set(h265_set_of(352, 16385)).known());
}

} // namespace
