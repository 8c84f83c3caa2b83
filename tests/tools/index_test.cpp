// The index block: tags, times, and what may be wrong with it.
#include "tests/tools/composer.hpp"
#include "tests/tools/hex_bytes.hpp"

#include <gmock/gmock.h>

namespace {

using recording::bytes;
using recording::get_u32;
using recording::put_u32;

constexpr size_t index_at = 163; // of two_small_frames
constexpr size_t record_at = index_at + 44;

// The small recording with something else than it has by itself.
bytes with(const composer::words& more) {
    const composer make;
    return make.recording_of(two_small_frames + more);
}

TEST(IndexTest, ATagStandsInItsRecordAndIsCounted) {
    bytes expected = with({});
    put_u32(expected, index_at + 12, 1);
    std::copy_n("Door", 4, expected.begin() + record_at + 16);
    EXPECT_EQ(with({"--tag", "0=Door"}), expected);
}

TEST(IndexTest, ATagMayFillItsField) {
    const bytes file = with({"--tag", "0=" + std::string(64, 't')});
    EXPECT_EQ(bytes(file.begin() + record_at + 16, file.begin() + record_at + 80), bytes(64, 't'));
    EXPECT_EQ(get_u32(file, record_at + 80), 0x0123ABCDu);
}

TEST(IndexTest, TheLatestTagOfARecordCounts) {
    EXPECT_EQ(with({"--tag", "0=A longer one", "--tag", "0=B"}), with({"--tag", "0=B"}));
}

TEST(IndexTest, NoMoreThan64TagsAreCounted) {
    const composer make;
    composer::words arguments = {"--frames", "70", "--i-interval", "1", "--payload", "0"};
    for (int i = 0; i < 65; ++i)
        arguments = arguments + composer::words{"--tag", std::to_string(i) + "=T"};
    const bytes file = make.recording_of(arguments);
    EXPECT_EQ(get_u32(file, 88 + 70 * 32 + 12), 64u);
}

TEST(IndexTest, CapacityCountsIn450s) {
    const composer make;
    const auto capacity = [&](size_t frames) {
        const bytes file =
            make.recording_of({"--frames", std::to_string(frames), "--i-interval", "1", "--payload", "0"});
        return get_u32(file, 88 + frames * 32 + 40);
    };
    EXPECT_EQ(capacity(450), 450u);
    EXPECT_EQ(capacity(451), 900u);
}

// Stamps 1000, 1999, 2998, 3997: whole seconds behind the first are 0, 0, 1, 2.
TEST(IndexTest, TimesFollowTheStampsInWholeSeconds) {
    const composer make;
    const bytes file = make.recording_of({"--frames", "4", "--i-interval", "1", "--payload", "0",
                                          "--stamp-step", "999", "--start-epoch", "5000"});
    const size_t records = 88 + 4 * 32 + 44;
    EXPECT_EQ(get_u32(file, records), 5000u);
    EXPECT_EQ(get_u32(file, records + 80), 5000u);
    EXPECT_EQ(get_u32(file, records + 160), 5001u);
    EXPECT_EQ(get_u32(file, records + 240), 5002u);
    EXPECT_EQ(get_u32(file, records + 240 + 4), 88u + 3 * 32);
}

TEST(IndexTest, TheStartIsTakenAsUtc) {
    EXPECT_EQ(get_u32(with({"--start", "1970-01-02 00:00:01"}), record_at), 86401u);
    EXPECT_EQ(get_u32(with({"--start", "2000-02-29 12:00:00"}), record_at), 951825600u);
    EXPECT_EQ(get_u32(with({"--start", "2106-02-07 06:28:15"}), record_at), 0xFFFFFFFFu);
}

TEST(IndexTest, FieldsOfARecordCanBeSet) {
    bytes expected = with({});
    put_u32(expected, record_at, 1);
    put_u32(expected, record_at + 4, 2);
    put_u32(expected, record_at + 8, 0xFFFFFFFF);
    put_u32(expected, record_at + 12, 4 + (5 << 16));
    EXPECT_EQ(
        with({"--record-field", "0.TimeNow=1", "--record-field", "0.IPos=2", "--record-field",
              "0.Sign=0xFFFFFFFF", "--record-field", "0.VideoWidth=4", "--record-field", "0.VideoHeight=5"}),
        expected);
}

TEST(IndexTest, FieldsOfTheHeadCanBeSet) {
    bytes expected = with({});
    put_u32(expected, index_at, 1);
    put_u32(expected, index_at + 4, 2);
    put_u32(expected, index_at + 32, 3);
    put_u32(expected, index_at + 36, 4);
    put_u32(expected, index_at + 40, 5);
    EXPECT_EQ(with({"--index-field", "SyncWord=1", "--index-field", "FrameSize=2", "--index-field",
                    "RecordCount=3", "--index-field", "RecordSize=4", "--index-field", "MemoryNum=5"}),
              expected);
}

TEST(IndexTest, TheHeadCanBeNoise) {
    const bytes sound = with({});
    bytes file = with({"--index-noise", "1"});
    EXPECT_NE(file, sound);
    EXPECT_EQ(file, with({"--index-noise", "1"}));
    EXPECT_NE(file, with({"--index-noise", "2"}));
    std::copy_n(sound.begin() + index_at, 44, file.begin() + index_at);
    EXPECT_EQ(file, sound);
}

TEST(IndexTest, TheTrailerCanBeWrong) {
    bytes expected = with({});
    put_u32(expected, expected.size() - 8, 0x11111111);
    put_u32(expected, expected.size() - 4, 7);
    EXPECT_EQ(with({"--trailer-magic", "0x11111111", "--trailer-length", "7"}), expected);
}

TEST(IndexTest, TheTrailerCanBeMissing) {
    bytes expected = with({});
    expected.resize(287);
    put_u32(expected, 80, static_cast<uint32_t>(expected.size()));
    EXPECT_EQ(with({"--no-trailer"}), expected);
}

TEST(IndexTest, TheIndexCanBeMissing) {
    bytes expected = with({});
    expected.resize(index_at);
    put_u32(expected, 80, index_at);
    EXPECT_EQ(with({"--no-index"}), expected);
}

} // namespace
