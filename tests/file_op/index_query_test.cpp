#include "file_op/index_query.h"

#include "file_op/frame_search.h"
#include "tests/file_op/recording_fixture.hpp"

#include <cstring>
#include <filesystem>

namespace {

using recording::index_block;
using recording::index_record;
using recording::put_u32;

// 88 bytes of header, 120 bytes of frames, an index of three records: 208 + 292 = 500 bytes.
bytes three_records() {
    bytes file = recording::file_header(3);
    for (uint32_t i = 0; i < 3; ++i)
        recording::append(file, recording::frame_record(small_frame(i + 1, 1000 * i + 1000, i_frame)));
    recording::append(file, index_block({{.time = 100, .position = 88, .tag = "goal"},
                                         {.time = 200, .position = 128},
                                         {.time = 300, .position = 168, .tag = "foul"}}));
    return file;
}

constexpr size_t block_offset = 208;
constexpr size_t file_size = 500;

struct seen_record {
    uint32_t time;
    int32_t size;
    int32_t end;
    bool operator==(const seen_record&) const = default;
};

std::ostream& operator<<(std::ostream& out, const seen_record& of) {
    return out << of.time << '/' << of.size << '/' << of.end;
}

struct collector {
    std::vector<seen_record> seen = {};
    int32_t answer = 0;
    size_t answer_from = 0; // the first record that is answered so, counted from 0
};

int32_t collect(const void* record, int32_t size, int32_t end, void* context) {
    auto& into = *static_cast<collector*>(context);
    uint32_t time = 0;
    std::memcpy(&time, record, std::min<size_t>(4, static_cast<size_t>(size)));
    into.seen.push_back({time, size, end});
    return into.seen.size() > into.answer_from ? into.answer : 7;
}

class IndexQueryTest : public RecordingTest {
protected:
    // All outputs, filled with a mark that says "not stored".
    struct place {
        kmr_frame_header header = {};
        uint32_t block = 77;
        uint32_t size = 77;
        uint32_t count = 77;
        uint32_t first = 77;
    };

    static int32_t locate(const std::string& name, place& out) {
        return rec_GetIFrameIndexInfo(name.c_str(), &out.header, &out.block, &out.size, &out.count,
                                      &out.first);
    }

    int32_t locate_in(const bytes& content, place& out) { return locate(put_recording(content), out); }

    void expect_no_index(const bytes& content) {
        place out;
        EXPECT_EQ(locate_in(content, out), -1);
        EXPECT_EQ(out.block, 77u);
        EXPECT_EQ(out.size, 77u);
        EXPECT_EQ(out.count, 77u);
        EXPECT_EQ(out.first, 77u);
    }

    const call_log locating_ = {"Open(0, rec, 0) = 3", "Seek(3, -8, 2) = 492",   "Read(3, 4) = 4",
                                "Read(3, 4) = 4",      "Seek(3, -292, 2) = 208", "Tell(3) = 208",
                                "Read(3, 32) = 32",    "Read(3, 4) = 4",         "Read(3, 4) = 4",
                                "Seek(3, 4, 1) = 252", "Tell(3) = 252",          "Close(3) = 0"};

