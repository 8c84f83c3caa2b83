// What is written of a stream, and what becomes of it where that fails.
#include "convert/elementary_stream.hpp"
#include "convert/stream_frames.hpp"
#include "tests/convert/extracted.hpp"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using convert_test::bytes;
using convert_test::memory_sink;
using kmr::convert::elementary_stream;
using kmr::convert::extract_status;
using kmr::convert::extracted;
using kmr::convert::stop_reason;
using kmr::scan::video_codec;
using scan_test::sound_frames;

extracted write(const bytes& file, memory_sink& into, elementary_stream::part part,
                std::optional<video_codec> coding = {}) {
    kmr::scan::memory_source source(file);
    elementary_stream stream(into, part, coding);
    return kmr::convert::extract(source, {}, stream);
}

TEST(ElementaryStreamTest, HoldsDataOfFramesAndNothingElse) {
    scan_test::frames some = sound_frames(7);
    bytes video;
    for (auto& each : some) {
        each.audio_count = 3;
        each.audio_size = 5;
        recording::append(video, each.video);
    }
    const bytes file = scan_test::recording_of(some);
    memory_sink sink;
    EXPECT_EQ(write(file, sink, elementary_stream::part::video, video_codec::h264).status,
              extract_status::done);
    EXPECT_EQ(sink.content, video);
    memory_sink sound;
    EXPECT_EQ(write(file, sound, elementary_stream::part::audio).status, extract_status::done);
    EXPECT_EQ(sound.content, bytes(size_t{7} * 15, 0xBB));
}

TEST(ElementaryStreamTest, RefusesAnotherCoding) {
    memory_sink sink;
    const extracted of = write(scan_test::recording_of(sound_frames(7)), sink, elementary_stream::part::video,
                               video_codec::h265);
    EXPECT_EQ(of.status, extract_status::stopped);
    EXPECT_EQ(of.end.why, stop_reason::other_coding);
    EXPECT_EQ(of.codec, video_codec::h264);
    EXPECT_TRUE(sink.content.empty());
}

TEST(ElementaryStreamTest, TakesWhatNothingTellsTheCodingOf) {
    scan_test::frames some = sound_frames(7);
    for (auto& each : some)
        each.video.assign(30, 0x55);
    memory_sink sink;
    EXPECT_EQ(
        write(scan_test::recording_of(some), sink, elementary_stream::part::video, video_codec::h265).status,
        extract_status::done);
    EXPECT_EQ(sink.content, bytes(size_t{7} * 30, 0x55));
}

TEST(ElementaryStreamTest, WithoutSoundNothingIsLeft) {
    memory_sink sink;
    EXPECT_EQ(write(scan_test::recording_of(sound_frames(7)), sink, elementary_stream::part::audio).status,
              extract_status::nothing_left);
}

TEST(ElementaryStreamTest, LargeFramesAndAFullDisk) {
    scan_test::frames some = sound_frames(7);
    for (auto& each : some)
        each.video.resize(500000, 0xAA);
    const bytes file = scan_test::recording_of(some);
    memory_sink sink;
    EXPECT_EQ(write(file, sink, elementary_stream::part::video).status, extract_status::done);
    EXPECT_EQ(sink.content.size(), 3500000U);
    for (const uint64_t room : {0U, 3000000U}) {
        memory_sink full;
        full.room = room;
        const extracted of = write(file, full, elementary_stream::part::video);
        EXPECT_EQ(of.status, extract_status::stopped);
        EXPECT_EQ(of.end.why, stop_reason::not_written);
        EXPECT_EQ(of.end.error, ENOSPC);
    }
}

TEST(UserDataLengthTest, ReachesToTheNextStartCode) {
    const bytes unit =
        scan_test::user_data_unit(scan_test::user_data_block("ZNST", 1, {0xD1, 0xFE, 2, 0, 'h', 'i'}));
    EXPECT_EQ(kmr::convert::user_data_length(scan_test::i_video()), 0U);
    for (const bytes& code : {bytes{0, 0, 0, 1, 0x65}, bytes{0, 0, 1, 0x65}}) {
        bytes payload = unit;
        recording::append(payload, code);
        EXPECT_EQ(kmr::convert::user_data_length(payload), unit.size());
    }
    EXPECT_EQ(kmr::convert::user_data_length(unit), unit.size()); // and nothing behind it
    EXPECT_EQ(kmr::convert::user_data_length({}), 0U);
}

