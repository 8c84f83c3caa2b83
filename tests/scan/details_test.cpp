// What a scan tells of things that sound recordings of the recorder do not have, or that their findings do not show.
#include "scan/parameter_sets.hpp"
#include "scan/payload.hpp"
#include "scan/quick_look.hpp"
#include "tests/scan/compose.hpp"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <initializer_list>
#include <span>

namespace {

namespace scan = kmr::scan;
using scan::picture_size;
using scan_test::bytes;
using testing::ElementsAre;

class bit_writer {
public:
    bit_writer& bits(size_t count, uint32_t value) {
        while (count-- > 0)
            bits_.push_back((value >> count & 1) != 0);
        return *this;
    }
    // Ones and zeros in turn, which no escape can be taken for.
    bit_writer& filler(size_t count) {
        for (size_t i = 0; i < count; ++i)
            bits_.push_back(i % 2 == 0);
        return *this;
    }
    bit_writer& number(uint32_t value) { // Exp-Golomb
        size_t length = 0;
        while ((value + 1) >> (length + 1) != 0)
            ++length;
        return bits(length, 0).bits(length + 1, value + 1);
    }
    bytes behind(bytes unit) {
        bits(1, 1);
        while (bits_.size() % 8 != 0)
            bits_.push_back(false);
        for (size_t i = 0; i < bits_.size(); i += 8) {
            uint8_t byte = 0;
            for (size_t bit = 0; bit < 8; ++bit)
                byte = static_cast<uint8_t>(byte << 1 | (bits_[i + bit] ? 1 : 0));
            unit.push_back(byte);
        }
        return unit;
    }

private:
    std::vector<bool> bits_;
};

bytes high_profile_set(uint32_t luma_depth, uint32_t chroma_depth) {
    bit_writer set;
    set.bits(8, 100).bits(16, 40).number(0);                          // profile, level, the set's number
    set.number(1).number(luma_depth).number(chroma_depth).bits(2, 0); // 4:2:0, no scaling lists
    set.number(0).number(0).number(0).number(1).bits(1, 0);           // order of pictures, references
    set.number(119).number(67).bits(2, 3);                            // macroblocks, whole frames
    return set.bits(1, 1).number(0).number(0).number(0).number(4).behind({0x67}); // 8 rows cropped
}

TEST(ParameterBitsTest, SamplesOfAnyDepth) {
    EXPECT_EQ(scan::size_in_h264_set(high_profile_set(0, 0)), (picture_size{1920, 1080}));
    EXPECT_EQ(scan::size_in_h264_set(high_profile_set(2, 2)), (picture_size{1920, 1080}));
    EXPECT_EQ(scan::size_in_h264_set(high_profile_set(6, 1)), (picture_size{1920, 1080}));
}

TEST(ParameterBitsTest, LowerLayersArePassedOver) {
    bit_writer set;
    set.bits(4, 0).bits(3, 2).bits(1, 1).filler(88 + 8); // two layers below the highest
    set.bits(2, 0b11).bits(2, 0b01).filler(size_t{2} *
                                           6); // profile and level of one, level of the other, rest
    set.filler(88 + 8).filler(8);
    set.number(0).number(1).number(1920).number(1088);
    set.bits(1, 1).number(0).number(0).number(0).number(4);
    EXPECT_EQ(scan::size_in_h265_set(set.behind({0x42, 0x01})), (picture_size{1920, 1080}));
}

// What lies behind in memory does not belong to the frame.
TEST(ParameterBitsTest, ASetThatIsCutOffHasNoSize) {
    bytes video = {0, 0, 0, 1};
    recording::append(video, high_profile_set(0, 0));
    const auto cut = std::span<const uint8_t>(video).first(4 + 8);
    const auto size = static_cast<uint32_t>(cut.size());
    EXPECT_EQ(scan::look_at(cut, size, scan::look_at_user_data(cut), scan::video_codec::h264).size,
              picture_size{});
}

TEST(UserDataLengthTest, IsThatOfTheWholeUnit) {
    const bytes unit =
        scan_test::user_data_unit(scan_test::user_data_block("ZNST", 1, {0xD1, 0xFE, 2, 0, 'h', 'i'}));
    EXPECT_EQ(scan::look_at_user_data(unit).unit_length, unit.size());
}

// Where no I-frame stands first the clock runs before the first record's frame.
TEST(QuickLookOfAnIndexTest, StartsWithTheFirstFrame) {
    const scan_test::frames all = {
        {.number = 1, .time_stamp = 1000, .kind = 1, .video = scan_test::p_video()},
        {.number = 2, .time_stamp = 3000, .kind = 0, .video = scan_test::i_video()},
        {.number = 3, .time_stamp = 3040, .kind = 1, .video = scan_test::p_video()}};
    const bytes file = scan_test::recording_of(all); // the record: two seconds behind the start
    scan::memory_source source(file);
    const scan::quick_look seen = scan::look_quickly(source);
    EXPECT_EQ(seen.start_ms, int64_t{scan_test::start_time} * 1000);
    EXPECT_EQ(seen.duration_ms, 2040);
}

TEST(QuickLookOfAnIndexTest, TellsThatItIsThere) {
    const bytes file = scan_test::recording_of(scan_test::sound_frames(10));
    scan::memory_source source(file);
    const scan::quick_look seen = scan::look_quickly(source);
    EXPECT_TRUE(seen.index.present);
    EXPECT_EQ(seen.index.offset, 1160U);
}

class frame_counter final : public scan::observer {
public:
    void on_frame(const scan::seen_frame& met) override { offsets.push_back(met.frame.offset); }
    std::vector<uint64_t> offsets;
};

TEST(ObserverOfBrokenFramesTest, SeesTheOneThatTheEndHasTorn) {
    bytes file = scan_test::without_index(scan_test::sound_frames(5));
    file.resize(file.size() - 10);
    scan::memory_source source(file);
    frame_counter frames;
    scan::judge(source, {}, &frames);
    EXPECT_THAT(frames.offsets, ElementsAre(88U, 240U, 336U, 432U, 528U));
}

// A source that is shorter at the end of the scan than it was, although every read brought what it promised.
class shrinking_source final : public scan::byte_source {
public:
    explicit shrinking_source(const bytes& file) : file_(file) {}
    uint64_t size() const override { return file_.size(); }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        return file_.read_at(offset, into);
    }
    scan::source_change change() const override { return scan::source_change::shrunk; }

private:
    scan::memory_source file_;
};

