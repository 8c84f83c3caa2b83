// A recording damaged in every place: the program ends by itself, with status 0, and its last line is the cost line.
#include "tests/program/viewer.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <random>

namespace {

using recording::bytes;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// All that a report has, in few bytes: user data, audio, two I-frames, two index records.
bytes small_recording() {
    const bytes user_data{0x00, 0x00, 0x00, 0x01, 0x06, 0xF0, 17,   'Z', 'N', 'S', 'T', 1,
                          0,    9,    0,    0xD1, 0xFE, 5,    0x00, 'o', 'o', 'o', 'o', 'o'};
    return recording::sound({
        {.number = 1, .time_stamp = 40, .kind = 0, .video = user_data, .tag = 2},
        {.number = 2, .time_stamp = 80, .kind = 1, .video = bytes(3, 0xAA)},
        {.number = 3, .time_stamp = 120, .kind = 0, .video = user_data, .audio_count = 2, .audio_size = 4},
    });
}

class DamageTest : public ::testing::Test {
protected:
    void expect_survived(const bytes& file) {
        place.folder().write("damaged.kmr", file);
        const std::string report = place.report({"-f", "damaged.kmr", "-au"});
        EXPECT_THAT(report, StartsWith("\n\n----"));
        EXPECT_THAT(report, EndsWith("Cost Time :N (ms)\n"));
        EXPECT_EQ(scratch::read_file(place.path() / "damaged.kmr"), file);
    }

    uint8_t noise() { return static_cast<uint8_t>(random()); }

    const bytes sound = small_recording();
    viewer::place place;
    std::mt19937 random{20150102};
};

TEST_F(DamageTest, CutAtEveryByte) {
    for (size_t size = 0; size <= sound.size(); ++size) {
        SCOPED_TRACE(size);
        expect_survived(bytes(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(size)));
    }
}

TEST_F(DamageTest, NoiseInEveryBlockOf16Bytes) {
    for (size_t block = 0; block < sound.size(); block += 16) {
        SCOPED_TRACE(block);
        bytes file = sound;
        for (size_t i = block; i < std::min(block + 16, file.size()); ++i)
            file[i] = noise();
        expect_survived(file);
    }
}

TEST_F(DamageTest, OneOrZeroBitsInEveryBlockOf16Bytes) {
    for (const uint8_t value : {uint8_t{0}, uint8_t{0xFF}})
        for (size_t block = 0; block < sound.size(); block += 16) {
            SCOPED_TRACE(block);
            bytes file = sound;
            std::fill(file.begin() + static_cast<std::ptrdiff_t>(block),
                      file.begin() + static_cast<std::ptrdiff_t>(std::min(block + 16, file.size())), value);
            expect_survived(file);
        }
}

// The count of frames is kept small, so that what is walked again and again comes to an end soon.
TEST_F(DamageTest, NoiseFromEndToEndWithSyncWordsInIt) {
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE(round);
        bytes file(2000);
        for (uint8_t& each : file)
            each = noise();
        recording::put_u32(file, 84, 200);
        for (size_t at = 88; at + 32 < file.size(); at += 32 + noise() % 64) {
            recording::put_u32(file, at, 0x02000000);
            recording::put_u32(file, at + 4, 32 + noise());
            recording::put_u32(file, at + 8, noise() % 2);
            recording::put_u32(file, at + 20, recording::get_u32(file, at + 4) - 32);
            recording::put_u32(file, at + 24, 0);
        }
        expect_survived(file);
    }
}

// The head's count decides how many rows there are; behind the end of the file they show zeros.
TEST_F(DamageTest, AnIndexThatCountsMoreRecordsThanTheFileHas) {
    constexpr uint32_t count = 10000;
    bytes file = sound;
    const size_t index_block = file.size() - recording::get_u32(file, file.size() - 4);
    recording::put_u32(file, index_block + 32, count);
    place.folder().write("damaged.kmr", file);
    const std::string report = place.report({"-f", "damaged.kmr", "-t"});
    EXPECT_EQ(static_cast<uint32_t>(std::count(report.begin(), report.end(), '[')), count);
    EXPECT_THAT(report, HasSubstr("    9999\t[00:00:00]\t00000000\t"));
    EXPECT_THAT(report, HasSubstr(" 123abcd\t  800000\t\n"));
}

} // namespace
