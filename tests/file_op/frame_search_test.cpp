#include "file_op/frame_search.h"

#include "file_op/common/rec_status.h"
#include "tests/file_op/layer_fixture.hpp"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

namespace {

using recording::bytes;
using recording::frame;
using recording::frame_record;

constexpr size_t mebibyte = 0x100000;

void place(bytes& file, size_t offset, const bytes& what) {
    ASSERT_LE(offset + what.size(), file.size());
    std::copy(what.begin(), what.end(), file.begin() + static_cast<std::ptrdiff_t>(offset));
}

bytes first_of(bytes content, size_t length) {
    content.resize(length);
    return content;
}

bytes filler(size_t size) {
    return bytes(size, 0xFF);
}

// Headers alone are enough for most searches.
bytes header_only(const frame& of) {
    bytes record = frame_record(of);
    record.resize(32);
    return record;
}

bytes i_frame() {
    return header_only({.number = 5, .kind = 0});
}
bytes p_frame() {
    return header_only({.number = 5, .kind = 1});
}

class FrameSearchTest : public LayerTest {
protected:
    void TearDown() override {
        if (stream_ != nullptr) {
            EXPECT_EQ(vfs_fclose(stream_), 0);
        }
        LayerTest::TearDown();
    }

    // Opens a file of that content; the log starts behind the open.
    vfs_file* open(const bytes& content) {
        if (stream_ != nullptr) {
            EXPECT_EQ(vfs_fclose(stream_), 0);
        }
        stream_ = vfs_fopen(0, folder_.write("recording", content).c_str(), "rb");
        EXPECT_NE(stream_, nullptr);
        module_probe::reset();
        return stream_;
    }

    vfs_file* stream_ = nullptr;
};

// --- The next I-frame ---

class NextIFrameTest : public FrameSearchTest {
protected:
    // The offset found, or nothing with the output as it was.
    std::optional<uint32_t> next(vfs_file* file, int32_t start, int32_t end) {
        uint32_t out = 0xEEEEEEEE;
        const int result = rec_FindNextValidIFramefromLoc(file, end, start, &out);
        if (result == 0)
            return out;
        EXPECT_EQ(result, -1);
        EXPECT_EQ(out, 0xEEEEEEEEu);
        return std::nullopt;
    }

    std::optional<uint32_t> next_in(const bytes& content, int32_t start = 0) {
        return next(open(content), start, static_cast<int32_t>(content.size()));
    }

