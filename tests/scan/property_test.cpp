// What holds for any bytes: regions and frames tile the file, offsets rise, work is linear, the same bytes give the
// same judgement.
#include "scan/scanner.hpp"
#include "tests/scan/compose.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <thread>
#include <tuple>

namespace {

using scan_test::bytes;
using scan_test::found;
namespace scan = kmr::scan;

class counting_source final : public scan::byte_source {
public:
    explicit counting_source(const bytes& content) : inner_(content) {}
    uint64_t size() const override { return inner_.size(); }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        const scan::read_result result = inner_.read_at(offset, into);
        bytes_read += result.count;
        return result;
    }

    uint64_t bytes_read = 0;

private:
    scan::memory_source inner_;
};

// Fails the test where events leave a gap, overlap or go back; returns how many there were.
size_t expect_tiled(const bytes& file) {
    counting_source source(file);
    scan::scanner events(source);
    uint64_t at = 0;
    size_t count = 0;
    const auto covers = [&](uint64_t offset, uint64_t length) {
        EXPECT_EQ(offset, at);
        EXPECT_GT(length, 0U);
        at = offset + length;
    };
    for (;; ++count) {
        const scan::event seen = events.next();
        if (const auto* header = std::get_if<scan::header_event>(&seen))
            at = header->length;
        else if (const auto* frame = std::get_if<scan::frame_event>(&seen))
            covers(frame->offset, frame->length);
        else if (const auto* torn = std::get_if<scan::torn_event>(&seen))
            covers(torn->offset, torn->length);
        else if (const auto* index = std::get_if<scan::index_event>(&seen))
            covers(index->offset, index->length);
        else if (const auto* rest = std::get_if<scan::trailing_event>(&seen))
            covers(rest->offset, rest->length);
        else
            break;
        if (testing::Test::HasFailure())
            return count;
    }
    EXPECT_EQ(at, file.size());
    // Each byte twice, the window once more around each header that is looked at.
    EXPECT_LE(source.bytes_read, 16 * file.size() + uint64_t{65536} * 4);
    return count;
}

void expect_sane(const bytes& file) {
    expect_tiled(file);
    const scan::report judged = scan_test::judge(file);
    EXPECT_EQ(found(judged), found(scan_test::judge(file)));
    EXPECT_TRUE(
        std::is_sorted(judged.findings.begin(), judged.findings.end(), [](const auto& a, const auto& b) {
            return std::tie(a.offset, a.code) < std::tie(b.offset, b.code);
        }));
    EXPECT_EQ(judged.frames.total, judged.frames.i + judged.frames.p + judged.frames.inserted);
    for (const scan::finding& each : judged.findings)
        EXPECT_LE(each.offset + each.length, file.size() + 0U) << scan::message_of(each);
}

scan_test::frames varied_frames() {
    scan_test::frames all = scan_test::sound_frames(15);
    all[3].audio_count = 2;
    all[3].audio_size = 40;
    all[7].tag = 2;
    all.insert(all.begin() + 9,
               {.number = 9, .time_stamp = 1320, .kind = 1, .video = bytes(40, 0x33), .tag = 0x7788});
    bytes video =
        scan_test::user_data_unit(scan_test::user_data_block("ZNST", 1, {0xD1, 0xFE, 2, 0, 'h', 'i'}));
    recording::append(video, scan_test::i_video());
    all[5].video = video;
    return all;
}

TEST(AnyBytesTest, EveryFlipOfEveryByte) {
    const bytes sound = scan_test::recording_of(varied_frames());
    ASSERT_THAT(found(sound), testing::SizeIs(1)); // encrypted
    for (size_t i = 0; i < sound.size() && !HasFailure(); ++i)
        for (const int flip : {0x01, 0x02, 0x80, 0xFF}) {
            bytes file = sound;
            file[i] = static_cast<uint8_t>(file[i] ^ flip);
            SCOPED_TRACE(testing::Message() << "byte " << i << " ^ " << flip);
            expect_sane(file);
        }
}

// One flipped bit is one cause.
TEST(AnyBytesTest, OneFlippedByteGivesOneFinding) {
    const bytes sound = scan_test::recording_of(scan_test::sound_frames(20));
    ASSERT_THAT(found(sound), testing::IsEmpty());
    for (size_t i = 0; i < sound.size(); ++i)
        for (int bit = 0; bit < 8; ++bit) {
            bytes file = sound;
            file[i] = static_cast<uint8_t>(file[i] ^ 1 << bit);
            const auto lines = found(file);
            EXPECT_LE(lines.size(), 1U)
                << "byte " << i << " bit " << bit << ": " << testing::PrintToString(lines);
        }
}

// The same with sound, user data and H.265.
TEST(AnyBytesTest, OneFlippedByteGivesOneFindingInOtherRecordingsToo) {
    const bytes block = scan_test::user_data_block("ZNST", 1, {0xD1, 0xFE, 2, 0, 'h', 'i'});
    scan_test::frames all = scan_test::h265_frames(15);
    for (recording::frame& each : all) {
        each.audio_count = 1;
        each.audio_size = 30;
    }
    bytes video = scan_test::user_data_unit(block, true);
    recording::append(video, all[7].video);
    all[7].video = video;
    const bytes sound = scan_test::recording_of(all);
    ASSERT_THAT(found(sound), testing::IsEmpty());
    for (size_t i = 0; i < sound.size(); ++i)
        for (int bit = 0; bit < 8; ++bit) {
            bytes file = sound;
            file[i] = static_cast<uint8_t>(file[i] ^ 1 << bit);
            const auto lines = found(file);
            EXPECT_LE(lines.size(), 1U)
                << "byte " << i << " bit " << bit << ": " << testing::PrintToString(lines);
        }
}

