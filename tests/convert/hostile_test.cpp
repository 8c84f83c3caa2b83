// Every byte of a recording is damaged, one after the other: what comes out is a part of what would have, in order, and
// all that is left out is counted.
#include "tests/convert/extracted.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using convert_test::bytes;
using convert_test::outcome;
using kmr::convert::extract_status;
using kmr::convert::left_out;

bytes hostile_recording(bool h265) {
    auto some = h265 ? scan_test::h265_frames(12) : scan_test::sound_frames(12);
    for (auto& each : some) {
        each.audio_count = 1;
        each.audio_size = 8;
    }
    some[3].tag = 2;
    some[8].tag = 0x7788;
    return scan_test::recording_of(some);
}

void expect_in_order(const outcome& of, uint64_t size) {
    uint64_t behind = 0;
    for (const auto& each : of.frames) {
        EXPECT_GE(each.offset, behind);
        behind = each.video_at() + each.video_size + each.audio_size;
    }
    EXPECT_LE(behind, size);
    if (!of.frames.empty()) {
        EXPECT_TRUE(of.frames[0].starts);
    }
}

// Without a span every frame that the scan counts is either taken or left out.
void expect_all_told(const outcome& of) {
    if (of.result.status != extract_status::done && of.result.status != extract_status::nothing_left)
        return;
    const auto& counts = of.result.judged.frames;
    EXPECT_EQ(of.taken.size() + of.result.left.all_frames(), counts.total + counts.damaged);
    EXPECT_EQ(of.left(left_out::inserted), counts.inserted);
    EXPECT_EQ(of.left(left_out::encrypted), counts.encrypted);
}

class HostileTest : public testing::TestWithParam<bool> {};

TEST_P(HostileTest, EveryByteDamaged) {
    const bytes sound = hostile_recording(GetParam());
    for (size_t at = 0; at < sound.size(); ++at)
        for (const uint8_t wrong : {uint8_t{0x00}, uint8_t{0xFF}, static_cast<uint8_t>(sound[at] ^ 1),
                                    static_cast<uint8_t>(sound[at] ^ 0x80)}) {
            SCOPED_TRACE(at);
            bytes file = sound;
            file[at] = wrong;
            const outcome of = convert_test::extract(file);
            expect_in_order(of, file.size());
            expect_all_told(of);
            const outcome kept = convert_test::extract(file, {.span = {}, .keep_damaged = true});
            expect_in_order(kept, file.size());
            EXPECT_GE(kept.taken.size(), of.taken.size());
            ASSERT_FALSE(HasFailure());
        }
}

TEST_P(HostileTest, EveryLengthOfIt) {
    const bytes sound = hostile_recording(GetParam());
    for (size_t length = 0; length < sound.size(); ++length) {
        SCOPED_TRACE(length);
        const bytes file(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(length));
        const outcome of = convert_test::extract(file);
        expect_in_order(of, file.size());
        expect_all_told(of);
        using kmr::scan::place;
        expect_in_order(convert_test::extract(file, {.span = {place{place::unit::stream_ms, 250},
                                                              place{place::unit::frame_number, 12}},
                                                     .keep_damaged = false,
                                                     .strip_user_data = true}),
                        file.size());
    }
}

INSTANTIATE_TEST_SUITE_P(Codings, HostileTest, testing::Bool());

} // namespace