    // Whether a header is found that stands at offset 10.
    bool is_found(const bytes& header) {
        bytes file = filler(200);
        place(file, 10, header);
        const auto found = next_in(file);
        EXPECT_TRUE(!found || found == 10u);
        return found.has_value();
    }
};

TEST_F(NextIFrameTest, ArgumentsAreChecked) {
    vfs_file* file = open(filler(100));
    uint32_t out = 7;
    EXPECT_EQ(rec_FindNextValidIFramefromLoc(nullptr, 100, 0, &out), -1);
    EXPECT_EQ(rec_FindNextValidIFramefromLoc(file, 100, 0, nullptr), -1);
    EXPECT_EQ(rec_FindNextValidIFramefromLoc(file, 50, 50, &out), -1);
    EXPECT_EQ(rec_FindNextValidIFramefromLoc(file, 50, 51, &out), -1);
    EXPECT_EQ(rec_FindNextValidIFramefromLoc(file, -1, 0, &out), -1);
    EXPECT_EQ(rec_FindNextValidIFramefromLoc(file, -2147483647 - 1, 2147483647, &out), -1);
    EXPECT_EQ(out, 7u);
    EXPECT_TRUE(module_probe::calls().empty());
}

TEST_F(NextIFrameTest, ReadsWholeChunks) {
    bytes file = filler(1000);
    place(file, 600, i_frame());
    EXPECT_EQ(next(open(file), 10, 11), 600u); // the last chunk looks past the end
    EXPECT_EQ(module_probe::calls(), (call_log{"sznfs_Seek(3, 10, 0) = 10", "sznfs_Read(3, 1048576) = 990"}));
    EXPECT_EQ(vfs_ftell(stream_), 1000);
}

TEST_F(NextIFrameTest, FirstGoodHeaderIsTheAnswer) {
    bytes file = filler(1000);
    place(file, 100, p_frame());
    place(file, 301, i_frame());
    place(file, 500, i_frame());
    EXPECT_EQ(next_in(file), 301u);
    EXPECT_EQ(next_in(file, 300), 301u);
    EXPECT_EQ(next_in(file, 302), 500u);
    EXPECT_EQ(next_in(file, 501), std::nullopt);
}

TEST_F(NextIFrameTest, FrameAtTheStartGivesUpItsChunk) {
    bytes file = filler(2 * mebibyte + 1000);
    place(file, 100, i_frame());
    place(file, 500, i_frame()); // same chunk: passed over
    place(file, 100 + mebibyte + 50, i_frame());
    EXPECT_EQ(next_in(file, 100), 100u + mebibyte + 50);
    EXPECT_EQ(module_probe::calls(),
              (call_log{"sznfs_Seek(3, 100, 0) = 100", "sznfs_Read(3, 1048576) = 1048576",
                        "sznfs_Read(3, 1048576) = 1048576"}));
}

TEST_F(NextIFrameTest, FrameAtTheStartOfALaterChunkGivesItUpToo) {
    bytes file = filler(3 * mebibyte);
    place(file, mebibyte, i_frame());
    place(file, mebibyte + 200, i_frame());
    place(file, 2 * mebibyte + 1, i_frame());
    EXPECT_EQ(next_in(file), 2 * mebibyte + 1);
}

TEST_F(NextIFrameTest, RejectedFrameAtTheStartDoesNotGiveUpItsChunk) {
    bytes file = filler(1000);
    place(file, 0, p_frame());
    place(file, 500, i_frame());
    EXPECT_EQ(next_in(file), 500u);
}

TEST_F(NextIFrameTest, EndDecidesHowManyChunksAreRead) {
    bytes file = filler(2 * mebibyte);
    place(file, mebibyte + 5, i_frame());
    EXPECT_EQ(next(open(file), 0, mebibyte), std::nullopt);
    EXPECT_EQ(module_probe::calls(),
              (call_log{"sznfs_Seek(3, 0, 0) = 0", "sznfs_Read(3, 1048576) = 1048576"}));
    EXPECT_EQ(next(open(file), 0, mebibyte + 1), mebibyte + 5);
    EXPECT_EQ(next(open(file), 7, mebibyte + 7), std::nullopt);
}

TEST_F(NextIFrameTest, HeaderCutByTheBorderOfChunksIsNotFound) {
    for (const size_t cut : {1U, 4U, 16U, 31U}) {
        bytes file = filler(2 * mebibyte);
        place(file, mebibyte - cut, i_frame());
        EXPECT_EQ(next_in(file), std::nullopt) << cut;
    }
    bytes file = filler(2 * mebibyte);
    place(file, mebibyte - 32, i_frame());
    EXPECT_EQ(next_in(file), mebibyte - 32);
}

TEST_F(NextIFrameTest, HeaderNeedsItsThirtyTwoBytes) {
    for (size_t length = 0; length <= 32; ++length) {
        bytes file = filler(100);
        const bytes header = i_frame();
        recording::append(file, first_of(header, length));
        EXPECT_EQ(next_in(file), length == 32 ? std::optional<uint32_t>(100) : std::nullopt) << length;
    }
}

TEST_F(NextIFrameTest, FewerThan32BytesEndTheSearch) {
    EXPECT_EQ(next(open(filler(31)), 0, 10 * mebibyte), std::nullopt);
    EXPECT_EQ(module_probe::calls(), (call_log{"sznfs_Seek(3, 0, 0) = 0", "sznfs_Read(3, 1048576) = 31"}));
    EXPECT_EQ(next(open(filler(32)), 0, 10 * mebibyte), std::nullopt);
    EXPECT_EQ(module_probe::calls(), (call_log{"sznfs_Seek(3, 0, 0) = 0", "sznfs_Read(3, 1048576) = 32",
                                               "sznfs_Read(3, 1048576) = 0"}));
}

TEST_F(NextIFrameTest, OnlyTheLowByteOfTheKindMakesAnIFrame) {
    EXPECT_TRUE(is_found(header_only({.kind = 0})));
    EXPECT_TRUE(is_found(header_only({.kind = 0x100})));
    EXPECT_TRUE(is_found(header_only({.kind = 0xFFFFFF00})));
    EXPECT_FALSE(is_found(header_only({.kind = 1})));
    EXPECT_FALSE(is_found(header_only({.kind = 0x80})));
}

TEST_F(NextIFrameTest, LengthsAreChecked) {
    const auto header = [](uint32_t total, uint32_t video) {
        bytes made = i_frame();
        recording::put_u32(made, 4, total);
        recording::put_u32(made, 20, video);
        return made;
    };
    EXPECT_FALSE(is_found(header(0, 0)));
    EXPECT_FALSE(is_found(header(31, 0xFFFFFFFF)));
    EXPECT_FALSE(is_found(header(32, 0))); // no more than a header
    EXPECT_TRUE(is_found(header(33, 1)));
    EXPECT_FALSE(is_found(header(34, 1)));
    EXPECT_TRUE(is_found(header(mebibyte, mebibyte - 32)));
    EXPECT_FALSE(is_found(header(mebibyte + 1, mebibyte - 31)));
    EXPECT_TRUE(is_found(header_only({.audio_count = 2, .audio_size = 80})));
    EXPECT_TRUE(is_found(header_only({.time_stamp = 0}))); // neither time nor tag matter
    EXPECT_TRUE(is_found(header_only({.tag = 0x7788})));
}

TEST_F(NextIFrameTest, SearchGoesOnBehindEveryRejectedSyncWord) {
    bytes file = filler(500);
    for (size_t i = 0; i < 40; i += 4)
        recording::put_u32(file, 100 + i, 0x02000000);
    place(file, 140, i_frame());
    EXPECT_EQ(next_in(file), 140u);
}

TEST_F(NextIFrameTest, FoundFrameMayStandBehindTheLastChunksEnd) {
    bytes file = filler(mebibyte + 100);
    place(file, mebibyte - 32, i_frame());
    EXPECT_EQ(next(open(file), 0, 1), mebibyte - 32);
}

TEST_F(NextIFrameTest, ShortReadCountsAsAWholeChunk) {
    bytes file = filler(3000);
    place(file, 1500, i_frame());
    vfs_file* stream = open(file);
    module_probe::cut("Read", 1, 1000);
    // It stands 500 bytes into the second chunk, which counts from 1 MiB on.
    EXPECT_EQ(next(stream, 0, 2 * mebibyte), mebibyte + 500);
}

TEST_F(NextIFrameTest, NothingIsTakenFromAnEarlierChunk) {
    bytes file = filler(mebibyte + 40);
    place(file, 0, i_frame()); // gives up its chunk
    place(file, 300, i_frame());
    EXPECT_EQ(next_in(file), std::nullopt);
    // Ten bytes of a header at the end of the file, whose other bytes the earlier chunk had at that place.
    file.resize(mebibyte + 300, 0xFF);
    const bytes header = i_frame();
    recording::append(file, first_of(header, 10));
    EXPECT_EQ(next_in(file), std::nullopt);
}

TEST_F(NextIFrameTest, NegativeStartCountsModulo32Bits) {
    bytes file = filler(1000);
    place(file, 600, i_frame());
    vfs_file* stream = open(file);
    EXPECT_EQ(vfs_fseek(stream, 100, SEEK_SET), 0);
    module_probe::reset();
    // The seek fails and is not looked at; what is read decides.
    EXPECT_EQ(next(stream, -10, 5), 490u);
    EXPECT_EQ(module_probe::calls(),
              (call_log{"sznfs_Seek(3, -10, 0) = -1", "sznfs_Read(3, 1048576) = 900"}));
    EXPECT_EQ(vfs_fseek(stream, 590, SEEK_SET), 0);
    EXPECT_EQ(next(stream, -2147483647 - 1, 2147483647), 0x8000000Au);
}

TEST_F(NextIFrameTest, EveryModuleCallMayFail) {
    bytes file = filler(2 * mebibyte);
    place(file, mebibyte + 100, i_frame());
    for (int nth = 1; nth <= 3; ++nth) {
        vfs_file* stream = open(file);
        module_probe::fail("*", nth);
        EXPECT_EQ(next(stream, 0, 2 * mebibyte),
                  nth == 1 ? std::optional<uint32_t>(mebibyte + 100) : std::nullopt);
    }
}

// --- The last frame of a buffer ---

struct found_frame {
    int result;
    uint32_t number;
    int64_t offset;
    bool operator==(const found_frame&) const = default;
};

std::ostream& operator<<(std::ostream& out, const found_frame& of) {
    return out << of.result << ": " << of.number << " at " << of.offset;
}

constexpr found_frame not_found = {0, 77, -77}; // outputs as they were

found_frame find_one(const bytes& buffer, int32_t limit = 0) {
    found_frame found = not_found;
    kmr_frame_header header;
    std::memset(&header, 0xEE, sizeof header);
    const kmr_frame_header before = header;
    found.result = rec_FindOneFrame(buffer.data(), static_cast<int32_t>(buffer.size()), limit, &found.number,
                                    &found.offset, &header);
    if (found.result == 1)
        EXPECT_EQ(std::memcmp(&header, buffer.data() + found.offset, 32), 0);
    else
        EXPECT_EQ(std::memcmp(&header, &before, 32), 0);
    return found;
}

bytes joined(const std::vector<frame>& frames) {
    bytes all;
    for (const frame& each : frames)
        recording::append(all, frame_record(each));
    return all;
}

TEST(FindOneFrameTest, LastCompleteFrame) {
    bytes buffer = joined({{.number = 7}, {.number = 8, .kind = 1}, {.number = 9}});
    EXPECT_EQ(find_one(buffer), (found_frame{1, 9, 264}));
    EXPECT_EQ(find_one(buffer, 396), (found_frame{1, 9, 264}));
    EXPECT_EQ(find_one(buffer, 395), (found_frame{1, 8, 132})); // the third runs past the end
    EXPECT_EQ(find_one(buffer, 264), (found_frame{1, 8, 132}));
    EXPECT_EQ(find_one(buffer, 263), (found_frame{1, 7, 0}));
    EXPECT_EQ(find_one(buffer, 131), not_found);
}

TEST(FindOneFrameTest, TornFrameWhoseBytesEndEarly) {
    bytes buffer = joined({{.number = 7}, {.number = 8}, {.number = 9}});
    buffer.resize(264 + 40);
    EXPECT_EQ(find_one(buffer, 304), (found_frame{1, 8, 132}));
    EXPECT_EQ(find_one(buffer, 0), (found_frame{1, 9, 264})); // no limit: its header is enough
}

TEST(FindOneFrameTest, LimitBeforeTheFrameIsSigned) {
    bytes buffer = filler(1000);
    place(buffer, 500, frame_record({.number = 3}));
    EXPECT_EQ(find_one(buffer, 10), not_found); // 490 bytes too few, not four thousand million to spare
    EXPECT_EQ(find_one(buffer, -1), not_found);
    EXPECT_EQ(find_one(buffer, -2147483647 - 1), not_found);
    EXPECT_EQ(find_one(buffer, 632), (found_frame{1, 3, 500}));
    EXPECT_EQ(find_one(buffer, 631), not_found);
    EXPECT_EQ(find_one(buffer, 2147483647), (found_frame{1, 3, 500}));
}

TEST(FindOneFrameTest, NumberZeroEndsTheScan) {
    EXPECT_EQ(find_one(joined({{.number = 0}, {.number = 8}})), not_found);
    EXPECT_EQ(find_one(joined({{.number = 7}, {.number = 0}, {.number = 9}})), (found_frame{1, 7, 0}));
}

TEST(FindOneFrameTest, TornFrameEndsTheScan) {
    bytes buffer = joined({{.number = 7}});
    recording::append(buffer, header_only({.number = 8, .video = bytes(500)}));
    recording::append(buffer, joined({{.number = 9}}));
    EXPECT_EQ(find_one(buffer, 400), (found_frame{1, 7, 0}));
}

TEST(FindOneFrameTest, PayloadIsNotSkipped) {
    bytes within = frame_record({.number = 7, .video = bytes(200, 0xAA)});
    place(within, 50, header_only({.number = 3}));
    EXPECT_EQ(find_one(within), (found_frame{1, 3, 50}));
}

TEST(FindOneFrameTest, OnlyOrdinaryFramesAreCandidates) {
    const bytes good = joined({{.number = 7}});
    for (const frame& other : {frame{.number = 9, .tag = 0x7788}, frame{.number = 0, .tag = 0x7788},
                               frame{.number = 9, .time_stamp = 0}, frame{.number = 0, .time_stamp = 0}}) {
        bytes buffer = good;
        recording::append(buffer, frame_record(other));
        EXPECT_EQ(find_one(buffer), (found_frame{1, 7, 0}));
        recording::append(buffer, joined({{.number = 10}}));
        EXPECT_EQ(find_one(buffer), (found_frame{1, 10, 264})); // they do not end the scan either
    }
    bytes damaged = good;
    recording::put_u32(damaged, 4, 133);
    EXPECT_EQ(find_one(damaged), not_found);
    recording::put_u32(damaged, 4, 0x100001);
    recording::put_u32(damaged, 20, 0x100001 - 32);
    EXPECT_EQ(find_one(damaged), not_found);
}

TEST(FindOneFrameTest, EveryBytePositionIsLookedAt) {
    for (size_t offset = 0; offset <= 40; ++offset) {
        bytes buffer = filler(72);
        place(buffer, offset, header_only({.number = 3}));
        EXPECT_EQ(find_one(buffer), (found_frame{1, 3, static_cast<int64_t>(offset)}));
    }
}

TEST(FindOneFrameTest, HeaderMustLieInTheBuffer) {
    const bytes header = header_only({.number = 3});
    for (size_t length = 0; length < 32; ++length) {
        EXPECT_EQ(find_one(first_of(header, length)), not_found);
        bytes behind = filler(32);
        recording::append(behind, first_of(header, length));
        EXPECT_EQ(find_one(behind), not_found) << length;
    }
    EXPECT_EQ(find_one(header), (found_frame{1, 3, 0}));
    uint32_t number = 0;
    EXPECT_EQ(rec_FindOneFrame(header.data(), -1, 0, &number, nullptr, nullptr), 0);
    EXPECT_EQ(rec_FindOneFrame(nullptr, 0, 0, &number, nullptr, nullptr), 0);
}

TEST(FindOneFrameTest, OffsetAndHeaderAreOptional) {
    const bytes buffer = joined({{.number = 7}, {.number = 8}});
    uint32_t number = 0;
    EXPECT_EQ(rec_FindOneFrame(buffer.data(), 264, 0, &number, nullptr, nullptr), 1);
    EXPECT_EQ(number, 8u);
}

// --- The last frame of a file ---

class LastFrameTest : public FrameSearchTest {
protected:
    found_frame last(vfs_file* file) {
        found_frame found = not_found;
        kmr_frame_header header = {};
        found.result = rec_SeekLastFrame(file, &found.offset, &header);
        found.number = header.FrameNo;
        return found;
    }

