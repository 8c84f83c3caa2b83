// What containers refuse, and what becomes of them where the disk does. Players look at what is in them elsewhere.
#include "convert/container.hpp"
#include "tests/convert/extracted.hpp"

#include <algorithm>
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using convert_test::bytes;
using convert_test::memory_sink;
using kmr::convert::container_format;
using kmr::convert::container_options;
using kmr::convert::extract_options;
using kmr::convert::extract_status;
using kmr::convert::extracted;
using kmr::convert::sound_coding;
using kmr::convert::stop_reason;
using scan_test::frames;
using scan_test::sound_frames;

constexpr container_options mp4 = {.format = container_format::mp4, .sound = {}, .longest_step_ms = {}};
constexpr container_options mkv = {.format = container_format::mkv, .sound = {}, .longest_step_ms = {}};
constexpr extract_options keep = {.span = {}, .keep_damaged = true, .strip_user_data = false};

container_options with_sound(container_options of, sound_coding coding) {
    of.sound = coding;
    return of;
}

extracted write(const bytes& file, memory_sink& into, const container_options& options,
                const extract_options& how = {}) {
    kmr::scan::memory_source source(file);
    const auto stream = kmr::convert::make_container(into, options);
    return kmr::convert::extract(source, how, *stream);
}

void expect_stopped(const bytes& file, const container_options& options, stop_reason why,
                    const extract_options& how = {}) {
    memory_sink sink;
    const extracted of = write(file, sink, options, how);
    EXPECT_EQ(of.status, extract_status::stopped);
    EXPECT_EQ(of.end.why, why);
    EXPECT_TRUE(sink.content.empty());
}

bytes written(const bytes& file, const container_options& options) {
    memory_sink sink;
    EXPECT_EQ(write(file, sink, options).status, extract_status::done);
    return sink.content;
}

size_t count_of(const bytes& what, const bytes& in) {
    size_t count = 0;
    for (auto at = in.begin(); (at = std::search(at, in.end(), what.begin(), what.end())) != in.end(); ++at)
        ++count;
    return count;
}

// The picture itself, of a frame of H.264: in containers lengths stand for start codes.
bytes picture_in(const bytes& video) {
    const bytes start = {0, 0, 0, 1};
    const auto last = std::find_end(video.begin(), video.end(), start.begin(), start.end());
    return {last + 4, video.end()};
}

// Eight thousand samples a second in one channel, 320 of a byte with every frame: what 40 ms take.
void set_sound(bytes& file, uint32_t rate = 8000, uint8_t channels = 1) {
    file.at(74) = channels;
    recording::put_u32(file, 76, rate);
}
frames frames_with_sound(size_t count) {
    frames some = sound_frames(count);
    for (auto& each : some) {
        each.audio_count = 2;
        each.audio_size = 160;
    }
    return some;
}

TEST(ContainerTest, EveryRoomThatIsTooSmallIsTold) {
    frames some = frames_with_sound(7);
    for (auto& each : some)
        each.video.resize(500000, 0xAA);
    some[4].time_stamp += 600'000; // ten minutes of silence, which are 4.8 million bytes
    some[5].time_stamp += 600'000;
    some[6].time_stamp += 600'000;
    bytes file = scan_test::recording_of(some);
    set_sound(file);
    for (const container_options& each :
         {mp4, mkv, with_sound(mp4, sound_coding::alaw), with_sound(mkv, sound_coding::alaw)}) {
        const bytes whole = written(file, each);
        EXPECT_GT(whole.size(), each.sound ? 8'000'000U : 3'500'000U);
        for (uint64_t room = 0; room < whole.size(); room += 250'000) {
            SCOPED_TRACE(room);
            memory_sink full;
            full.room = room;
            const extracted of = write(file, full, each);
            EXPECT_EQ(of.status, extract_status::stopped);
            EXPECT_EQ(of.end.why, stop_reason::not_written);
            EXPECT_EQ(of.end.error, ENOSPC);
        }
        memory_sink enough;
        enough.room = whole.size();
        EXPECT_EQ(write(file, enough, each).status, extract_status::done);
        EXPECT_EQ(enough.content, whole);
    }
}

TEST(ContainerTest, WithoutAValidHeaderTheVideoItselfTellsAll) {
    bytes file = scan_test::recording_of(sound_frames(10));
    const bytes whole = written(file, mp4);
    std::fill_n(file.begin(), 88, uint8_t{0});
    for (const container_options& each : {mp4, mkv})
        EXPECT_GT(written(file, each).size(), 10U * 64);
    EXPECT_EQ(written(file, mp4), whole); // two frames tell how long the last one is shown
    expect_stopped(file, with_sound(mp4, sound_coding::alaw), stop_reason::no_sound_format);
}

// One frame alone is shown as long as the file header's rate says, 25 a second where it says none.
TEST(ContainerTest, AFrameAloneIsShownAtTheRateOfTheHeader) {
    bytes file = scan_test::recording_of(sound_frames(1));
    const bytes usual = written(file, mp4);
    recording::put_u16(file, 0, 0);
    EXPECT_EQ(written(file, mp4), usual);
    recording::put_u16(file, 0, 5);
    EXPECT_NE(written(file, mp4), usual);
}

