// A sound recording, damaged in every place: whatever it holds, the analysis ends and leaves nothing behind.
#include "analyse/analyse.h"

#include "tests/analyse/analysis_fixture.hpp"
#include "tests/fakes/module_probe.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

using analysis::bytes;
using analysis::resources;
using analysis::resources_in_use;
namespace option = analysis::option;
using recording::put_u32;

// All that print or read something else.
constexpr uint32_t option_words[] = {
    0x00,      option::s, option::a, option::i,
    option::t, option::u, option::m, option::i | option::m | option::t | option::u};

// Three frames of 24 bytes of user data each and an index: frames at 88, 144 and 200, the index at 256 with its
// records at 300 and 380; 468 bytes.
bytes sound_recording() {
    const bytes video = {0, 0, 0, 1,    6,    0xF0, 16, 'Z', 'N', 'S', 'T', 1,
                         0, 8, 0, 0xD9, 0xFE, 4,    0,  5,   0,   3,   0,   0xAA};
    return recording::sound({{.number = 7, .time_stamp = 1000, .kind = 0, .video = video},
                             {.number = 8, .time_stamp = 1040, .kind = 1, .video = video},
                             {.number = 9, .time_stamp = 3000, .kind = 0, .video = video}});
}

class DamageTest : public analysis::AnalysisTest {
protected:
    // The report.
    std::string survive(const bytes& recording, uint32_t options) {
        module_probe::reset();
        // Some file systems wait for the disk when a file is written over, and none when it is made.
        for (const char* name : {"r.kmr", "EndFrame", "Diff"})
            std::filesystem::remove(path(name));
        const std::string name = put(recording);
        const std::string said = report_of(name, options);
        EXPECT_EQ(resources_in_use(), resources{});
        return said;
    }

    static bool ends_with_a_verdict(const std::string& report) {
        return report.ends_with("Well done :)\n") || report.ends_with("IT IS a POOR FILE :(\n");
    }
};

TEST_F(DamageTest, TheRecordingIsSoundBeforeIt) {
    const bytes recording = sound_recording();
    ASSERT_EQ(recording.size(), 468U);
    for (const uint32_t options : option_words)
        EXPECT_THAT(survive(recording, options), testing::EndsWith("Well done :)\n"));
}

TEST_F(DamageTest, ACutAtEveryByteIsSurvived) {
    const bytes recording = sound_recording();
    for (const uint32_t options : option_words)
        for (size_t size = 0; size < recording.size(); ++size) {
            SCOPED_TRACE(size);
            const std::string said = survive(
                bytes(recording.begin(), recording.begin() + static_cast<std::ptrdiff_t>(size)), options);
            // Without a whole index header nothing is judged, and without the last byte nothing is good.
            EXPECT_EQ(said.find("Well done"), std::string::npos);
            EXPECT_EQ(said.find("POOR") != std::string::npos, size >= 256 + 32);
            if (HasFailure())
                return;
        }
}

// Records beyond the file are printed, as many as the head says: one bit may ask for a billion of them.
bool asks_for_very_many_rows(size_t offset, uint8_t flipped) {
    return (offset == 256 + 34 && flipped != 0) || (offset == 256 + 35 && (flipped & 0x80) == 0);
}

TEST_F(DamageTest, EveryFlippedBitIsSurvived) {
    const bytes recording = sound_recording();
    for (const uint32_t options : option_words)
        for (size_t offset = 0; offset < recording.size(); ++offset)
            for (unsigned bit = 0; bit < 8; ++bit) {
                const auto flipped = static_cast<uint8_t>(1U << bit);
                if (asks_for_very_many_rows(offset, flipped))
                    continue;
                SCOPED_TRACE(testing::Message()
                             << "byte " << offset << " bit " << bit << " options " << options);
                bytes damaged = recording;
                damaged[offset] ^= flipped;
                survive(damaged, options);
                if (HasFailure())
                    return;
            }
}

