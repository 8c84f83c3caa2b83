#include "file_op/rebuild.h"

#include "file_op/index_query.h"
#include "tests/file_op/recording_fixture.hpp"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace {

using recording::frame;
using recording::frame_record;
using recording::get_u32;
using recording::index_block;
using recording::index_record;
using recording::put_u32;

constexpr int32_t start_time = 5000;
constexpr size_t header_size = 88;

bytes frames_of(const std::vector<frame>& frames) {
    bytes file = recording::file_header(static_cast<uint32_t>(frames.size()));
    for (const frame& each : frames)
        recording::append(file, frame_record(each));
    return file;
}

// Two I-frames with a P-frame behind each; the stamps start at `stamp` and rise by 1.6 seconds.
std::vector<frame> four_frames(uint32_t stamp = 1000) {
    return {small_frame(1, stamp, i_frame), small_frame(2, stamp + 1600, p_frame),
            small_frame(3, stamp + 3200, i_frame), small_frame(4, stamp + 4800, p_frame)};
}

// What an undisturbed repair of four_frames gives: 88 + 160 bytes and an index of two records.
bytes repaired_four_frames(uint32_t stamp = 1000) {
    bytes file = frames_of(four_frames(stamp));
    recording::append(file, index_block({{.time = 5000, .position = 88}, {.time = 5003, .position = 168}}));
    return file;
}

std::vector<frame> only_i_frames(uint32_t count) {
    std::vector<frame> frames;
    for (uint32_t i = 0; i < count; ++i)
        frames.push_back(small_frame(i + 1, 1000 + 40 * i, i_frame));
    return frames;
}

class RebuildTest : public RecordingTest {
protected:
    std::string path_ = folder_.file("mnt/rec");

    bytes content() const { return scratch::read_file(path_); }
    int32_t recover(int32_t start = start_time) const { return rec_RecoverRecordSize(path_.c_str(), start); }
    int32_t make_index(int32_t minimum_size = 0) {
        return rec_MakeUpIframeIndex(path_.c_str(), minimum_size, &walked_, start_time);
    }

    bytes repaired(const bytes& damaged) const {
        put_recording(damaged);
        EXPECT_EQ(recover(), 0);
        EXPECT_EQ(dates(path_), original_dates());
        return content();
    }

    uint32_t walked_ = 77;
};

// --- what is written ---

TEST_F(RebuildTest, FramesWithoutAnIndexGetOne) {
    EXPECT_EQ(repaired(frames_of(four_frames())), repaired_four_frames());
}

TEST_F(RebuildTest, IndexBlockByteByByte) {
    bytes file = recording::file_header(1);
    recording::append(file, frame_record(small_frame(1, 1000, i_frame)));
    const bytes after = repaired(file);
    const bytes expected =
        {0,    0,    0,   2, 132,  0, 0, 0, 1, 0, 0,    0,    0,    0,    0,    0,    0, 0,
         0,    0,    100, 0, 0,    0, 0, 0, 0, 0, 0,    0,    0,    0,    1,    0,    0, 0,
         80,   0,    0,   0, 0xC2, 1, 0, 0, // 1 record, 80 bytes, room for 450
         0x88, 0x13, 0,   0, 88,   0, 0, 0, 0, 0, 0,    0,    0x80, 0x07, 0x38, 0x04, // 5000, 88, 0, 1920 x 1080
         0,    0,    0,   0, 0,    0, 0, 0, 0, 0, 0,    0,    0,    0,    0,    0,    0, 0,
         0,    0,    0,   0, 0,    0, 0, 0, 0, 0, 0,    0,    0,    0,    0,    0,    0, 0,
         0,    0,    0,   0, 0,    0, 0, 0, 0, 0, 0,    0,    0,    0,    0,    0,    0, 0,
         0,    0,    0,   0, 0,    0, 0, 0, 0, 0, 0xCD, 0xAB, 0x23, 0x01, 132,  0,    0, 0};
    EXPECT_EQ(part(after, 0, 128), file);
    EXPECT_EQ(part(after, 128, after.size()), expected);
}

