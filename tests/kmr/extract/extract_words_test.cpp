// What kmr extract says, in the cases that no recording of the other tests comes to.
#include "kmr/extract/extract_words.hpp"
#include "kmr/extract/output_kinds.hpp"

#include <cerrno>
#include <gtest/gtest.h>

namespace {

using kmr::convert::extract_status;
using kmr::convert::extracted;
using kmr::convert::left_out;
using kmr::convert::stop_reason;
using kmr::program::words_for;
using kmr::scan::end_state;
using kmr::scan::video_codec;

extracted stopped(stop_reason why, uint32_t number = 0, const std::string& words = {}) {
    extracted of;
    of.status = extract_status::stopped;
    of.end = {.why = why, .error = 0, .number = number, .words = words};
    return of;
}

extracted unreadable(end_state ended, int error_of_scan, int error) {
    extracted of;
    of.status = extract_status::unreadable;
    of.judged.ended = ended;
    of.judged.error = error_of_scan;
    of.end.error = error;
    return of;
}

std::string said_of(const extracted& result) {
    return kmr::program::why_no_stream(result) + kmr::program::way_out_of(result);
}

TEST(ExtractWordsTest, NothingLeftOutIsNotTold) {
    EXPECT_EQ(words_for(extracted()), "");
    extracted many;
    many.frames = 75;
    EXPECT_EQ(words_for(many), "");
}

TEST(ExtractWordsTest, OneOfAThingIsTold) {
    extracted of;
    of.left.of(left_out::damaged) = 1;
    EXPECT_EQ(words_for(of), "left out 1 of 1 frame: 1 damaged");
    of.left.torn_bytes = 1;
    EXPECT_EQ(words_for(of), "left out 1 of 1 frame: 1 damaged; 1 byte that is no frame");
    of.left = {};
    of.left.torn_bytes = 1;
    EXPECT_EQ(words_for(of), "left out 1 byte that is no frame");
    of.left.torn_bytes = 2;
    EXPECT_EQ(words_for(of), "left out 2 bytes that are no frame");
}

TEST(ExtractWordsTest, EveryCauseIsTold) {
    extracted of;
    of.frames = 72;
    uint64_t count = 0;
    for (const auto why :
         {left_out::damaged, left_out::encrypted, left_out::behind_damage, left_out::behind_missing,
          left_out::behind_encrypted, left_out::before_start, left_out::inserted})
        of.left.of(why) = ++count;
    EXPECT_EQ(words_for(of),
              "left out 28 of 100 frames: 1 damaged, 2 encrypted, 3 behind damage up to the next I-frame, "
              "4 behind missing ones up to the next I-frame, 5 behind encrypted ones up to the next I-frame, "
              "6 in front of the first I-frame, 7 inserted");
}

// What is written elsewhere, or has no words of its own, has none here.
TEST(ExtractWordsTest, WhereThereIsAStreamNothingIsToldOfIt) {
    EXPECT_EQ(said_of(extracted()), "");
    EXPECT_EQ(said_of(stopped(stop_reason::none)), "");
    EXPECT_EQ(said_of(stopped(stop_reason::not_written)), "");
}

TEST(ExtractWordsTest, EveryReasonIsTold) {
    EXPECT_EQ(said_of(stopped(stop_reason::unknown_coding)), "nothing tells how the video is coded");
    EXPECT_EQ(said_of(stopped(stop_reason::no_sets)),
              "the video has no parameter sets, and without them no container can hold it");
    EXPECT_EQ(said_of(stopped(stop_reason::no_picture_size)), "nothing tells the size of the picture");
    EXPECT_EQ(said_of(stopped(stop_reason::sets_changed, 76)),
              "the video's parameter sets change at frame 76, which .mp4 cannot hold: use .mkv, or begin "
              "there (--from 76)");
    EXPECT_EQ(said_of(stopped(stop_reason::size_changed, 76)),
              "the size of the picture changes at frame 76, which .mp4 cannot hold: use .mkv, or begin "
              "there (--from 76)");
    EXPECT_EQ(said_of(stopped(stop_reason::long_pause, 76)),
              "more than 24 days without a picture end at frame 76, which .mp4 cannot hold: use .mkv or "
              "--close-pauses, or begin there (--from 76)");
    EXPECT_EQ(said_of(stopped(stop_reason::no_sound_format)),
              "its file header tells no rate or no channels of the sound");
    EXPECT_EQ(said_of(stopped(stop_reason::long_silence, 40)),
              "more than ten hours without sound end at frame 40: use --close-pauses, or begin there "
              "(--from 40)");
    EXPECT_EQ(said_of(stopped(stop_reason::container, 0, "of the library")), "of the library");
}

TEST(ExtractWordsTest, AnotherCodingIsToldWithItsSuffix) {
    extracted of = stopped(stop_reason::other_coding);
    of.codec = video_codec::h265;
    EXPECT_EQ(said_of(of), "the video is H.265: name a file that ends with .h265");
    of.codec = video_codec::unknown;
    EXPECT_EQ(said_of(of), "the video is coded in a way that nothing tells");
}

TEST(ExtractWordsTest, WhatCouldNotBeReadIsTold) {
    EXPECT_EQ(said_of(unreadable(end_state::read_failed, EIO, 0)), "Input/output error");
    EXPECT_EQ(said_of(unreadable(end_state::complete, 0, EIO)), "Input/output error");
    EXPECT_EQ(said_of(unreadable(end_state::shrunk, 0, 0)), "became shorter while it was read");
    EXPECT_EQ(said_of(unreadable(end_state::complete, 0, 0)), "became shorter while it was read");
    extracted of;
    of.status = extract_status::not_a_recording;
    EXPECT_EQ(said_of(of), "not a recording");
    of.status = extract_status::nothing_left;
    EXPECT_EQ(said_of(of), "nothing is left that could be written");
}

TEST(OutputKindsTest, EveryCodingHasItsSuffix) {
    using kmr::program::suffix_for;
    EXPECT_EQ(suffix_for(video_codec::h264), ".h264");
    EXPECT_EQ(suffix_for(video_codec::h265), ".h265");
    EXPECT_EQ(suffix_for(video_codec::mjpeg), ".mjpeg");
    EXPECT_EQ(suffix_for(video_codec::unknown), "");
}

} // namespace