TEST_F(DamageTest, EveryByteSetToAnExtremeIsSurvived) {
    const bytes recording = sound_recording();
    for (size_t offset = 0; offset < recording.size(); ++offset)
        for (const auto value : std::initializer_list<uint8_t>{0x00, 0x7F, 0x80, 0xFF}) {
            if (asks_for_very_many_rows(offset, value))
                continue;
            SCOPED_TRACE(testing::Message() << "byte " << offset << " value " << int{value});
            bytes damaged = recording;
            damaged[offset] = value;
            survive(damaged, option::a | option::u | option::m);
            if (HasFailure())
                return;
        }
}

TEST_F(DamageTest, AFlippedBitInAPayloadOrInTheFileHeaderChangesNoRow) {
    const bytes recording = sound_recording();
    const std::string rows = analysis::below_heading(survive(recording, option::a));
    for (size_t offset = 0; offset < 84; ++offset) {
        bytes damaged = recording;
        damaged[offset] ^= 0x10;
        EXPECT_EQ(analysis::below_heading(survive(damaged, option::a)), rows) << offset;
    }
    for (const size_t frame : {88U, 144U, 200U})
        for (size_t offset = frame + 32; offset < frame + 56; ++offset) {
            bytes damaged = recording;
            damaged[offset] ^= 0x10;
            EXPECT_EQ(analysis::below_heading(survive(damaged, option::a)), rows) << offset;
        }
}

// The frame kind, the number and the time stamp may be anything; everything else of a frame's header decides
// whether it is a frame.
TEST_F(DamageTest, AFlippedBitInAFrameHeaderCostsThatFrameAtTheMost) {
    const bytes recording = sound_recording();
    for (size_t offset = 88; offset < 88 + 32; ++offset)
        for (unsigned bit = 0; bit < 8; ++bit) {
            bytes damaged = recording;
            damaged[offset] ^= static_cast<uint8_t>(1U << bit);
            SCOPED_TRACE(testing::Message() << "byte " << offset << " bit " << bit);
            const std::string said = survive(damaged, option::a);
            // A length of another frame may lead past the others, never past a frame that can be found.
            if (offset < 92 || offset >= 96) {
                EXPECT_TRUE(ends_with_a_verdict(said)) << said;
            }
        }
}

TEST_F(DamageTest, NoiseIsSurvived) {
    uint32_t state = 20150102;
    const auto noise = [&state] {
        state = state * 1664525 + 1013904223;
        return static_cast<uint8_t>(state >> 24);
    };
    for (int round = 0; round < 200; ++round) {
        bytes file = recording::file_header(50);
        bytes rest(2000);
        std::generate(rest.begin(), rest.end(), noise);
        recording::append(file, rest);
        for (const uint32_t options : {option::a | option::u, option::i | option::m})
            survive(file, options);
    }
}

// Holes make it large without taking room: the walk starts in front of 2 GiB.
TEST_F(DamageTest, ARecordingBeyond2GiBIsWalkedAsFarAsOffsetsGo) {
    const std::string name = put(analysis::unfinished({{.number = 1, .kind = 1}}));
    ASSERT_EQ(truncate(name.c_str(), 0x80000000 + 1000), 0);
    EXPECT_EQ(analysis::below_heading(report_of(name, option::a)),
              analysis::row("1", "00000058", "P", 132, 100, 0, 0, 1000, 1000, "0") +
                  analysis::row("0", "000000dc", "I", 0, 0, 0, 0, 0, -1000, "-2"));
    // A frame that ends behind the last offset.
    bytes header = recording::frame_record({.number = 9, .kind = 1, .video = bytes(1, 1)});
    put_u32(header, 4, 0x100000);
    put_u32(header, 20, 0x100000 - 32);
    std::fstream file(name, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(0x7FFFFFFF - 100);
    file.write(reinterpret_cast<const char*>(header.data()), 32);
    file.close();
    uint32_t count = 5;
    uint32_t position = 0x7FFFFFFF - 100;
    EXPECT_EQ(
        analysis::printed([&] { EXPECT_EQ(rec_vca_GetVcaMsgEx(name.c_str(), &count, 0, 0, &position), -1); }),
        analysis::row("9", "7fffff9b", "P", 1048576, 1048544, 0, 0, 1000, 1000, "0"));
    EXPECT_EQ(position, 0x7FFFFFFFU - 100);
}

} // namespace