    call_log located_and(const call_log& more) const {
        call_log all = locating_;
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }
};

// --- locating ---

TEST_F(IndexQueryTest, IndexIsLocatedFromTheEnd) {
    ASSERT_EQ(three_records().size(), file_size);
    place out;
    EXPECT_EQ(locate_in(three_records(), out), 0);
    EXPECT_EQ(out.header.SyncWord, 0x02000000u);
    EXPECT_EQ(out.header.FrameSize, 292u);
    EXPECT_EQ(out.header.FrameNo, 2u); // tags
    EXPECT_EQ(out.block, block_offset);
    EXPECT_EQ(out.size, 80u);
    EXPECT_EQ(out.count, 3u);
    EXPECT_EQ(out.first, block_offset + 44);
    EXPECT_EQ(short_calls(), locating_);
}

TEST_F(IndexQueryTest, EveryOutputButTheHeaderMayBeNull) {
    const std::string path = put_recording(three_records());
    kmr_frame_header header = {};
    EXPECT_EQ(rec_GetIFrameIndexInfo(path.c_str(), &header, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(header.FrameSize, 292u);
    EXPECT_EQ(rec_GetIFrameIndexInfo(path.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr), -1);
}

TEST_F(IndexQueryTest, NameThatLeadsNowhere) {
    place out;
    EXPECT_EQ(rec_GetIFrameIndexInfo(nullptr, &out.header, nullptr, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(locate("", out), -1);
    EXPECT_EQ(locate("H00001201501020304059000001", out), -1);
    EXPECT_EQ(locate(folder_.file("mnt/missing"), out), -1);
    // Without "/mnt/" it is no full path, although the file is there.
    EXPECT_EQ(locate(folder_.write("rec", three_records()), out), -1);
    EXPECT_EQ(out.block, 77u);
}

TEST_F(IndexQueryTest, FullPathIsCutAt127Characters) {
    std::string path = folder_.file("mnt/");
    path += std::string(127 - path.size(), 'x');
    folder_.write(path.substr(folder_.path().string().size() + 1), three_records());
    place out;
    EXPECT_EQ(locate(path + "more", out), 0);
}

TEST_F(IndexQueryTest, ShortNameIsLookedForOnEveryDisk) {
    write_on_disk("05", "H0000120150102030405L000001", three_records());
    place out;
    EXPECT_EQ(locate("H0000120150102030405C000001", out), 0);
    EXPECT_EQ(out.block, block_offset);
}

TEST_F(IndexQueryTest, TrailerAndHeadDecide) {
    bytes wrong_magic = three_records();
    put_u32(wrong_magic, file_size - 8, 0x0123ABCE);
    expect_no_index(wrong_magic);

    bytes wrong_sync = three_records();
    put_u32(wrong_sync, block_offset, 0x02000001);
    expect_no_index(wrong_sync);

    bytes wrong_length = three_records();
    put_u32(wrong_length, block_offset + 4, 291);
    expect_no_index(wrong_length);

    for (const uint32_t length :
         {0u, 1u, 31u, 291u, 293u, 501u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFF0u, ~0u}) {
        bytes elsewhere = three_records();
        put_u32(elsewhere, file_size - 4, length);
        expect_no_index(elsewhere);
    }
    for (size_t size = 0; size < file_size; ++size)
        expect_no_index(part(three_records(), 0, size));
}

TEST_F(IndexQueryTest, RejectedHeadIsLeftInTheHeader) {
    bytes wrong_sync = three_records();
    put_u32(wrong_sync, block_offset, 5);
    place out;
    EXPECT_EQ(locate_in(wrong_sync, out), -1);
    EXPECT_EQ(out.header.SyncWord, 5u);
}

TEST_F(IndexQueryTest, HeadWithoutRoomForItsNumbersIsNoIndex) {
    // 32 bytes of header, then the trailer: the count is its magic, the size its length, and no four bytes to skip.
    bytes file(88, 0);
    bytes head(40, 0);
    put_u32(head, 0, 0x02000000);
    put_u32(head, 4, 40);
    put_u32(head, 32, 0x0123ABCD);
    put_u32(head, 36, 40);
    recording::append(file, head);
    place out;
    EXPECT_EQ(locate_in(file, out), 0); // nothing in the block says otherwise
    EXPECT_EQ(out.count, 0x0123ABCDu);
    collector all;
    EXPECT_EQ(rec_IndexQuery(folder_.file("mnt/rec").c_str(), 1, collect, &all, nullptr), REC_INDEX_ENDED);
    EXPECT_TRUE(all.seen.empty());
}

TEST_F(IndexQueryTest, EachFailedCallIsNoIndex) {
    const std::string path = put_recording(three_records());
    for (size_t n = 1; n < locating_.size(); ++n) {
        module_probe::reset();
        module_probe::fail("*", static_cast<int>(n));
        place out;
        EXPECT_EQ(locate(path, out), -1) << locating_[n - 1];
        EXPECT_EQ(out.first, 77u);
    }
}

// --- walking ---

TEST_F(IndexQueryTest, RecordsAreHandedOverInFileOrder) {
    const std::string path = put_recording(three_records());
    collector all;
    rec_index_header header = {};
    EXPECT_EQ(rec_IndexQuery(path.c_str(), 1, collect, &all, &header), REC_INDEX_ENDED);
    EXPECT_EQ(all.seen, (std::vector<seen_record>{{100, 80, 332}, {200, 80, 412}, {300, 80, 492}}));
    EXPECT_EQ(header.Frame.FrameSize, 292u);
    EXPECT_EQ(header.BlockOffset, block_offset);
    EXPECT_EQ(sizeof header, 36u);
    EXPECT_EQ(short_calls(), located_and({"Open(0, rec, 0) = 3", "Seek(3, 252, 0) = 252",
                                          "Read(3, 240) = 240", "Close(3) = 0"}));
}

TEST_F(IndexQueryTest, ResultsHaveTheirNumbers) {
    EXPECT_EQ(static_cast<int>(REC_INDEX_ENDED), 0);
    EXPECT_EQ(static_cast<int>(REC_INDEX_SUCCEEDED), 1);
    EXPECT_EQ(static_cast<int>(REC_INDEX_MISSING), 3);
    EXPECT_EQ(static_cast<int>(REC_INDEX_BY_TIME), 0);
    EXPECT_EQ(static_cast<int>(REC_INDEX_REMOVE), 1);
    EXPECT_EQ(static_cast<int>(REC_INDEX_CHANGE), 2);
    EXPECT_EQ(static_cast<int>(REC_INDEX_BY_TAG), 3);
}

TEST_F(IndexQueryTest, NullCallbackOrNameAsksNothing) {
    const std::string path = put_recording(three_records());
    collector all;
    EXPECT_EQ(rec_IndexQuery(path.c_str(), 0, nullptr, &all, nullptr), REC_INDEX_ENDED);
    EXPECT_EQ(rec_IndexQuery(nullptr, 0, collect, &all, nullptr), REC_INDEX_ENDED);
    EXPECT_EQ(module_probe::count(), 0);
}

TEST_F(IndexQueryTest, NameThatCannotBeResolvedIs0AndMissingIndexIs3) {
    collector all;
    EXPECT_EQ(rec_IndexQuery("H00001201501020304059000001", 0, collect, &all, nullptr), REC_INDEX_ENDED);
    EXPECT_EQ(rec_IndexQuery(folder_.file("mnt/missing").c_str(), 0, collect, &all, nullptr),
              REC_INDEX_MISSING);
    const std::string path = put_recording(bytes(500, 0));
    EXPECT_EQ(rec_IndexQuery(path.c_str(), 0, collect, &all, nullptr), REC_INDEX_MISSING);
    EXPECT_TRUE(all.seen.empty());
}

TEST_F(IndexQueryTest, MinusOneEndsTheWalkInEveryMode) {
    const std::string path = put_recording(three_records());
    for (int32_t mode = 0; mode < 4; ++mode) {
        collector second{.answer = -1, .answer_from = 1};
        EXPECT_EQ(rec_IndexQuery(path.c_str(), mode, collect, &second, nullptr), REC_INDEX_ENDED);
        EXPECT_EQ(second.seen.size(), 2u);
    }
}

TEST_F(IndexQueryTest, TwoEndsTheWalkInModeZeroOnly) {
    const std::string path = put_recording(three_records());
    for (int32_t mode = 0; mode < 4; ++mode) {
        collector second{.answer = 2, .answer_from = 1};
        EXPECT_EQ(rec_IndexQuery(path.c_str(), mode, collect, &second, nullptr),
                  mode == REC_INDEX_BY_TIME ? REC_INDEX_SUCCEEDED : REC_INDEX_ENDED);
        EXPECT_EQ(second.seen.size(), mode == 0 ? 2u : 3u);
    }
}

TEST_F(IndexQueryTest, OtherAnswersGoOn) {
    const std::string path = put_recording(three_records());
    for (const int32_t answer : {0, 1, 3, -2, 1000}) {
        collector all{.answer = answer};
        EXPECT_EQ(rec_IndexQuery(path.c_str(), 0, collect, &all, nullptr), REC_INDEX_ENDED);
        EXPECT_EQ(all.seen.size(), 3u);
    }
}

TEST_F(IndexQueryTest, ModeThreeDoesNotWalkAnIndexWithoutTags) {
    bytes file = three_records();
    put_u32(file, block_offset + 12, 0);
    const std::string path = put_recording(file);
    collector all;
    rec_index_header header = {};
    EXPECT_EQ(rec_IndexQuery(path.c_str(), 3, collect, &all, &header), REC_INDEX_ENDED);
    EXPECT_TRUE(all.seen.empty());
    EXPECT_EQ(header.BlockOffset, block_offset);
    EXPECT_EQ(short_calls(), locating_);
    EXPECT_EQ(rec_IndexQuery(path.c_str(), 2, collect, &all, &header), REC_INDEX_ENDED);
    EXPECT_EQ(all.seen.size(), 3u);
}

TEST_F(IndexQueryTest, RecordsAreReadInBatchesOf128) {
    std::vector<index_record> records(300);
    for (uint32_t i = 0; i < 300; ++i)
        records[i].time = i;
    bytes file = recording::file_header(0);
    recording::append(file, index_block(records)); // 52 + 24,000 bytes behind the header
    const std::string path = put_recording(file);
    collector all;
    EXPECT_EQ(rec_IndexQuery(path.c_str(), 0, collect, &all, nullptr), REC_INDEX_ENDED);
    ASSERT_EQ(all.seen.size(), 300u);
    for (uint32_t i = 0; i < 300; ++i)
        EXPECT_EQ(all.seen[i], (seen_record{i, 80, static_cast<int32_t>(88 + 44 + 80 * (i + 1))}));
    const call_log calls = short_calls();
    EXPECT_EQ(call_log(calls.end() - 5, calls.end()),
              (call_log{"Seek(3, 132, 0) = 132", "Read(3, 10240) = 10240", "Read(3, 10240) = 10240",
                        "Read(3, 3520) = 3520", "Close(3) = 0"}));
}

TEST_F(IndexQueryTest, ShortBatchEndsTheWalkWithoutItsRecords) {
    std::vector<index_record> records(200);
    bytes file = recording::file_header(0);
    recording::append(file, index_block(records));
    put_u32(file, 88 + 32, 201); // one more than there are
    const std::string path = put_recording(file);
    collector all;
    EXPECT_EQ(rec_IndexQuery(path.c_str(), 0, collect, &all, nullptr), REC_INDEX_ENDED);
    EXPECT_EQ(all.seen.size(), 128u);
}

TEST_F(IndexQueryTest, RecordsMayBeLongerOrShorterThanUsual) {
    for (const uint32_t size : {1u, 79u, 81u, 100u, 240u}) {
        bytes file = three_records();
        put_u32(file, block_offset + 32, 240 / size);
        put_u32(file, block_offset + 36, size);
        const std::string path = put_recording(file);
        collector all;
        EXPECT_EQ(rec_IndexQuery(path.c_str(), 0, collect, &all, nullptr), REC_INDEX_ENDED);
        ASSERT_EQ(all.seen.size(), 240 / size);
        EXPECT_EQ(all.seen.back().size, static_cast<int32_t>(size));
        EXPECT_EQ(all.seen.back().end, static_cast<int32_t>(252 + 240 / size * size));
    }
}

TEST_F(IndexQueryTest, NumbersBeyondTheFileAreNotWalked) {
    constexpr uint32_t values[] = {0,   1,   2,          3,          79,         80,        81,
                                   128, 129, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFF};
    for (const uint32_t count : values) {
        for (const uint32_t size : values) {
            bytes file = three_records();
            put_u32(file, block_offset + 32, count);
            put_u32(file, block_offset + 36, size);
            const std::string path = put_recording(file);
            collector all;
            EXPECT_EQ(rec_IndexQuery(path.c_str(), 0, collect, &all, nullptr), REC_INDEX_ENDED);
            for (const seen_record& each : all.seen) {
                EXPECT_EQ(each.size, static_cast<int32_t>(size));
                EXPECT_LE(each.end, static_cast<int32_t>(file_size));
            }
        }
    }
}

TEST_F(IndexQueryTest, FailureOfTheSecondOpenSeekOrReadIs0) {
    const std::string path = put_recording(three_records());
    for (int n = 13; n <= 15; ++n) {
        module_probe::reset();
        module_probe::fail("*", n);
        collector all;
        rec_index_header header = {};
        EXPECT_EQ(rec_IndexQuery(path.c_str(), 0, collect, &all, &header), REC_INDEX_ENDED);
        EXPECT_TRUE(all.seen.empty());
        EXPECT_EQ(header.BlockOffset, block_offset);
    }
}

// --- callbacks ---

kmr_index_record record_at(uint32_t time, const char* tag = "") {
    kmr_index_record record = {};
    record.TimeNow = time;
    std::strncpy(record.TagName, tag, sizeof record.TagName);
    return record;
}

rec_index_context asking_for(int32_t key) {
    return {0, 1, -1, -1, key, "new", {}};
}

TEST(IndexCallbackTest, ContextHasItsFieldsInOrder) {
    EXPECT_EQ(offsetof(rec_index_context, iState), 0u);
    EXPECT_EQ(offsetof(rec_index_context, iOne), 4u);
    EXPECT_EQ(offsetof(rec_index_context, iPosition), 8u);
    EXPECT_EQ(offsetof(rec_index_context, iTime), 12u);
    EXPECT_EQ(offsetof(rec_index_context, iKey), 16u);
    EXPECT_LT(offsetof(rec_index_context, iKey), offsetof(rec_index_context, pText));
    EXPECT_EQ(offsetof(rec_index_context, cTagName), offsetof(rec_index_context, pText) + sizeof(char*));
}

TEST(IndexCallbackTest, ShortRecordsStopEveryCallback) {
    const kmr_index_record record = record_at(100);
    rec_index_context context = asking_for(100);
    uint32_t time = 5;
    for (const int32_t size : {79, 0, -1, INT32_MIN}) {
        EXPECT_EQ(_rec_TimeCompare(&record, size, 80, &context), -1);
        EXPECT_EQ(_rec_WholeCompare(&record, size, 80, &context), -1);
        EXPECT_EQ(_rec_GetStartTm(&record, size, 80, &time), -1);
    }
    EXPECT_EQ(time, 5u);
    EXPECT_EQ(context.iState, 0);
    EXPECT_EQ(context.iPosition, -1);
    EXPECT_EQ(context.iTime, -1);
}

TEST(IndexCallbackTest, StartTimeIsTheFirstRecords) {
    const kmr_index_record record = record_at(0x89ABCDEF);
    uint32_t time = 5;
    EXPECT_EQ(_rec_GetStartTm(&record, 80, 80, &time), -1);
    EXPECT_EQ(time, 0x89ABCDEFu);
}

TEST(IndexCallbackTest, TimeFallsBehindTheLastRecordBelowIt) {
    rec_index_context context = asking_for(250);
    const kmr_index_record records[] = {record_at(100, "one"), record_at(200, "two"), record_at(300)};
    EXPECT_EQ(_rec_TimeCompare(&records[0], 80, 80, &context), 0);
    EXPECT_EQ(_rec_TimeCompare(&records[1], 80, 160, &context), 0);
    EXPECT_EQ(context.iState, 0);
    EXPECT_EQ(_rec_TimeCompare(&records[2], 80, 240, &context), 2); // "two" is to be replaced
    EXPECT_EQ(context.iState, 1);
    EXPECT_EQ(context.iPosition, 160);
    EXPECT_EQ(context.iTime, 200);
    EXPECT_STREQ(context.cTagName, "two");
    EXPECT_EQ(_rec_TimeCompare(&records[2], 80, 320, &context), -1); // decided once and for all
}

TEST(IndexCallbackTest, ChosenRecordWithoutTagStopsTheWalk) {
    rec_index_context context = asking_for(200);
    const kmr_index_record records[] = {record_at(100), record_at(200, "two")};
    EXPECT_EQ(_rec_TimeCompare(&records[0], 80, 80, &context), 0);
    EXPECT_EQ(_rec_TimeCompare(&records[1], 80, 160, &context), -1);
    EXPECT_EQ(context.iState, 1);
    EXPECT_EQ(context.iPosition, 80); // a record at the very time is the one that decides, not the chosen one
    EXPECT_EQ(context.iTime, 100);
    EXPECT_EQ(_rec_TimeCompare(&records[1], 80, 240, &context), -1);
    EXPECT_EQ(context.iPosition, 80);
}

TEST(IndexCallbackTest, FirstRecordDecidesAtOnceWhenItIsNotBelow) {
    for (const uint32_t time : {100u, 101u}) {
        rec_index_context context = asking_for(100);
        const kmr_index_record record = record_at(time);
        EXPECT_EQ(_rec_TimeCompare(&record, 80, 80, &context), -1);
        EXPECT_EQ(context.iState, 1);
        EXPECT_EQ(context.iPosition, 80);
        EXPECT_EQ(context.iTime, static_cast<int32_t>(time));
    }
    rec_index_context context = asking_for(100);
    const kmr_index_record tagged = record_at(100, "one");
    EXPECT_EQ(_rec_TimeCompare(&tagged, 80, 80, &context), 2);
}

TEST(IndexCallbackTest, TimesAreComparedWithTheirSign) {
    rec_index_context context = asking_for(100);
    const kmr_index_record record = record_at(0x80000000);
    EXPECT_EQ(_rec_TimeCompare(&record, 80, 80, &context), 0);
    EXPECT_EQ(context.iState, 0);
    EXPECT_EQ(context.iTime, INT32_MIN);
}

TEST(IndexCallbackTest, RecordAboveAKeyThatLiesBelowTheChosenOneIsChosenItself) {
    rec_index_context context = asking_for(150);
    const kmr_index_record records[] = {record_at(100), record_at(120), record_at(200)};
    context.iTime = 180; // chosen before, out of order
    context.iPosition = 80;
    EXPECT_EQ(_rec_TimeCompare(&records[2], 80, 160, &context), 0);
    EXPECT_EQ(context.iPosition, 160);
    EXPECT_EQ(context.iTime, 200);
}

TEST(IndexCallbackTest, FirstRecordAnswersTheState) {
    rec_index_context context = asking_for(100);
    context.iState = 1;
    const kmr_index_record record = record_at(50);
    EXPECT_EQ(_rec_TimeCompare(&record, 80, 80, &context), 1);
}

TEST(IndexCallbackTest, WholeValueIsTheFirstWord) {
    rec_index_context context = asking_for(200);
    const kmr_index_record records[] = {record_at(100), record_at(200, "two"), record_at(200)};
    EXPECT_EQ(_rec_WholeCompare(&records[0], 80, 80, &context), 0);
    EXPECT_EQ(context.iPosition, -1);
    EXPECT_EQ(_rec_WholeCompare(&records[1], 80, 160, &context), -1);
    EXPECT_EQ(context.iPosition, 160);
    EXPECT_EQ(context.iState, 1);
    EXPECT_EQ(context.iTime, -1);
    EXPECT_EQ(context.cTagName[0], '\0');
    EXPECT_EQ(_rec_WholeCompare(&records[2], 80, 240, &context), 1); // one is chosen already
    EXPECT_EQ(context.iPosition, 160);
}

TEST(IndexCallbackTest, RecordsNeedNoAlignment) {
    alignas(8) char buffer[81] = {};
    const kmr_index_record record = record_at(100);
    std::memcpy(buffer + 1, &record, sizeof record);
    rec_index_context context = asking_for(100);
    EXPECT_EQ(_rec_TimeCompare(buffer + 1, 80, 80, &context), -1);
    EXPECT_EQ(context.iTime, 100);
}

// --- the first I-frame ---

class FirstIFrameTest : public IndexQueryTest {
protected:
    uint32_t offset_ = 77;
    int32_t find(const std::string& name) { return rec_GetFristIframelocByFile(name.c_str(), &offset_); }
};

TEST_F(FirstIFrameTest, IndexTellsIt) {
    bytes file = three_records();
    put_u32(file, block_offset + 44 + 4, 12345);
    EXPECT_EQ(find(put_recording(file)), 0);
    EXPECT_EQ(offset_, 12345u);
    EXPECT_EQ(short_calls(), located_and({"Open(0, rec, 0) = 3", "Seek(3, 252, 0) = 252", "Read(3, 80) = 80",
                                          "Close(3) = 0"}));
}

TEST_F(FirstIFrameTest, FailureBehindAnIndexIsZeroAndStoresNothing) {
    const std::string path = put_recording(three_records());
    for (int n = 13; n <= 15; ++n) {
        module_probe::reset();
        module_probe::fail("*", n);
        EXPECT_EQ(find(path), 0);
        EXPECT_EQ(offset_, 77u);
    }
}

TEST_F(FirstIFrameTest, IndexWithoutRecordsStoresNothing) {
    bytes file = recording::file_header(0);
    recording::append(file, index_block({}));
    EXPECT_EQ(find(put_recording(file)), 0);
    EXPECT_EQ(offset_, 77u);
}

TEST_F(FirstIFrameTest, FramesTellItWithoutAnIndex) {
    bytes file = recording::file_header(2);
    recording::append(file, recording::frame_record(small_frame(1, 1000, p_frame)));
    recording::append(file, recording::frame_record(small_frame(2, 1040, i_frame)));
    const std::string path = put_recording(file); // 88 + 40 + 40 bytes
    EXPECT_EQ(find(path), 0);
    EXPECT_EQ(offset_, 128u);
    const call_log calls = short_calls();
    ASSERT_GE(calls.size(), 3u);
    const auto second_open = std::find(calls.begin(), calls.end(), "Open(0, rec, 66) = 3");
    EXPECT_EQ(call_log(second_open, calls.end()),
              (call_log{"Open(0, rec, 66) = 3", "Read(3, 88) = 88", "Read(3, 32) = 32", "Seek(3, 8, 1) = 128",
                        "Read(3, 32) = 32", "Seek(3, 0, 1) = 160", "Close(3) = 0"}));
    EXPECT_EQ(scratch::read_file(path), file);
}

TEST_F(FirstIFrameTest, PathThatDoesNotExistIsNotMade) {
    put_recording({}); // so that its folder is there
    const std::string path = folder_.file("mnt/missing");
    module_probe::reset();
    EXPECT_EQ(find(path), -1);
    EXPECT_EQ(offset_, 77u);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(short_calls(), (call_log{"Open(0, missing, 0) = -1", "Stat(missing) = -1"}));
}

TEST_F(FirstIFrameTest, FileThatCannotBeReadIsThereAllTheSame) {
    const std::string path = put_recording(recording::file_header(0));
    module_probe::fail_from("Open", 1);
    EXPECT_EQ(find(path), REC_CANNOT_OPEN);
    EXPECT_EQ(short_calls(), (call_log{"Open(0, rec, 0) = -1", "Stat(rec) = 0", "Open(0, rec, 66) = -1"}));
}

// Where the look for an index has shown that the file is there, nobody asks again.
TEST_F(FirstIFrameTest, FileWithoutAnIndexSeesTwoOpensAndNoStat) {
    const std::string path = put_recording(bytes(88, 0));
    EXPECT_EQ(find(path), REC_FAILED);
    EXPECT_EQ(short_calls(),
              (call_log{"Open(0, rec, 0) = 3", "Seek(3, -8, 2) = 80", "Read(3, 4) = 4", "Close(3) = 0",
                        "Open(0, rec, 66) = 3", "Read(3, 88) = 88", "Read(3, 32) = 0", "Close(3) = 0"}));
}

TEST_F(FirstIFrameTest, StatusOfTheStepThatFailed) {
    EXPECT_EQ(find("H00001201501020304059000001"), -1);
    EXPECT_EQ(rec_GetFristIframelocByFile(nullptr, &offset_), -1);
    EXPECT_EQ(rec_GetFristIframelocByFile("x", nullptr), -1);
    EXPECT_EQ(find(folder_.file("no/mnt/rec")), -1);
    EXPECT_EQ(find(put_recording(bytes(87, 0))), REC_CANNOT_OPEN);
    EXPECT_EQ(find(put_recording(bytes(88, 0))), REC_FAILED);
    EXPECT_EQ(find(put_recording(bytes(200, 0))), REC_FAILED);
    EXPECT_EQ(offset_, 77u);
}

TEST_F(FirstIFrameTest, ShortNameThatIsGoneBehindItsIndexIsZeroAndStoresNothing) {
    const char name[] = "H2cdef20150102opqrstCvwxyz0";
    write_on_disk("02", name, three_records());
    module_probe::fail_from("Stat", 2); // the first one finds the index
    EXPECT_EQ(find(name), 0);
    EXPECT_EQ(offset_, 77u);
    module_probe::reset();
    EXPECT_EQ(find(name), 0);
    EXPECT_EQ(offset_, 88u); // what the first record says
}

} // namespace