TEST_F(RebuildTest, ModuleCallsOfARepair) {
    // An I-frame at 88, a P-frame at 128, an index of one record at 168: 300 bytes.
    put_recording(recording::sound({small_frame(1, 1000, i_frame), small_frame(2, 1040, p_frame)}));
    EXPECT_EQ(recover(), 0);
    EXPECT_EQ(
        short_calls(),
        (call_log{
            "Stat(rec) = 0",         "Open(0, rec, 66) = 3",  "Read(3, 88) = 88",      "Seek(3, 0, 2) = 300",
            "Seek(3, 88, 0) = 88", // how long the file is
            "Read(3, 32) = 32",      "Seek(3, 0, 1) = 120",   "Seek(3, 128, 0) = 128", "Read(3, 32) = 32",
            "Seek(3, 8, 1) = 168",   "Read(3, 32) = 32",
            "Seek(3, -32, 1) = 168", // the old index is no frame
            "Seek(3, 0, 1) = 168",   "ftruncate(3, 168) = 0", "Seek(3, 0, 2) = 168",   "Write(3, 44) = 44",
            "Write(3, 80) = 80",     "Write(3, 8) = 8",       "Close(3) = 0",          change_time()}));
}

TEST_F(RebuildTest, SoundFileGetsTheSameFramesAndAnIndexComputedFromThem) {
    EXPECT_EQ(repaired(recording::sound(four_frames(), 17)), repaired_four_frames());
    EXPECT_EQ(repaired(repaired_four_frames()), repaired_four_frames());
}

TEST_F(RebuildTest, TagsOfTheOldIndexAreGone) {
    bytes file = frames_of(four_frames());
    recording::append(file, index_block({{.time = 1, .position = 88, .tag = "goal"}}));
    EXPECT_EQ(repaired(file), repaired_four_frames());
}

TEST_F(RebuildTest, NumbersOfIFramesAroundTheArraysSteps) {
    struct expectation {
        uint32_t frames;
        uint32_t capacity;
    };
    for (const auto& [count, capacity] : {expectation{0, 450},
                                          {1, 450},
                                          {449, 450},
                                          {450, 450},
                                          {451, 900},
                                          {900, 900},
                                          {901, 1350},
                                          {10000, 10350}}) {
        const std::vector<frame> frames = only_i_frames(count);
        std::vector<index_record> records;
        for (uint32_t i = 0; i < count; ++i)
            records.push_back({.time = 5000 + 40 * i / 1000, .position = 88 + 40 * i});
        bytes expected = frames_of(frames);
        recording::append(expected, index_block(records, capacity));
        const bytes after = repaired(frames_of(frames));
        EXPECT_TRUE(after == expected) << count; // too long to be shown
        EXPECT_TRUE(repaired(after) == expected) << count;
    }
}

TEST_F(RebuildTest, RepairedFileAnswersTheIndexQuery) {
    put_recording(frames_of(only_i_frames(451)));
    EXPECT_EQ(recover(), 0);
    kmr_frame_header header = {};
    uint32_t block = 0;
    uint32_t count = 0;
    EXPECT_EQ(rec_GetIFrameIndexInfo(path_.c_str(), &header, &block, nullptr, &count, nullptr), 0);
    EXPECT_EQ(block, 88u + 451 * 40);
    EXPECT_EQ(count, 451u);
}

TEST_F(RebuildTest, RecordTimesWrapAndTruncate) {
    // Stamps run over the end of their 32 bits: 500 ms before it, 499 and 500 ms behind it.
    const std::vector<frame> frames = {small_frame(1, 0xFFFFFE0C, i_frame), small_frame(2, 499, i_frame),
                                       small_frame(3, 500, i_frame)};
    const bytes after = repaired(frames_of(frames));
    EXPECT_EQ(get_u32(after, 208 + 44), 5000u);
    EXPECT_EQ(get_u32(after, 208 + 44 + 80), 5000u);
    EXPECT_EQ(get_u32(after, 208 + 44 + 160), 5001u);
}