    found_frame last_in(const bytes& content) { return last(open(content)); }

    const found_frame none_ = {-1, 0, -77};
};

TEST_F(LastFrameTest, NullFile) {
    int64_t offset = 5;
    EXPECT_EQ(rec_SeekLastFrame(nullptr, &offset, nullptr), -1);
    EXPECT_EQ(offset, 5);
}

TEST_F(LastFrameTest, ShortFileIsSearchedFromItsStartAlone) {
    bytes file = filler(100);
    place(file, 0, frame_record({.number = 6, .video = bytes(68)})); // exactly the file
    EXPECT_EQ(last_in(file), (found_frame{6, 6, 0}));
    EXPECT_EQ(module_probe::calls(),
              (call_log{"sznfs_Seek(3, 0, 0) = 0", "sznfs_Read(3, 88) = 88", "sznfs_Seek(3, 0, 2) = 100",
                        "sznfs_Tell(3) = 100", "sznfs_Seek(3, 0, 0) = 0", "sznfs_Read(3, 32768) = 100"}));
    place(file, 0, header_only({.number = 6, .video = bytes(69)})); // one byte past its end
    EXPECT_EQ(last_in(file), none_);
}

TEST_F(LastFrameTest, FileOfExactlyOneStep) {
    EXPECT_EQ(last_in(filler(32736)), none_);
    EXPECT_EQ(module_probe::calls(),
              (call_log{"sznfs_Seek(3, 0, 0) = 0", "sznfs_Read(3, 88) = 88", "sznfs_Seek(3, 0, 2) = 32736",
                        "sznfs_Tell(3) = 32736", "sznfs_Seek(3, 0, 0) = 0", "sznfs_Read(3, 32768) = 32736",
                        "sznfs_Seek(3, 0, 0) = 0", "sznfs_Read(3, 32768) = 32736"}));
    EXPECT_EQ(last_in(filler(32735)), none_);
    EXPECT_EQ(module_probe::calls().size(), 6u);
}

TEST_F(LastFrameTest, BlocksStepBackFromTheEnd) {
    EXPECT_EQ(last_in(filler(100000)), none_);
    EXPECT_EQ(
        module_probe::calls(),
        (call_log{"sznfs_Seek(3, 0, 0) = 0", "sznfs_Read(3, 88) = 88", "sznfs_Seek(3, 0, 2) = 100000",
                  "sznfs_Tell(3) = 100000", "sznfs_Seek(3, 67264, 0) = 67264", "sznfs_Read(3, 32768) = 32736",
                  "sznfs_Seek(3, 34528, 0) = 34528", "sznfs_Read(3, 32768) = 32768",
                  "sznfs_Seek(3, 1792, 0) = 1792", "sznfs_Read(3, 32768) = 32768", "sznfs_Seek(3, 0, 0) = 0",
                  "sznfs_Read(3, 32768) = 32768"}));
}

TEST_F(LastFrameTest, OffsetCountsFromItsBlock) {
    bytes file = filler(100000);
    place(file, 40000, frame_record({.number = 9}));
    EXPECT_EQ(last_in(file), (found_frame{9, 9, 40000 - 34528}));
    EXPECT_EQ(module_probe::calls().size(), 8u); // no block before it
    place(file, 90000, frame_record({.number = 10}));
    EXPECT_EQ(last_in(file), (found_frame{10, 10, 90000 - 67264}));
}

TEST_F(LastFrameTest, HeaderAcrossTheBorderOfBlocksIsFoundWhole) {
    for (const size_t offset : {67264U - 31, 67264U - 14, 67264U - 1}) {
        bytes file = filler(100000);
        place(file, offset, frame_record({.number = 9}));
        EXPECT_EQ(last_in(file), (found_frame{9, 9, static_cast<int64_t>(offset) - 34528}));
    }
}

TEST_F(LastFrameTest, FrameThatRunsPastTheEndIsNotComplete) {
    bytes file = filler(100000);
    place(file, 40000, header_only({.number = 9, .video = bytes(60000 - 32)})); // to the last byte
    EXPECT_EQ(last_in(file), (found_frame{9, 9, 40000 - 34528}));
    place(file, 40000, header_only({.number = 9, .video = bytes(60000 - 31)}));
    EXPECT_EQ(last_in(file), none_);
    place(file, 39000, frame_record({.number = 8}));
    EXPECT_EQ(last_in(file), (found_frame{8, 8, 39000 - 34528}));
}

TEST_F(LastFrameTest, LastBlockAtTheStartHasALooseLimit) {
    // 40,000 bytes: one block at 7264, then the one at 0, whose limit is 32,736 + 32,736 although 40,000 follow.
    bytes file = filler(40000);
    place(file, 100, header_only({.number = 4, .video = bytes(65372 - 32)}));
    EXPECT_EQ(last_in(file), (found_frame{4, 4, 100}));
    place(file, 100, header_only({.number = 4, .video = bytes(65373 - 32)}));
    EXPECT_EQ(last_in(file), none_);
}

TEST_F(LastFrameTest, FullBlockAtTheStartOfAShortFile) {
    // 32,768 bytes: a tail block at 32, then a full one at 0.
    bytes file = filler(32768);
    place(file, 0, header_only({.number = 4, .video = bytes(65472 - 32)}));
    EXPECT_EQ(last_in(file), (found_frame{4, 4, 0}));
    place(file, 0, header_only({.number = 4, .video = bytes(65473 - 32)}));
    EXPECT_EQ(last_in(file), none_);
}

TEST_F(LastFrameTest, OfASoundRecording) {
    EXPECT_EQ(last_in(recording::sound({{.number = 1}, {.number = 2, .kind = 1}, {.number = 3, .kind = 1}})),
              (found_frame{3, 3, 88 + 264}));
}

TEST_F(LastFrameTest, EmptyFileAndOptionalOutputs) {
    EXPECT_EQ(last_in({}), none_);
    vfs_file* file = open(joined({{.number = 12}}));
    EXPECT_EQ(rec_SeekLastFrame(file, nullptr, nullptr), 12);
}

TEST_F(LastFrameTest, SizeThatIsNotKnownOrBeyond2GibLeavesTheBlockAtTheStart) {
    for (const int64_t told : {-1LL, -2147483648LL, -2147483647LL}) {
        vfs_file* file = open(joined({{.number = 12}}));
        module_probe::fail("Tell", 1, told);
        EXPECT_EQ(last(file), (found_frame{12, 12, 0})) << told;
    }
}

TEST_F(LastFrameTest, EveryModuleCallMayFail) {
    bytes file = filler(100000);
    place(file, 40000, frame_record({.number = 9}));
    const int expected[] = {
        9,  9,  // Seek, Read of the file header
        -1, -1, // Seek, Tell of the size: only the block at the start is searched
        9,  9,  // Seek, Read of the last block
        -1, -1, // Seek, Read of the block that has the frame
    };
    for (int nth = 1; nth <= 8; ++nth) {
        vfs_file* stream = open(file);
        module_probe::fail("*", nth);
        EXPECT_EQ(last(stream).result, expected[nth - 1]) << nth;
    }
}

TEST_F(LastFrameTest, SparseFileOfAlmost2Gib) {
    // No frame in its last megabytes would mean 65,000 blocks; this one has its frame in the last.
    const std::string path = folder_.write("sparse", {});
    ASSERT_EQ(truncate(path.c_str(), 0x7FFFFFFF), 0);
    const bytes record = frame_record({.number = 21});
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(pwrite(descriptor, record.data(), record.size(), 0x7FFFFFFF - 132), 132);
    close(descriptor);
    stream_ = vfs_fopen(0, path.c_str(), "rb");
    EXPECT_EQ(last(stream_), (found_frame{21, 21, 32736 - 132}));
}

// --- The walk to the next I-frame ---

class SearchIFrameTest : public FrameSearchTest {
protected:
    struct walked {
        int status;
        uint32_t pos = 0xEEEEEEEE;
        uint32_t count = 0;
        uint32_t time = 0;
        int64_t position = 0; // of the descriptor afterwards
        bool operator==(const walked&) const = default;
        friend std::ostream& operator<<(std::ostream& out, const walked& of) {
            return out << of.status << ", pos " << of.pos << ", count " << of.count << ", time " << of.time
                       << ", at " << of.position;
        }
    };