TEST(ChangedSourceTest, ThatHasShrunkIsUnreadableHoweverItWasRead) {
    const bytes file = scan_test::without_index(scan_test::sound_frames(5)); // whole, it could be mended
    shrinking_source source(file);
    const scan::report judged = scan::judge(source, {});
    EXPECT_TRUE(judged.changed);
    EXPECT_EQ(judged.judged, scan::verdict::unreadable);
    EXPECT_EQ(judged.ended, scan::end_state::shrunk);
    EXPECT_FALSE(judged.repair.possible);
    EXPECT_EQ(judged.repair.bytes_kept, 0U);
}

// Fails where a byte in the middle is read.
class broken_in_the_middle final : public scan::byte_source {
public:
    explicit broken_in_the_middle(const bytes& file) : file_(file) {}
    uint64_t size() const override { return file_.size(); }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        const uint64_t middle = file_.size() / 2;
        if (offset <= middle && middle < offset + into.size())
            return {.count = 0, .error = EIO};
        return file_.read_at(offset, into);
    }

private:
    scan::memory_source file_;
};

TEST(UnreadableTest, CountsNothing) {
    scan_test::frames all = scan_test::sound_frames(1000); // more than is read at once
    for (auto& each : all)
        each.video.resize(2000, 0xAA);
    const bytes file = scan_test::without_index(all);
    broken_in_the_middle source(file);
    const scan::report judged = scan::judge(source, {});
    EXPECT_EQ(judged.judged, scan::verdict::unreadable);
    EXPECT_EQ(judged.frames.total, 0U);
    EXPECT_EQ(judged.repair.frames_kept, 0U);
    EXPECT_FALSE(judged.duration_ms);
    EXPECT_FALSE(judged.start_ms);
    EXPECT_EQ(judged.frames.lost, 0U);
    EXPECT_EQ(judged.longest_gap_ms, 0);
}