TEST_F(RebuildTest, FrameKindIsItsLowByte) {
    bytes file = recording::file_header(2);
    recording::append(file, frame_record(small_frame(1, 1000, 0x100)));
    recording::append(file, frame_record(small_frame(2, 1040, 0x101)));
    const bytes after = repaired(file);
    EXPECT_EQ(get_u32(after, 168 + 32), 1u);
}

// --- where the file is cut ---

TEST_F(RebuildTest, FileCutOffAnywhereKeepsItsWholeFrames) {
    for (const uint32_t stamp : {1000u, 0u, 0xFFFFFF00u}) { // ordinary, at zero, around the end of 32 bits
        const bytes whole = recording::sound(four_frames(stamp), 17);
        for (size_t size = header_size; size <= whole.size(); ++size) {
            const size_t complete = std::min<size_t>((size - header_size) / 40, 4);
            std::vector<index_record> records;
            if (complete >= 1)
                records.push_back({.time = 5000, .position = 88});
            if (complete >= 3)
                records.push_back({.time = 5003, .position = 168});
            bytes expected = part(whole, 0, header_size + 40 * complete);
            recording::append(expected, index_block(records));
            ASSERT_EQ(repaired(part(whole, 0, size)), expected) << stamp << " " << size;
        }
    }
}

TEST_F(RebuildTest, TornIFrameIsNotIndexedAndNeedsNoRoom) {
    bytes torn = frames_of(only_i_frames(451));
    torn.pop_back();
    const bytes after = repaired(torn);
    const size_t block = 88 + 450 * 40;
    EXPECT_EQ(get_u32(after, block + 32), 450u);
    EXPECT_EQ(get_u32(after, block + 40), 450u);
    EXPECT_EQ(after.size(), block + 52 + size_t{450} * 80);
}

TEST_F(RebuildTest, FileWithoutAWholeHeaderIsLeftAlone) {
    for (const size_t size : {0u, 1u, 87u}) {
        put_recording(bytes(size, 1));
        EXPECT_EQ(recover(), -1);
        EXPECT_EQ(modification_time(path_), modified_);
        EXPECT_EQ(make_index(), REC_CANNOT_OPEN);
        EXPECT_EQ(content(), bytes(size, 1));
    }
    EXPECT_EQ(walked_, 77u);
}

TEST_F(RebuildTest, WalkEndsAtTheFirstHeaderThatIsNone) {
    bytes file = frames_of(four_frames());
    put_u32(file, 168, 0x02000001);
    bytes expected = part(file, 0, 168);
    recording::append(expected, index_block({{.time = 5000, .position = 88}}));
    EXPECT_EQ(repaired(file), expected);

    file = frames_of(four_frames());
    put_u32(file, 168 + 4, 0);
    EXPECT_EQ(repaired(file), expected);

    file = frames_of(four_frames());
    put_u32(file, 168 + 4, 0x80000000);
    EXPECT_EQ(repaired(file), expected);

    file = frames_of(four_frames());
    put_u32(file, 168 + 16, 2600 + 36'000'001); // ten hours and a millisecond behind the frame before
    EXPECT_EQ(repaired(file), expected);
}