TEST(ContainerTest, APictureWhoseSizeNobodyTellsIsRefused) {
    frames some = sound_frames(10);
    for (auto& each : some)
        each.video = {0xFF, 0xD8, 0xFF, 0xE0, 1, 2, 3};
    bytes file = scan_test::recording_of(some);
    EXPECT_EQ(count_of(some[0].video, written(file, mkv)), 10U); // the file header tells it
    std::fill_n(file.begin(), 88, uint8_t{0});
    for (const container_options& each : {mp4, mkv})
        expect_stopped(file, each, stop_reason::no_picture_size);
}

TEST(ContainerTest, SetsThatCannotBeReadAreRefused) {
    frames some = sound_frames(10);
    for (const size_t each : {0U, 5U})
        some[each].video.erase(some[each].video.begin() + 7,
                               some[each].video.begin() + 14); // of the sequence set
    bytes file = scan_test::recording_of(some);
    memory_sink sink;
    EXPECT_EQ(write(file, sink, mkv).status, extract_status::nothing_left);
    const extracted of = write(file, sink, mkv, keep);
    EXPECT_EQ(of.end.why, stop_reason::container);
    EXPECT_NE(of.end.words, "");
    std::fill_n(file.begin(), 88, uint8_t{0});
    expect_stopped(file, mkv, stop_reason::no_picture_size, keep);
}

TEST(ContainerTest, HalfOfTheSetsIsNotEnough) {
    const bytes picture_set_alone = {0, 0, 0, 1, 0x68, 0xCE, 0x3C, 0x80, 0, 0, 0, 1, 0x65, 0x88, 0x84};
    frames some = sound_frames(10);
    for (const size_t each : {0U, 5U})
        some[each].video = picture_set_alone;
    const bytes file = scan_test::recording_of(some);
    for (const container_options& each : {mp4, mkv})
        expect_stopped(file, each, stop_reason::no_sets);
}

TEST(ContainerTest, SoundOfNoRateOrOfTooManyChannelsIsRefused) {
    bytes file = scan_test::recording_of(frames_with_sound(10));
    const container_options options = with_sound(mkv, sound_coding::u8);
    struct {
        uint32_t rate;
        uint8_t channels;
        bool is_good;
    } const cases[] = {{0, 1, false},          {8000, 0, false}, {8000, 9, false}, {384001, 1, false},
                       {UINT32_MAX, 1, false}, {8000, 8, true},  {384000, 1, true}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.rate + each.channels);
        set_sound(file, each.rate, each.channels);
        if (each.is_good)
            EXPECT_GE(count_of(bytes(320, 0xBB), written(file, options)), 1U);
        else
            expect_stopped(file, options, stop_reason::no_sound_format);
    }
    EXPECT_FALSE(written(file, mkv).empty()); // without its sound
}

// A frame without a picture only brings its sound; where the sound is no whole sample, it brings nothing.
TEST(ContainerTest, FramesMayLackPicturesOrSound) {
    frames some = frames_with_sound(10);
    some[2].video.clear();
    some[3].audio_count = 1;
    some[3].audio_size = 1;
    some[4].audio_count = 0;
    bytes file = scan_test::recording_of(some);
    set_sound(file);
    for (const container_options& format : {mp4, mkv}) {
        const bytes content = written(file, with_sound(format, sound_coding::s16le));
        EXPECT_EQ(count_of(picture_in(some[1].video), content), 7U); // 2, 4, 5, 7 to 10
        EXPECT_EQ(count_of(picture_in(some[0].video), content), 2U);
        const bytes sound(320, 0xBB);
        size_t of_sound = 0;
        for (auto at = content.begin();
             (at = std::search(at, content.end(), sound.begin(), sound.end())) != content.end(); ++of_sound)
            at += 320;
        EXPECT_EQ(of_sound, 8U); // of all but 4 and 5
    }
    for (auto& each : some)
        each.video.clear();
    memory_sink sink;
    EXPECT_EQ(write(scan_test::recording_of(some), sink, mkv).status, extract_status::stopped);
}

TEST(ContainerTest, MoreThanTenHoursOfSilenceAreRefused) {
    frames some = frames_with_sound(3);
    some[2].time_stamp = some[1].time_stamp + 36'000'500;
    bytes file = scan_test::recording_of(some);
    set_sound(file);
    memory_sink sink;
    const extracted of = write(file, sink, with_sound(mkv, sound_coding::alaw));
    EXPECT_EQ(of.end.why, stop_reason::long_silence);
    EXPECT_EQ(of.end.number, 3U);
    container_options closed = with_sound(mkv, sound_coding::alaw);
    closed.longest_step_ms = 1000;
    EXPECT_EQ(std::count(file.begin(), file.end(), 0xBB), 3 * 320);
    EXPECT_EQ(count_of(bytes(320, 0xBB), written(file, closed)), 3U);
}

TEST(ContainerTest, ChangedSetsAreForMkvAlone) {
    frames some = sound_frames(20);
    bytes other = scan_test::h264_sequence_set(40, 30, 0);
    for (const size_t each : {10U, 15U}) {
        bytes video = {0, 0, 0, 1};
        recording::append(video, other);
        recording::append(video, {0, 0, 0, 1, 0x68, 0xCE, 0x3C, 0x80, 0, 0, 0, 1, 0x65, 0x88, 0x84});
        some[each].video = video;
    }
    const bytes file = scan_test::recording_of(some);
    memory_sink sink;
    const extracted of = write(file, sink, mp4);
    EXPECT_EQ(of.end.why, stop_reason::sets_changed);
    EXPECT_EQ(of.end.number, 11U);
    EXPECT_EQ(count_of(other, written(file, mkv)),
              2U); // in front of both pictures: the others are the stream's
}

} // namespace