std::vector<std::string> found_at_rate(uint16_t rate, uint32_t first_step) {
    scan_test::frames all = scan_test::sound_frames(5);
    for (size_t i = 1; i < all.size(); ++i)
        all[i].time_stamp += first_step - 40;
    bytes file = scan_test::recording_of(all);
    recording::put_u16(file, 0, rate);
    return scan_test::found(file);
}

// Four frames of the header's rate, or two seconds where those are longer.
TEST(FirstStepTest, IsHeldAgainstTheRateOfTheHeader) {
    EXPECT_THAT(found_at_rate(1, 4000), testing::IsEmpty());
    EXPECT_THAT(found_at_rate(1, 4001), ElementsAre("clock-leap @240 +0 #2 t4001 leap_ms=4001"));
    EXPECT_THAT(found_at_rate(25, 2000), testing::IsEmpty());
    EXPECT_THAT(found_at_rate(25, 2001), ElementsAre("clock-leap @240 +0 #2 t2001 leap_ms=2001"));
}

// By the stamps of frames that have a record each.
bool start_is_certain(std::initializer_list<uint32_t> stamps) {
    scan_test::frames all;
    for (const uint32_t stamp : stamps)
        all.push_back({.number = static_cast<uint32_t>(1 + all.size()),
                       .time_stamp = stamp,
                       .video = scan_test::i_video()});
    const bytes file = scan_test::recording_of(all);
    scan::memory_source source(file);
    return scan::look_quickly(source).start_certain;
}

TEST(CertainStartTest, IsThatOfAClockWithoutABreak) {
    EXPECT_TRUE(start_is_certain({1000}));
    EXPECT_TRUE(start_is_certain({1000, 1040, 1080, 1120}));
    EXPECT_TRUE(start_is_certain({1000, 3000, 3040})); // two seconds are no leap
    EXPECT_FALSE(start_is_certain({1000, 3041, 3081}));
    EXPECT_FALSE(start_is_certain({1000, 1040, 3081}));
    EXPECT_TRUE(start_is_certain({1000, 31'000, 61'000, 91'000})); // one like the other
    EXPECT_FALSE(start_is_certain({1000, 31'000, 61'000, 93'000}));
    EXPECT_FALSE(start_is_certain({1000, 1040, 1039}));
    EXPECT_FALSE(start_is_certain({1000, 1040, 1040}));
}

TEST(CertainStartTest, IsNoneWhereARecordNamesNothing) {
    const scan_test::frames all = scan_test::sound_frames(20);
    scan_test::records index = scan_test::records_for(all);
    ++index[2].position;
    const bytes file = scan_test::recording_of(all, index);
    scan::memory_source source(file);
    const scan::quick_look seen = scan::look_quickly(source);
    EXPECT_TRUE(seen.start_from_index);
    EXPECT_FALSE(seen.start_certain);
}

class place_taker final : public scan::observer {
public:
    bool go_on(uint64_t offset) override {
        places.push_back(offset);
        return true;
    }
    std::vector<uint64_t> places;
};

TEST(ObserverTest, IsToldHowFarTheScanHasCome) {
    bytes file = scan_test::recording_of(scan_test::sound_frames(5)); // the index at 624, 132 bytes
    file.at(339) = 9;                                                 // the frame at 336 is none any more
    file.resize(file.size() + 7, 0x77);
    scan::memory_source source(file);
    place_taker places;
    scan::judge(source, {}, &places);
    EXPECT_THAT(places.places, ElementsAre(0U, 88U, 240U, 336U, 432U, 528U, 624U, 756U));
}

} // namespace