TEST_F(RebuildTest, GarbageBehindTheFramesIsCutAway) {
    bytes file = frames_of(four_frames());
    recording::append(file, bytes(100'000, 0xEE));
    EXPECT_EQ(repaired(file), repaired_four_frames());
}

TEST_F(RebuildTest, OldIndexWithoutFramesIsReplaced) {
    bytes file = recording::file_header(0);
    recording::append(file, index_block({{.time = 1, .position = 88}}));
    bytes expected = recording::file_header(0);
    recording::append(expected, index_block({}));
    EXPECT_EQ(repaired(file), expected);
}

TEST_F(RebuildTest, OldIndexThatCallsItselfAnIFrameIsReplaced) {
    bytes file = recording::sound(four_frames(0xFFFFFF00), 17);
    put_u32(file, 248 + 8, 0);
    EXPECT_EQ(repaired(file), repaired_four_frames(0xFFFFFF00));
}

TEST_F(RebuildTest, LastFrameThatOnlyResemblesAnIndexStays) {
    // Stamp 0, no audio, no tag.
    std::vector<frame> frames = {small_frame(1, 0, i_frame), small_frame(2, 0, p_frame)};
    bytes expected = frames_of(frames);
    recording::append(expected, index_block({{.time = 5000, .position = 88}}));
    EXPECT_EQ(repaired(frames_of(frames)), expected);

    put_u32(frames[1].video, 0, 0x0123ABCD); // the magic, but another length
    put_u32(frames[1].video, 4, 41);
    expected = frames_of(frames);
    recording::append(expected, index_block({{.time = 5000, .position = 88}}));
    EXPECT_EQ(repaired(frames_of(frames)), expected);
}

TEST_F(RebuildTest, FrameShorterThanItsHeaderDoesNotHoldTheWalk) {
    bytes file = frames_of(four_frames());
    put_u32(file, 88 + 4, 1);
    bytes expected = part(file, 0, 89);
    recording::append(expected, index_block({{.time = 5000, .position = 88}}));
    EXPECT_EQ(repaired(file), expected);
}

// --- picture size ---

TEST_F(RebuildTest, SmallPictureIsRaisedToTheMinimum) {
    put_recording(frames_of(four_frames()));
    EXPECT_EQ(make_index(2560 << 16 | 1440), REC_OK);
    bytes expected = repaired_four_frames();
    put_u32(expected, 2, 1440u << 16 | 2560);
    put_u32(expected, 248 + 44 + 12, 1440u << 16 | 2560);
    put_u32(expected, 248 + 44 + 80 + 12, 1440u << 16 | 2560);
    EXPECT_EQ(content(), expected);
    const call_log calls = short_calls();
    EXPECT_EQ(
        call_log(calls.end() - 8, calls.end()),
        (call_log{"ftruncate(3, 248) = 0", "Seek(3, 0, 0) = 0", "Write(3, 88) = 88", "Seek(3, 0, 2) = 248",
                  "Write(3, 44) = 44", "Write(3, 160) = 160", "Write(3, 8) = 8", "Close(3) = 0"}));
}

TEST_F(RebuildTest, LargeEnoughPictureStays) {
    for (const int32_t minimum : {0, -1, 1920 << 16 | 1080, 1920 << 16 | 1079}) {
        put_recording(frames_of(four_frames()));
        EXPECT_EQ(make_index(minimum), REC_OK);
        EXPECT_EQ(content(), repaired_four_frames());
    }
}

TEST_F(RebuildTest, PictureSizesAreComparedWithTheirSign) {
    bytes file = frames_of(four_frames());
    put_u32(file, 2, 0x0001'8000); // width 0x8000: negative, below 0
    put_recording(file);
    EXPECT_EQ(make_index(0), REC_OK);
    EXPECT_EQ(get_u32(content(), 2), 0u);
}

// --- number walked, start time, arguments ---

TEST_F(RebuildTest, NumberWalkedCountsEveryHeaderThatWasRead) {
    put_recording(frames_of(four_frames()));
    EXPECT_EQ(make_index(), REC_OK);
    EXPECT_EQ(walked_, 4u);
    EXPECT_EQ(make_index(), REC_OK);
    EXPECT_EQ(walked_, 5u); // and the head of the index that ended the walk
    bytes torn = frames_of(four_frames());
    torn.pop_back();
    put_recording(torn);
    EXPECT_EQ(make_index(), REC_OK);
    EXPECT_EQ(walked_, 4u); // the torn frame's too
    put_recording(recording::file_header(0));
    EXPECT_EQ(make_index(), REC_OK);
    EXPECT_EQ(walked_, 0u);
    EXPECT_EQ(rec_MakeUpIframeIndex(path_.c_str(), 0, nullptr, start_time), REC_OK);
}

TEST_F(RebuildTest, StartTimeIsAskedOfTheFileSystem) {
    setenv("TZ", "UTC", 1); // the plain-file module reads the header's date as local time
    tzset();
    const std::string name = "H0000120150102030405C000001";
    path_ = write_on_disk("00", name, frames_of(four_frames()));
    EXPECT_EQ(recover(-1), 0);
    path_ = "disks/host00/part1/" + name;
    EXPECT_EQ(get_u32(content(), 248 + 44), 1420167845u); // 2015-01-02 03:04:05
    EXPECT_EQ(get_u32(content(), 248 + 44 + 80), 1420167848u);
}

TEST_F(RebuildTest, StartTimeThatIsNotToBeHadIsZero) {
    for (const char* path : {"mnt/rec", "mnt/Hrec"}) { // no short name in it, and one that names no recording
        path_ = path;
        put(path_, frames_of(four_frames()));
        EXPECT_EQ(recover(-1), 0);
        EXPECT_EQ(get_u32(content(), 248 + 44), 0u);
        EXPECT_EQ(get_u32(content(), 248 + 44 + 80), 3u);
    }
}

TEST_F(RebuildTest, StartTimesBeyond2038ArePossible) {
    put_recording(frames_of(four_frames()));
    EXPECT_EQ(recover(static_cast<int32_t>(0xFFFFFFFE)), 0);
    EXPECT_EQ(get_u32(content(), 248 + 44), 0xFFFFFFFEu);
    EXPECT_EQ(get_u32(content(), 248 + 44 + 80), 1u);
}

TEST_F(RebuildTest, NoSuchFile) {
    EXPECT_EQ(rec_RecoverRecordSize(nullptr, start_time), -1);
    EXPECT_EQ(recover(), REC_NOT_FOUND);
    EXPECT_EQ(short_calls(), (call_log{"Stat(rec) = -1"}));
    EXPECT_EQ(rec_MakeUpIframeIndex(nullptr, 0, &walked_, start_time), REC_CANNOT_OPEN);
    EXPECT_EQ(make_index(), REC_CANNOT_OPEN); // its folder is missing
    EXPECT_EQ(walked_, 77u);
}

TEST_F(RebuildTest, PathThatDoesNotExistIsNotMade) {
    put("mnt/other", {}); // so that the folder is there
    module_probe::reset();
    EXPECT_EQ(make_index(), REC_CANNOT_OPEN);
    EXPECT_EQ(walked_, 77u);
    EXPECT_FALSE(std::filesystem::exists(path_));
    EXPECT_EQ(short_calls(), (call_log{"Stat(rec) = -1"}));
}

TEST_F(RebuildTest, FileIsLookedForOnceBeforeItIsOpened) {
    const call_log first = {"Stat(rec) = 0", "Open(0, rec, 66) = 3"};
    put_recording(frames_of(four_frames()));
    EXPECT_EQ(make_index(), REC_OK);
    call_log calls = short_calls();
    EXPECT_EQ(call_log(calls.begin(), calls.begin() + 2), first);
    put_recording(frames_of(four_frames()));
    module_probe::reset();
    EXPECT_EQ(recover(), 0); // which has looked for it itself
    calls = short_calls();
    EXPECT_EQ(call_log(calls.begin(), calls.begin() + 2), first);
}

// --- failures ---

TEST_F(RebuildTest, WhatEachFailedCallLeaves) {
    const bytes before = recording::sound({small_frame(1, 1000, i_frame), small_frame(2, 1040, p_frame)}, 17);
    const bytes frames = part(before, 0, 168);
    const auto index = [](const std::vector<index_record>& records) { return index_block(records); };
    const bytes done = [&] {
        bytes file = frames;
        recording::append(file, index({{.time = 5000, .position = 88}}));
        return file;
    }();
    const auto cut_at = [&](size_t end, const std::vector<index_record>& records) {
        bytes file = part(before, 0, end);
        recording::append(file, index(records));
        return file;
    };
    // An index that lacks the bytes from `from` on for `count` bytes.
    const auto index_without = [&](size_t from, size_t count) {
        bytes file = done;
        file.erase(file.begin() + static_cast<std::ptrdiff_t>(168 + from),
                   file.begin() + static_cast<std::ptrdiff_t>(168 + from + count));
        return file;
    };
    struct failure {
        int call; // as listed in ModuleCallsOfARepair
        int32_t result;
        bytes left;
    };
    const std::vector<index_record> one = {{.time = 5000, .position = 88}};
    const failure failures[] = {
        {1, REC_NOT_FOUND, before},
        {2, -1, before},
        {3, -1, before},
        {4, -1, before},
        {5, -1, before},
        {6, 0, cut_at(88, {})}, // an unreadable header ends the walk as the end of the file does
        {7, -1, before},
        {8, -1, before},
        {9, 0, cut_at(128, one)},
        {11, 0, cut_at(168, one)},
        {13, -1, before},
        {14, -1, before},
        {15, -1, frames},
        {16, 0, index_without(0, 44)},
        {17, 0, index_without(44, 80)},
        {18, 0, index_without(124, 8)},
        {20, -1, done},
    };
    for (const failure& each : failures) {
        put_recording(before);
        module_probe::reset();
        module_probe::fail("*", each.call);
        EXPECT_EQ(recover(), each.result) << each.call;
        EXPECT_EQ(content(), each.left) << each.call;
        EXPECT_EQ(layer_descriptors(), 0) << each.call;
    }
}

TEST_F(RebuildTest, StatusOfEachFailure) {
    const bytes before = recording::sound({small_frame(1, 1000, i_frame), small_frame(2, 1040, p_frame)}, 17);
    struct failure {
        const char* operation;
        int nth;
        int32_t status;
    };
    for (const auto& [operation, nth, status] : {failure{"Open", 1, REC_CANNOT_OPEN},
                                                 {"Read", 1, REC_CANNOT_OPEN},
                                                 {"Seek", 1, REC_SHORT_READ},
                                                 {"Seek", 2, REC_SHORT_READ},
                                                 {"Seek", 4, REC_SHORT_READ},
                                                 {"Seek", 7, REC_SHORT_READ},
                                                 {"ftruncate", 1, REC_CANNOT_TRUNCATE},
                                                 {"Seek", 8, REC_SHORT_READ}}) {
        put_recording(before);
        module_probe::reset();
        module_probe::fail(operation, nth);
        EXPECT_EQ(make_index(), status) << operation << nth;
        EXPECT_EQ(walked_, 77u);
    }
    put_recording(before);
    module_probe::reset();
    module_probe::fail("ftruncate", 1, 1); // anything but 0 is a failure
    EXPECT_EQ(make_index(), REC_CANNOT_TRUNCATE);
    EXPECT_EQ(content(), before);
}

TEST_F(RebuildTest, HeaderThatCannotBeWrittenEndsNothing) {
    for (const char* operation : {"Seek", "Write"}) {
        put_recording(frames_of({small_frame(1, 1000, i_frame)}));
        module_probe::reset();
        module_probe::fail(operation, operation == std::string("Seek") ? 6 : 1);
        EXPECT_EQ(make_index(2560 << 16 | 1440), REC_OK);
        EXPECT_EQ(part(content(), 0, 128), frames_of({small_frame(1, 1000, i_frame)}));
        EXPECT_EQ(get_u32(content(), 128 + 44 + 12), 1440u << 16 | 2560);
    }
}

// --- positions beyond 2 and 4 GiB ---

class LargeRebuildTest : public RebuildTest {
protected:
    // I-frames of nothing but holes, 2,000,000,000 bytes each.
    void put_large_frames(int count) {
        put_recording(recording::file_header(0));
        bytes header = part(frame_record(small_frame(1, 1000, i_frame)), 0, 32);
        put_u32(header, 4, frame_size);
        std::FILE* const file = std::fopen(path_.c_str(), "rb+");
        for (int i = 0; i < count; ++i) {
            fseeko(file, static_cast<off_t>(header_size + uint64_t{frame_size} * static_cast<uint64_t>(i)),
                   SEEK_SET);
            EXPECT_EQ(std::fwrite(header.data(), 1, header.size(), file), header.size());
        }
        std::fclose(file);
        ASSERT_EQ(truncate(path_.c_str(), static_cast<off_t>(header_size + uint64_t{frame_size} *
                                                                               static_cast<uint64_t>(count))),
                  0);
    }

    static constexpr uint32_t frame_size = 2'000'000'000;
};

TEST_F(LargeRebuildTest, FramesBeyond2GiBAreKept) {
    put_large_frames(2);
    EXPECT_EQ(recover(), 0);
    EXPECT_EQ(std::filesystem::file_size(path_), header_size + 2 * uint64_t{frame_size} + 52 + 160);
    kmr_frame_header header = {};
    uint32_t block = 0;
    uint32_t count = 0;
    EXPECT_EQ(rec_GetIFrameIndexInfo(path_.c_str(), &header, &block, nullptr, &count, nullptr), 0);
    EXPECT_EQ(block, header_size + size_t{2} * frame_size);
    EXPECT_EQ(count, 2u);
}

TEST_F(LargeRebuildTest, FramesBeyond4GiBHaveNoOffsetAndNothingIsTouched) {
    put_large_frames(4);
    EXPECT_EQ(make_index(), REC_SHORT_READ);
    EXPECT_EQ(std::filesystem::file_size(path_), header_size + 4 * uint64_t{frame_size});
}

// The last frame 256 ms before the clock begins anew: an index's stamp of 0 may follow it.
constexpr uint32_t stamp_before_0 = 0xFFFFFF00 - 4800;

TEST_F(RebuildTest, OldIndexThatPassesForTheLastIFrameIsReplaced) {
    bytes file = recording::sound(four_frames(stamp_before_0), 17);
    EXPECT_EQ(repaired(file), repaired_four_frames(stamp_before_0));
    put_u32(file, 248 + 8, 0); // an I-frame by its kind: it had a record, which goes with it
    EXPECT_EQ(repaired(file), repaired_four_frames(stamp_before_0));
}

TEST_F(RebuildTest, OldIndexWhoseTrailerCannotBeReadStaysAsAFrame) {
    const bytes file = recording::sound(four_frames(stamp_before_0), 17);
    bytes expected = file;
    recording::append(expected,
                      index_block({{.time = 5000, .position = 88}, {.time = 5003, .position = 168}}));
    put_recording(file);
    ASSERT_EQ(recover(), 0);
    const call_log calls = short_calls();
    const std::string place = std::to_string(file.size() - 8); // of the trailer
    const auto seek = std::find(calls.begin(), calls.end(), "Seek(3, " + place + ", 0) = " + place);
    ASSERT_NE(seek, calls.end());
    ASSERT_EQ(seek[1], "Read(3, 8) = 8");
    for (const auto failing : {seek - calls.begin() + 1, seek - calls.begin() + 2}) {
        put_recording(file);
        module_probe::reset();
        module_probe::fail("*", static_cast<int>(failing));
        EXPECT_EQ(recover(), 0);
        EXPECT_EQ(content(), expected) << failing;
    }
}

} // namespace
