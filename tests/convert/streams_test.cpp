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