    // Walks from `start`; the log holds the walk's own calls.
    walked walk(vfs_file* file, int32_t start, uint32_t count = 0, uint32_t time = 0) {
        EXPECT_EQ(vfs_Seek(file->iFd, start, SEEK_SET), start);
        if (keeps_plans_)
            start_plans_();
        else
            module_probe::reset();
        walked result = {.status = 0, .count = count, .time = time};
        result.status = rec_SearchIFrame(&header_, file->iFd, &result.pos, &result.count, &result.time);
        calls_ = module_probe::calls();
        module_probe::reset();
        result.position = vfs_Seek(file->iFd, 0, SEEK_CUR);
        return result;
    }

    walked walk_in(const bytes& content, uint32_t count = 0, uint32_t time = 0) {
        return walk(open(content), 0, count, time);
    }

    void disturb(void (*plan)()) {
        keeps_plans_ = true;
        start_plans_ = plan;
    }

    static constexpr uint32_t untouched = 0xEEEEEEEE;
    kmr_frame_header header_ = {};
    call_log calls_;
    bool keeps_plans_ = false;
    void (*start_plans_)() = nullptr;
};

TEST_F(SearchIFrameTest, PassesOverPFrames) {
    bytes file = recording::file_header(3);
    recording::append(file, joined({{.number = 1, .time_stamp = 1000, .kind = 1},
                                    {.number = 2, .time_stamp = 1040, .kind = 1, .video = bytes(10)},
                                    {.number = 3, .time_stamp = 1080}}));
    EXPECT_EQ(walk(open(file), 88), (walked{1001, 262, 3, 1080, 294}));
    EXPECT_EQ(calls_, (call_log{"sznfs_Read(3, 32) = 32", "sznfs_Seek(3, 100, 1) = 220",
                                "sznfs_Read(3, 32) = 32", "sznfs_Seek(3, 10, 1) = 262",
                                "sznfs_Read(3, 32) = 32", "sznfs_Seek(3, 0, 1) = 294"}));
    EXPECT_EQ(header_.FrameNo, 3u);
    EXPECT_EQ(header_.FrameSize, 132u);
}

TEST_F(SearchIFrameTest, IFrameAtOnce) {
    EXPECT_EQ(walk_in(joined({{.number = 1, .time_stamp = 7}})), (walked{1001, 0, 1, 7, 32}));
    EXPECT_EQ(calls_, (call_log{"sznfs_Read(3, 32) = 32", "sznfs_Seek(3, 0, 1) = 32"}));
}

TEST_F(SearchIFrameTest, OnlyTheLowByteOfTheKindMakesAnIFrame) {
    EXPECT_EQ(walk_in(joined({{.time_stamp = 7, .kind = 0x100}})).status, 1001);
    EXPECT_EQ(walk_in(joined({{.time_stamp = 7, .kind = 0x101}})), (walked{1099, untouched, 1, 7, 132}));
}

TEST_F(SearchIFrameTest, PartialHeaderIsSteppedBackOver) {
    const bytes record = joined({{}});
    for (size_t length = 1; length < 32; ++length) {
        const bytes part = first_of(record, length);
        EXPECT_EQ(walk_in(part, 5, 900), (walked{1099, untouched, 5, 900, 0})) << length;
        const std::string n = std::to_string(length);
        EXPECT_EQ(calls_, (call_log{"sznfs_Read(3, 32) = " + n, "sznfs_Seek(3, -" + n + ", 1) = 0"}));
    }
}

TEST_F(SearchIFrameTest, EndOfTheFileIsNotSteppedBackOver) {
    EXPECT_EQ(walk_in({}, 5, 900), (walked{1099, untouched, 5, 900, 0}));
    EXPECT_EQ(calls_, (call_log{"sznfs_Read(3, 32) = 0"}));
    // Behind a P-frame: its header has been counted and its time kept.
    EXPECT_EQ(walk_in(joined({{.time_stamp = 950, .kind = 1}}), 5, 900),
              (walked{1099, untouched, 6, 950, 132}));
    EXPECT_EQ(calls_,
              (call_log{"sznfs_Read(3, 32) = 32", "sznfs_Seek(3, 100, 1) = 132", "sznfs_Read(3, 32) = 0"}));
}

TEST_F(SearchIFrameTest, FailedReadIsNotSteppedBackOver) {
    disturb([] {
        module_probe::reset();
        module_probe::fail("Read", 1, -4);
    });
    EXPECT_EQ(walk_in(joined({{}}), 5, 900), (walked{1099, untouched, 5, 900, 0}));
    EXPECT_EQ(calls_, (call_log{"sznfs_Read(3, 32) = -4"}));
}

TEST_F(SearchIFrameTest, HeaderThatIsNoneIsSteppedBackOver) {
    bytes no_length = joined({{.time_stamp = 1000}});
    recording::put_u32(no_length, 4, 0);
    bytes no_sync = joined({{.time_stamp = 1000}});
    recording::put_u32(no_sync, 0, 0x02000001);
    for (const bytes& content : {no_length, no_sync, bytes(32, 0), filler(32)}) {
        EXPECT_EQ(walk_in(content), (walked{1099, untouched, 1, 0, 0}));
        EXPECT_EQ(calls_, (call_log{"sznfs_Read(3, 32) = 32", "sznfs_Seek(3, -32, 1) = 0"}));
    }
}

TEST_F(SearchIFrameTest, LengthsNeedNotAgree) {
    bytes damaged = joined({{.time_stamp = 7}});
    recording::put_u32(damaged, 4, 1);
    EXPECT_EQ(walk_in(damaged), (walked{1001, 0, 1, 7, 32}));
}

TEST_F(SearchIFrameTest, FirstTimeStampIsAcceptedWhateverItIs) {
    const bytes content = joined({{.time_stamp = 0x90000000}});
    EXPECT_EQ(walk_in(content, 0, 5), (walked{1001, 0, 1, 0x90000000, 32}));
    EXPECT_EQ(walk_in(content, 5, 5), (walked{1099, untouched, 6, 5, 0}));
    EXPECT_EQ(calls_, (call_log{"sznfs_Read(3, 32) = 32", "sznfs_Seek(3, -32, 1) = 0"}));
    EXPECT_EQ(walk_in(content, 1, 5).status, 1099);
    EXPECT_EQ(walk_in(content, 0xFFFFFFFF, 5).status, 1099); // counts to 0, not to 1
}

TEST_F(SearchIFrameTest, TimeStampsAdvanceByAtMostTenHours) {
    const auto status = [this](uint32_t stamp, uint32_t before) {
        return walk_in(joined({{.time_stamp = stamp}}), 5, before).status;
    };
    EXPECT_EQ(status(1000, 1000), 1001);
    EXPECT_EQ(status(36001000, 1000), 1001);
    EXPECT_EQ(status(36001001, 1000), 1099);
    EXPECT_EQ(status(999, 1000), 1099);
    EXPECT_EQ(status(36000000, 0xFFFFFFFF), 1001); // wrapped: 36,000,001
    EXPECT_EQ(status(36000001, 0xFFFFFFFF), 1099);
    EXPECT_EQ(status(0, 5000), 1099); // as the index block's header behind the last frame
}

TEST_F(SearchIFrameTest, TimeIsComparedFromHeaderToHeader) {
    const bytes content = joined({{.time_stamp = 1000, .kind = 1},
                                  {.time_stamp = 36001000, .kind = 1},
                                  {.time_stamp = 72001000, .kind = 1},
                                  {.time_stamp = 72000999}});
    EXPECT_EQ(walk_in(content), (walked{1099, untouched, 4, 72001000, 396}));
}

TEST_F(SearchIFrameTest, LengthShorterThanAHeaderStepsBackInsideIt) {
    // A P-frame of 16 bytes: the next header begins in the middle of its own.
    bytes content = header_only({.time_stamp = 1000, .kind = 1});
    recording::put_u32(content, 4, 16);
    content.resize(16);
    // Its sync word, 33,554,432, serves the P-frame as time stamp.
    recording::append(content, joined({{.time_stamp = 33555432}}));
    EXPECT_EQ(walk_in(content), (walked{1001, 16, 2, 33555432, 48}));
    EXPECT_EQ(calls_, (call_log{"sznfs_Read(3, 32) = 32", "sznfs_Seek(3, -16, 1) = 16",
                                "sznfs_Read(3, 32) = 32", "sznfs_Seek(3, 0, 1) = 48"}));
}

TEST_F(SearchIFrameTest, LengthOf2GibAndMoreIsRefused) {
    bytes content = joined({{.time_stamp = 1000, .kind = 1}});
    for (const uint32_t length : {0x80000000u, 0x80000020u, 0xFFFFFFFFu}) {
        recording::put_u32(content, 4, length);
        EXPECT_EQ(walk_in(content), (walked{1099, untouched, 1, 0, 0}));
        EXPECT_EQ(calls_, (call_log{"sznfs_Read(3, 32) = 32", "sznfs_Seek(3, -32, 1) = 0"}));
    }
    recording::put_u32(content, 4, 0x7FFFFFFF);
    EXPECT_EQ(walk_in(content), (walked{1099, untouched, 1, 1000, 0x7FFFFFFF}));
    EXPECT_EQ(calls_, (call_log{"sznfs_Read(3, 32) = 32", "sznfs_Seek(3, 2147483615, 1) = 2147483647",
                                "sznfs_Read(3, 32) = 0"}));
}

TEST_F(SearchIFrameTest, FailedSeeksAreNotLookedAt) {
    disturb([] {
        module_probe::reset();
        module_probe::fail("Seek", 1);
    });
    // The payload is read as the next header.
    EXPECT_EQ(walk_in(joined({{.time_stamp = 1000, .kind = 1}, {.time_stamp = 1040}})),
              (walked{1099, untouched, 2, 1000, 32}));
    EXPECT_EQ(walk_in(joined({{.time_stamp = 1000}})), (walked{1001, 0xFFFFFFDF, 1, 1000, 32})); // -1 - 32
}

TEST_F(SearchIFrameTest, PositionsBeyond2GibAreGivenInFull) {
    const std::string path = folder_.write("sparse", {});
    ASSERT_EQ(truncate(path.c_str(), 0xC0000000), 0);
    const bytes record = joined({{.time_stamp = 1000}});
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(pwrite(descriptor, record.data(), record.size(), 0xB0000000), 132);
    close(descriptor);
    stream_ = vfs_fopen(0, path.c_str(), "rb");
    EXPECT_EQ(vfs_Seek(stream_->iFd, 0x58000000, SEEK_SET), 0x58000000);
    EXPECT_EQ(vfs_Seek(stream_->iFd, 0x58000000, SEEK_CUR), 0xB0000000);
    uint32_t pos = 0, count = 0, time = 0;
    EXPECT_EQ(rec_SearchIFrame(&header_, stream_->iFd, &pos, &count, &time), 1001);
    EXPECT_EQ(pos, 0xB0000000u);
}

TEST_F(SearchIFrameTest, BadDescriptor) {
    uint32_t pos = 1, count = 2, time = 3;
    EXPECT_EQ(rec_SearchIFrame(&header_, 0, &pos, &count, &time), 1099);
    EXPECT_EQ(rec_SearchIFrame(&header_, 1024, &pos, &count, &time), 1099);
    EXPECT_EQ(pos, 1u);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(time, 3u);
}

} // namespace
