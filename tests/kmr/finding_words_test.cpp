// What is said of one and of many, and which way the clock runs.
#include "scan/finding.hpp"

#include <gtest/gtest.h>

namespace {

using kmr::scan::field_name;
using kmr::scan::finding;
using kmr::scan::finding_code;
using kmr::scan::message_of;

std::string with_length(finding_code code, uint64_t length) {
    return message_of({.code = code, .offset = 88, .length = length});
}

std::string with_field(finding_code code, field_name name, int64_t value) {
    finding found = {.code = code};
    return message_of(found.set(name, value));
}

TEST(FindingWordsTest, SpeakOfOne) {
    EXPECT_EQ(with_length(finding_code::bytes_torn, 1), "1 byte is no frame");
    EXPECT_EQ(with_length(finding_code::bytes_behind_index, 1), "1 byte stands behind the end of the index");
    EXPECT_EQ(with_length(finding_code::header_short, 1), "the file ends inside of its header, after 1 byte");
    EXPECT_EQ(with_length(finding_code::frame_torn_at_end, 1),
              "the file ends inside of a frame, after 1 byte of it");
    EXPECT_EQ(with_field(finding_code::frames_lost, field_name::lost, 1),
              "1 frame number is missing before this frame");
    EXPECT_EQ(with_field(finding_code::index_incomplete, field_name::missing, 1),
              "1 I-frame has no index record");
    EXPECT_EQ(with_field(finding_code::encrypted, field_name::frames, 1),
              "1 frame is encrypted, this one first");
}

TEST(FindingWordsTest, SpeakOfMany) {
    EXPECT_EQ(with_length(finding_code::bytes_torn, 719), "719 bytes are no frame");
    EXPECT_EQ(with_length(finding_code::beyond_4_gib, 2),
              "2 bytes stand beyond 4 GiB, where the index cannot name offsets");
    EXPECT_EQ(with_length(finding_code::frame_lengths_wrong, 82),
              "the lengths in the frame's header contradict each other; 82 bytes to the next good header");
    EXPECT_EQ(with_field(finding_code::frames_lost, field_name::lost, 3),
              "3 frame numbers are missing before this frame");
    EXPECT_EQ(with_field(finding_code::index_incomplete, field_name::missing, 0),
              "0 I-frames have no index record");
}

TEST(FindingWordsTest, HoldOneCountAgainstAnother) {
    finding found = {.code = finding_code::frame_count_wrong};
    found.set(field_name::expected, 1).set(field_name::actual, 2);
    EXPECT_EQ(message_of(found), "the file header counts 2 frames instead of 1");
    found.code = finding_code::tag_count_wrong;
    EXPECT_EQ(message_of(found), "the index counts 2 tags instead of 1");
    found.code = finding_code::total_size_wrong;
    EXPECT_EQ(message_of(found), "the file header gives 2 bytes as recorded instead of 1");
}

TEST(FindingWordsTest, SayHowFarTheClockRuns) {
    EXPECT_EQ(with_field(finding_code::clock_back, field_name::leap_ms, -60), "the clock runs back by 60 ms");
    EXPECT_EQ(with_field(finding_code::clock_leap, field_name::leap_ms, 5000),
              "the clock leaps by 5000 ms; no frame number is missing");
}

TEST(FindingWordsTest, KnowANumberThatStandsStill) {
    finding found = {.code = finding_code::frames_repeated, .frame = 50};
    found.set(field_name::previous, 50);
    EXPECT_EQ(message_of(found), "the frame before has the number 50 too");
    found.frame = 20;
    EXPECT_EQ(message_of(found), "the frame numbers run back, from 50");
}

} // namespace