TEST(AnyBytesTest, EveryLength) {
    const bytes sound = scan_test::recording_of(varied_frames());
    for (size_t length = 0; length < sound.size() && !HasFailure(); ++length) {
        SCOPED_TRACE(length);
        const bytes file(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(length));
        expect_sane(file);
        EXPECT_LE(found(file).size(), 2U)
            << testing::PrintToString(found(file)); // one beside the encrypted frame
        EXPECT_NE(scan_test::judge(file).judged, scan::verdict::sound);
    }
}

TEST(AnyBytesTest, RandomDamage) {
    std::mt19937 random(20150102);
    const bytes sound = scan_test::recording_of(varied_frames());
    for (int round = 0; round < 2000 && !HasFailure(); ++round) {
        bytes file = sound;
        for (uint32_t wounds = random() % 4 + 1; wounds > 0; --wounds) {
            const size_t at = random() % file.size();
            const size_t length = std::min<size_t>(random() % 300, file.size() - at);
            const auto place = file.begin() + static_cast<std::ptrdiff_t>(at);
            switch (random() % 4) {
            case 0:
                std::fill_n(place, length, uint8_t{0});
                break;
            case 1:
                std::generate_n(place, length, [&] { return static_cast<uint8_t>(random()); });
                break;
            case 2:
                file.erase(place, place + static_cast<std::ptrdiff_t>(length % 100));
                break;
            default: {
                const bytes copied(place, place + static_cast<std::ptrdiff_t>(length));
                file.insert(file.begin() + static_cast<std::ptrdiff_t>(random() % file.size()),
                            copied.begin(), copied.end());
            }
            }
        }
        SCOPED_TRACE(round);
        expect_sane(file);
    }
}

// Headers nested into each other, eight bytes apart: each is well formed, none has a successor.
TEST(HostileBytesTest, NestedHeadersStayLinear) {
    bytes file = scan_test::without_index(scan_test::sound_frames(5));
    const size_t begin = file.size();
    file.resize(begin + 800'000, 0);
    for (size_t i = 0; i + 32 < 800'000; i += 16) {
        recording::put_u32(file, begin + i, 0x02000000);
        recording::put_u32(file, begin + i + 4,
                           static_cast<uint32_t>((800'000 - i) / 16 * 32 + 64) % 0x100000);
        recording::put_u32(file, begin + i + 8, 1);
    }
    EXPECT_GT(expect_tiled(file), 0U);
    file.assign(file.size(), 0);
    for (size_t i = 3; i < file.size(); i += 4)
        file[i] = 2; // nothing but sync words
    EXPECT_GT(expect_tiled(file), 0U);
}

TEST(HostileBytesTest, TornRegionsOneAfterTheOtherStayLinear) {
    const scan_test::frames all = scan_test::sound_frames(4000);
    bytes file = scan_test::recording_of(all);
    size_t at = 88;
    for (size_t i = 0; i < all.size(); at += recording::frame_record(all[i++]).size())
        if (i % 5 == 1 || i % 5 == 3) // the frame between the two stands alone
            file.at(at) = 0xEE;
    expect_tiled(file);
    const scan::report judged = scan_test::judge(file);
    EXPECT_EQ(judged.frames.total, 2400U);
    EXPECT_EQ(judged.frames.lost, 1600U);
    EXPECT_EQ(judged.found[static_cast<size_t>(scan::finding_code::bytes_torn)], 1600U);
    EXPECT_EQ(judged.findings.size(), 100U);
}

// In front of every I-frame a number is missing, and no record names a place that has to do with its frame: a look ahead
// from each of them would go through all records.
TEST(HostileBytesTest, SearchesForTheRecordsStayLinear) {
    scan_test::frames all = scan_test::sound_frames(20'000);
    for (uint32_t i = 0; i < all.size(); ++i)
        all[i].number += i / 5;
    scan_test::records index = scan_test::records_for(all);
    std::mt19937 random(20150102);
    for (auto& each : index)
        each.position = static_cast<uint32_t>(random());
    const bytes file = scan_test::recording_of(all, index);
    counting_source source(file);
    const scan::report judged = scan::judge(source);
    EXPECT_EQ(judged.found[static_cast<size_t>(scan::finding_code::index_entry_wrong)], 4000U);
    EXPECT_EQ(judged.frames.lost, 3999U);
    EXPECT_LE(source.bytes_read, 4 * file.size());
}

TEST(AnyThreadTest, JudgesAlike) {
    bytes file = scan_test::recording_of(varied_frames());
    file.at(700) ^= 0x55;
    const auto expected = found(file);
    std::vector<std::string> other;
    std::thread second([&] {
        for (int i = 0; i < 50; ++i)
            other = found(file);
    });
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(found(file), expected);
    second.join();
    EXPECT_EQ(other, expected);
}

} // namespace