// Its length is not to be believed: the unit ends where the next one begins.
TEST(UserDataLengthTest, OfABrokenUnitReachesToTheNextStartCodeToo) {
    bytes payload =
        scan_test::user_data_unit(scan_test::user_data_block("ZNST", 1, {0xD1, 0xFE, 2, 0, 'h', 'i'}));
    payload[6] = 200; // bytes, of which there are fewer
    const size_t length = payload.size();
    EXPECT_EQ(kmr::convert::user_data_length(payload), length);
    recording::append(payload, scan_test::p_video());
    EXPECT_EQ(kmr::convert::user_data_length(payload), length);
}

// Fails behind so many reads.
class failing_source final : public kmr::scan::byte_source {
public:
    failing_source(const bytes& content, uint64_t end, int error)
        : inner_(content), end_(end), error_(error) {}
    uint64_t size() const override { return inner_.size(); }
    kmr::scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        if (offset + into.size() <= end_)
            return inner_.read_at(offset, into);
        if (error_ != 0)
            return {.count = 0, .error = error_};
        return inner_.read_at(offset, into.first(offset < end_ ? static_cast<size_t>(end_ - offset) : 0));
    }

private:
    kmr::scan::memory_source inner_;
    uint64_t end_;
    int error_;
};

// Gives nothing at its nth read.
class faulty_source final : public kmr::scan::byte_source {
public:
    faulty_source(const bytes& content, int nth, int error) : inner_(content), left_(nth), error_(error) {}
    uint64_t size() const override { return inner_.size(); }
    kmr::scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        if (--left_ == 0)
            return {.count = 0, .error = error_};
        return inner_.read_at(offset, into);
    }
    bool has_failed() const { return left_ <= 0; }

private:
    kmr::scan::memory_source inner_;
    int left_;
    int error_;
};

// Three million bytes have to be looked through for the frame behind a damaged one, whose data are read only then.
TEST(ExtractTest, WhatCannotBeReadOnceIsTold) {
    scan_test::frames some = sound_frames(7);
    bytes file = scan_test::without_index({some.begin(), some.begin() + 3});
    recording::put_u32(file, 88 + 152 + 96 + 20, 63); // VideoSize of 3 was 64
    file.resize(file.size() + 3'000'000, 0xAA);
    const bytes behind = scan_test::without_index({some.begin() + 3, some.end()});
    file.insert(file.end(), behind.begin() + 88, behind.end());
    const kmr::convert::extract_options keep = {.span = {}, .keep_damaged = true, .strip_user_data = false};
    for (const int error : {EIO, 0}) { // 0: it has become shorter
        int with_a_frame = 0;
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE(nth);
            faulty_source source(file, nth, error);
            convert_test::noted_output output;
            const extracted of = kmr::convert::extract(source, keep, output);
            if (!source.has_failed()) {
                EXPECT_EQ(of.status, extract_status::done);
                EXPECT_EQ(output.taken, (convert_test::numbers{1, 2, 3, 4, 5, 6, 7}));
                break;
            }
            EXPECT_EQ(of.status, extract_status::unreadable);
            const bool while_a_frame_was_taken = of.judged.ended == kmr::scan::end_state::complete;
            EXPECT_EQ(while_a_frame_was_taken ? of.end.error : of.judged.error, error);
            EXPECT_LT(output.taken.size(), 7U);
            with_a_frame += while_a_frame_was_taken ? 1 : 0;
        }
        EXPECT_GT(with_a_frame, 0);
    }
}

TEST(ExtractTest, WhatCannotBeReadIsTold) {
    scan_test::frames some = sound_frames(12);
    for (auto& each : some)
        each.video.resize(300000, 0xAA);
    const bytes file = scan_test::without_index(some);
    for (const int error : {EIO, 0}) {
        for (const auto& from : {std::optional<kmr::scan::place>{},
                                 std::optional(kmr::scan::place{kmr::scan::place::unit::frame_number, 11})}) {
            failing_source source(file, 2500000, error);
            convert_test::noted_output output;
            const extracted of = kmr::convert::extract(source, {.span = {from, {}}}, output);
            EXPECT_EQ(of.status, extract_status::unreadable);
        }
    }
}

} // namespace
