#include "file_op/tags.h"

#include "tests/file_op/recording_fixture.hpp"

#include <cstdio>
#include <cstring>

namespace {

int syncs = 0;
int calls_before_sync = 0;

} // namespace

// The linker leads the library's call of sync() here, so that a test sees when it is made and does not wait for the
// disks of the machine.
extern "C" void __wrap_sync() {
    ++syncs;
    calls_before_sync = module_probe::count();
}

namespace {

using recording::get_u32;
using recording::index_block;
using recording::index_record;
using recording::put_u32;

// The index follows the file header: block at 88, records from 132 on, record i with its tag at 148 + 80 i.
bytes indexed(const std::vector<index_record>& records) {
    bytes file = recording::file_header(0);
    recording::append(file, index_block(records));
    return file;
}

constexpr size_t block_offset = 88;
constexpr size_t tag_count_offset = block_offset + 12;

size_t tag_of(size_t record) {
    return 148 + 80 * record;
}

// Times 100, 200, 300; the second one is tagged.
bytes three_records() {
    return indexed({{.time = 100}, {.time = 200, .tag = "goal"}, {.time = 300}});
}

void put_tag(bytes& file, size_t record, const std::string& tag) {
    std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(tag_of(record)), 64, 0);
    std::copy(tag.begin(), tag.end(), file.begin() + static_cast<std::ptrdiff_t>(tag_of(record)));
}

// Records at 10, 20, 30, ..., of which the first `tagged` have a tag.
bytes many_records(uint32_t count, uint32_t tagged) {
    std::vector<index_record> records(count);
    for (uint32_t i = 0; i < count; ++i) {
        records[i].time = 10 * (i + 1);
        if (i < tagged)
            records[i].tag = "tag " + std::to_string(i);
    }
    return indexed(records);
}

class TagTest : public RecordingTest {
protected:
    void SetUp() override {
        RecordingTest::SetUp();
        syncs = 0;
    }

    std::string path_ = folder_.file("mnt/rec");

    int32_t modify(int32_t operation, int32_t& key, const char* tag) const {
        return rec_TagModify(operation, path_.c_str(), &key, tag);
    }
    int32_t modify_at(int32_t operation, int32_t key, const char* tag) const {
        return modify(operation, key, tag);
    }
    bytes content() const { return scratch::read_file(path_); }

    // Time and text of what was found, "100 goal".
    std::vector<std::string> find(const char* text, int32_t maximum = 100) const {
        std::vector<rec_tag_entry> entries(static_cast<size_t>(maximum));
        entries.resize(static_cast<size_t>(rec_TagQuery(path_.c_str(), text, entries.data(), maximum)));
        std::vector<std::string> found;
        for (const rec_tag_entry& entry : entries)
            found.push_back(std::to_string(entry.uiTime) + " " + entry.cTagName);
        return found;
    }

    // Nothing but the access time, which the search for the record may have moved.
    void expect_untouched(const bytes& before) const {
        EXPECT_EQ(content(), before);
        EXPECT_EQ(modification_time(path_), modified_);
        EXPECT_EQ(syncs, 0);
    }
};

using TagQueryTest = TagTest;
using TagModifyTest = TagTest;
using names = std::vector<std::string>;

// --- finding ---

TEST_F(TagQueryTest, TagsThatContainTheText) {
    put_recording(indexed({{.time = 1, .tag = "goal"},
                           {.time = 2},
                           {.time = 3, .tag = "own goal"},
                           {.time = 4, .tag = "foul"},
                           {.time = 5, .tag = "Goal"}}));
    EXPECT_EQ(find("goal"), (names{"1 goal", "3 own goal"}));
    EXPECT_EQ(find(""), (names{"1 goal", "3 own goal", "4 foul", "5 Goal"}));
    EXPECT_EQ(find("penalty"), names{});
    EXPECT_EQ(find("", 2), (names{"1 goal", "3 own goal"}));
    EXPECT_EQ(find("o", 3), (names{"1 goal", "3 own goal", "4 foul"}));
}

TEST(TagCallbackTest, TextThatIsEmptyIsNoText) {
    kmr_index_record untagged = {};
    kmr_index_record tagged = {};
    std::strcpy(tagged.TagName, "goal");
    for (const char* text : {static_cast<const char*>(nullptr), ""}) {
        rec_tag_entry entry = {};
        rec_tag_context context = {1, 0, text, &entry};
        EXPECT_EQ(_rec_TagQuery(&untagged, 80, 80, &context), 0);
        EXPECT_EQ(_rec_TagQuery(&tagged, 80, 160, &context), 1);
        EXPECT_EQ(_rec_TagQuery(&untagged, 80, 240, &context), 1);
        EXPECT_STREQ(entry.cTagName, "goal");
    }
}

TEST_F(TagQueryTest, BadArgumentsFindNothing) {
    put_recording(three_records());
    rec_tag_entry entry = {};
    EXPECT_EQ(rec_TagQuery(nullptr, "", &entry, 1), 0);
    EXPECT_EQ(rec_TagQuery(path_.c_str(), nullptr, &entry, 1), 0);
    EXPECT_EQ(rec_TagQuery(path_.c_str(), "", nullptr, 1), 0);
    EXPECT_EQ(rec_TagQuery(path_.c_str(), "", &entry, 0), 0);
    EXPECT_EQ(rec_TagQuery(path_.c_str(), "", &entry, -1), 0);
    EXPECT_EQ(module_probe::count(), 0);
    EXPECT_EQ(rec_TagQuery(path_.c_str(), "", &entry, 1), 1);
}

TEST_F(TagQueryTest, NoIndexNoTags) {
    put_recording(bytes(500, 0));
    EXPECT_EQ(find(""), names{});
}

TEST_F(TagQueryTest, CountOfZeroHidesTags) {
    bytes file = three_records();
    put_u32(file, tag_count_offset, 0);
    put_recording(file);
    EXPECT_EQ(find(""), names{});
}

TEST_F(TagQueryTest, EntryIsFilledToItsEnd) {
    put_recording(indexed({{.time = 0x89ABCDEF, .tag = std::string(64, 'x')}}));
    rec_tag_entry entries[2];
    std::memset(entries, '#', sizeof entries);
    EXPECT_EQ(rec_TagQuery(path_.c_str(), "", entries, 2), 1);
    EXPECT_EQ(entries[0].uiTime, 0x89ABCDEFu);
    EXPECT_EQ(std::string(entries[0].cTagName, 64), std::string(63, 'x') + '\0');
    EXPECT_EQ(entries[1].cTagName[0], '#');
}

TEST_F(TagQueryTest, TagWithoutTerminatorEndsWithItsField) {
    bytes file = indexed({{.time = 1, .tag = std::string(63, 'x') + "y"}, {.time = 'z'}});
    put_recording(file);
    EXPECT_EQ(find("xy").size(), 1u); // its last character counts
    EXPECT_EQ(find("yz").size(), 0u); // the next record's first does not
}

TEST_F(TagQueryTest, RecordsOfLessThan80BytesHaveNoTags) {
    bytes file = three_records();
    put_u32(file, block_offset + 36, 79);
    put_recording(file);
    EXPECT_EQ(find(""), names{});
}

TEST(TagCallbackTest, SkipsAndStoresAnswerTheCount) {
    kmr_index_record plain = {};
    plain.TimeNow = 1;
    kmr_index_record tagged = plain;
    std::strcpy(tagged.TagName, "goal");
    rec_tag_entry results[2] = {};
    rec_tag_context context = {2, 0, nullptr, results};
    EXPECT_EQ(_rec_TagQuery(&plain, 80, 80, &context), 0);
    EXPECT_EQ(_rec_TagQuery(&tagged, 80, 160, &context), 1);
    EXPECT_EQ(_rec_TagQuery(&plain, 80, 240, &context), 1);
    EXPECT_EQ(_rec_TagQuery(&tagged, 80, 320, &context), 2);
    EXPECT_EQ(_rec_TagQuery(&tagged, 80, 400, &context), 2); // no room
    EXPECT_EQ(_rec_TagQuery(&tagged, 79, 400, &context), -1);
    context = {2, 0, "oa", results};
    EXPECT_EQ(_rec_TagQuery(&plain, 80, 80, &context), 0);
    EXPECT_EQ(_rec_TagQuery(&tagged, 80, 80, &context), 1);
    EXPECT_EQ(sizeof(rec_tag_entry), 68u);
}

// --- adding ---

TEST_F(TagModifyTest, ResultsHaveTheirNumbers) {
    EXPECT_EQ(static_cast<int>(REC_TAG_REFUSED), -1);
    EXPECT_EQ(static_cast<int>(REC_TAG_DONE), 0);
    EXPECT_EQ(static_cast<int>(REC_TAG_LIMIT_REACHED), 1);
    EXPECT_EQ(static_cast<int>(REC_TAG_WRITE_FAILED), 2);
    EXPECT_EQ(static_cast<int>(REC_TAG_NO_INDEX), 3);
}

TEST_F(TagModifyTest, AddedTagGoesToTheRecordBeforeTheTime) {
    put_recording(three_records());
    int32_t key = 150; // from 101 to 200: the record at 100
    EXPECT_EQ(modify(REC_TAG_ADD, key, "kick-off"), REC_TAG_DONE);
    EXPECT_EQ(key, 100);
    bytes expected = three_records();
    put_tag(expected, 0, "kick-off");
    put_u32(expected, tag_count_offset, 2);
    EXPECT_EQ(dates(path_), original_dates());
    EXPECT_EQ(content(), expected);
}

TEST_F(TagModifyTest, ModuleCallsOfAnAddition) {
    put_recording(three_records());
    EXPECT_EQ(modify_at(REC_TAG_ADD, 150, "kick-off"), REC_TAG_DONE);
    EXPECT_EQ(short_calls(),
              (call_log{"Open(0, rec, 0) = 3",   "Seek(3, -8, 2) = 372",  "Read(3, 4) = 4",
                        "Read(3, 4) = 4",        "Seek(3, -292, 2) = 88", "Tell(3) = 88",
                        "Read(3, 32) = 32",      "Read(3, 4) = 4",        "Read(3, 4) = 4",
                        "Seek(3, 4, 1) = 132",   "Tell(3) = 132",         "Close(3) = 0",
                        "Open(0, rec, 0) = 3",   "Seek(3, 132, 0) = 132", "Read(3, 240) = 240",
                        "Close(3) = 0",          "Stat(rec) = 0",         "Open(0, rec, 1) = 3",
                        "Seek(3, 148, 0) = 148", "Write(3, 64) = 64",     "Seek(3, 88, 0) = 88",
                        "Write(3, 32) = 32",     "Close(3) = 0",          change_time()}));
    EXPECT_EQ(syncs, 1);
    EXPECT_EQ(calls_before_sync, 22); // behind the second write
}

TEST_F(TagModifyTest, AddedTagReplacesTheOneThatIsThere) {
    put_recording(three_records());
    int32_t key = 300;
    EXPECT_EQ(modify(REC_TAG_ADD, key, "save"), REC_TAG_DONE);
    EXPECT_EQ(key, 200);
    bytes expected = three_records();
    put_tag(expected, 1, "save");
    EXPECT_EQ(content(), expected); // the count stays
    const call_log calls = short_calls();
    EXPECT_EQ(call_log(calls.end() - 7, calls.end()),
              (call_log{"Open(0, rec, 1) = 3", "Seek(3, 228, 0) = 228", "Write(3, 64) = 64",
                        "Seek(3, 88, 0) = 88", "Write(3, 32) = 32", "Close(3) = 0", change_time()}));
}

TEST_F(TagModifyTest, TimeBeforeAllRecordsTagsTheFirst) {
    put_recording(three_records());
    int32_t key = 5;
    EXPECT_EQ(modify(REC_TAG_ADD, key, "kick-off"), REC_TAG_DONE);
    EXPECT_EQ(key, 100);
}

TEST_F(TagModifyTest, TimeBehindAllRecordsIsRefused) {
    put_recording(three_records());
    int32_t key = 301;
    EXPECT_EQ(modify(REC_TAG_ADD, key, "late"), REC_TAG_REFUSED);
    EXPECT_EQ(key, 301);
    expect_untouched(three_records());
}

TEST_F(TagModifyTest, TheSixtyFifthTagIsRefused) {
    const bytes full = many_records(70, 64);
    put_recording(full);
    EXPECT_EQ(modify_at(REC_TAG_ADD, 645, "new"), REC_TAG_DONE); // replaces the one at 640
    EXPECT_EQ(get_u32(content(), tag_count_offset), 64u);
    put_recording(full);
    syncs = 0;
    EXPECT_EQ(modify_at(REC_TAG_ADD, 655, "new"), REC_TAG_LIMIT_REACHED);
    expect_untouched(full);
    EXPECT_EQ(modify_at(REC_TAG_ADD, 701, "new"),
              REC_TAG_LIMIT_REACHED); // the limit is looked at before the choice
    expect_untouched(full);
}

TEST_F(TagModifyTest, CountBeyondTheLimitIsTheLimit) {
    for (const uint32_t count : {64u, 65u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        bytes file = three_records();
        put_u32(file, tag_count_offset, count);
        put_recording(file);
        EXPECT_EQ(modify_at(REC_TAG_ADD, 150, "new"), REC_TAG_LIMIT_REACHED);
        expect_untouched(file);
    }
}

TEST_F(TagModifyTest, TextOf64CharactersFillsTheField) {
    put_recording(three_records());
    EXPECT_EQ(modify_at(REC_TAG_ADD, 150, std::string(70, 'x').c_str()), REC_TAG_DONE);
    bytes expected = three_records();
    put_tag(expected, 0, std::string(64, 'x'));
    put_u32(expected, tag_count_offset, 2);
    EXPECT_EQ(content(), expected);
}

TEST_F(TagModifyTest, ShortNameIsTaggedOnTheDiskWhereItIs) {
    path_ = "disks/host05/part1/H0000120150102030405L000001";
    put(path_, three_records());
    int32_t key = 150;
    EXPECT_EQ(rec_TagModify(REC_TAG_ADD, "H0000120150102030405C000001", &key, "kick-off"), REC_TAG_DONE);
    EXPECT_EQ(key, 100);
    EXPECT_EQ(dates(path_), original_dates());
    EXPECT_EQ(get_u32(content(), tag_count_offset), 2u);
}

// --- removing and changing ---

TEST_F(TagModifyTest, RemovedTagLeavesZeros) {
    put_recording(three_records());
    int32_t key = 200;
    EXPECT_EQ(modify(REC_TAG_REMOVE, key, "ignored"), REC_TAG_DONE);
    EXPECT_EQ(key, -1);
    bytes expected = three_records();
    put_tag(expected, 1, "");
    put_u32(expected, tag_count_offset, 0);
    EXPECT_EQ(dates(path_), original_dates());
    EXPECT_EQ(content(), expected);
    const call_log calls = short_calls();
    EXPECT_EQ(call_log(calls.end() - 8, calls.end()),
              (call_log{"Stat(rec) = 0", "Open(0, rec, 1) = 3", "Seek(3, 228, 0) = 228", "Write(3, 64) = 64",
                        "Seek(3, 88, 0) = 88", "Write(3, 32) = 32", "Close(3) = 0", change_time()}));
}

TEST_F(TagModifyTest, RemovalNeverCountsBelowZero) {
    bytes file = three_records();
    put_u32(file, tag_count_offset, 0);
    put_recording(file);
    EXPECT_EQ(modify_at(REC_TAG_REMOVE, 200, ""), REC_TAG_DONE);
    put_tag(file, 1, "");
    EXPECT_EQ(content(), file);
}

TEST_F(TagModifyTest, ChangedTagLeavesTheCount) {
    put_recording(three_records());
    int32_t key = 200;
    EXPECT_EQ(modify(REC_TAG_CHANGE, key, "save"), REC_TAG_DONE);
    EXPECT_EQ(key, -1);
    bytes expected = three_records();
    put_tag(expected, 1, "save");
    EXPECT_EQ(dates(path_), original_dates());
    EXPECT_EQ(content(), expected);
    const call_log calls = short_calls();
    EXPECT_EQ(call_log(calls.end() - 6, calls.end()),
              (call_log{"Stat(rec) = 0", "Open(0, rec, 1) = 3", "Seek(3, 228, 0) = 228", "Write(3, 64) = 64",
                        "Close(3) = 0", change_time()}));
}

TEST_F(TagModifyTest, KeyThatIsNoRecordsTimeIsRefused) {
    put_recording(three_records());
    for (const int32_t operation : {REC_TAG_REMOVE, REC_TAG_CHANGE}) {
        int32_t key = 199;
        EXPECT_EQ(modify(operation, key, "x"), REC_TAG_REFUSED);
        EXPECT_EQ(key, 199);
    }
    expect_untouched(three_records());
}

TEST_F(TagModifyTest, BadArgumentsAreRefused) {
    put_recording(three_records());
    int32_t key = 200;
    EXPECT_EQ(rec_TagModify(0, nullptr, &key, "x"), REC_TAG_REFUSED);
    EXPECT_EQ(rec_TagModify(0, path_.c_str(), &key, nullptr), REC_TAG_REFUSED);
    EXPECT_EQ(rec_TagModify(1, path_.c_str(), &key, nullptr), REC_TAG_REFUSED);
    EXPECT_EQ(rec_TagModify(0, path_.c_str(), nullptr, "x"), REC_TAG_REFUSED);
    EXPECT_EQ(modify(3, key, "x"), REC_TAG_REFUSED);
    EXPECT_EQ(modify(-1, key, "x"), REC_TAG_REFUSED);
    EXPECT_EQ(key, 200);
    expect_untouched(three_records());
}

TEST_F(TagModifyTest, RecordingWithoutAnIndex) {
    const bytes file = part(three_records(), 0, 379);
    put_recording(file);
    EXPECT_EQ(modify_at(REC_TAG_ADD, 150, "x"), REC_TAG_NO_INDEX);
    EXPECT_EQ(modify_at(REC_TAG_REMOVE, 100, "x"), REC_TAG_REFUSED);
    EXPECT_EQ(modify_at(REC_TAG_CHANGE, 100, "x"), REC_TAG_REFUSED);
    expect_untouched(file);
}

TEST_F(TagModifyTest, RecordsOfLessThan80BytesAreRefused) {
    bytes file = three_records();
    put_u32(file, block_offset + 36, 79);
    put_recording(file);
    for (int32_t operation = 0; operation < 3; ++operation)
        EXPECT_EQ(modify_at(operation, 100, "x"), REC_TAG_REFUSED);
    expect_untouched(file);
}

TEST_F(TagModifyTest, LongRecordsCarryTheTagInTheirLast64Bytes) {
    bytes file = three_records();
    put_u32(file, block_offset + 32, 2);
    put_u32(file, block_offset + 36, 120); // the first one ends at 252
    put_recording(file);
    EXPECT_EQ(modify_at(REC_TAG_CHANGE, 100, "x"), REC_TAG_DONE);
    std::fill_n(file.begin() + 188, 64, 0);
    file[188] = 'x';
    EXPECT_EQ(content(), file);
}

TEST_F(TagModifyTest, NoNumberOfAnIndexLeadsOutsideOfTheBlock) {
    constexpr uint32_t values[] = {0,  1,   2,   3,   79,         80,         81,
                                   82, 120, 240, 241, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    for (const uint32_t count : values) {
        for (const uint32_t size : values) {
            for (int32_t operation = 0; operation < 3; ++operation) {
                bytes file = three_records();
                put_u32(file, block_offset + 32, count);
                put_u32(file, block_offset + 36, size);
                put_recording(file);
                modify_at(operation, 100, "x");
                const bytes after = content();
                ASSERT_EQ(after.size(), file.size());
                EXPECT_EQ(part(after, 0, tag_count_offset), part(file, 0, tag_count_offset));
                EXPECT_EQ(part(after, tag_count_offset + 4, 132), part(file, tag_count_offset + 4, 132));
            }
        }
    }
}

// --- the whole life of tags ---

TEST_F(TagModifyTest, SixtyFourTagsAreAddedFoundReplacedChangedAndRemoved) {
    put_recording(many_records(70, 0));
    for (int32_t i = 1; i <= 64; ++i) {
        int32_t key = 10 * i + 1;
        char tag[64] = {};
        std::snprintf(tag, sizeof tag, "moment %02d", i);
        EXPECT_EQ(modify(REC_TAG_ADD, key, tag), REC_TAG_DONE);
        EXPECT_EQ(key, 10 * i);
    }
    EXPECT_EQ(modify_at(REC_TAG_ADD, 651, "one too many"), REC_TAG_LIMIT_REACHED);
    EXPECT_EQ(find("").size(), 64u);
    EXPECT_EQ(find("moment 0").size(), 9u);
    EXPECT_EQ(find("moment 17"), names{"170 moment 17"});
    EXPECT_EQ(modify_at(REC_TAG_ADD, 180, "replaced"), REC_TAG_DONE);
    EXPECT_EQ(find("replaced"), names{"170 replaced"});
    EXPECT_EQ(modify_at(REC_TAG_CHANGE, 170, "changed"), REC_TAG_DONE);
    EXPECT_EQ(find("changed"), names{"170 changed"});
    EXPECT_EQ(find("").size(), 64u);
    EXPECT_EQ(get_u32(content(), tag_count_offset), 64u);
    for (int32_t i = 1; i <= 64; ++i) {
        EXPECT_EQ(modify_at(REC_TAG_REMOVE, 10 * i, ""), REC_TAG_DONE);
        EXPECT_EQ(get_u32(content(), tag_count_offset), static_cast<uint32_t>(64 - i));
    }
    EXPECT_EQ(content(), many_records(70, 0));
    EXPECT_EQ(modification_time(path_), modified_);
}

// --- failures ---

TEST_F(TagModifyTest, WhatEachFailedCallOfAnAdditionLeaves) {
    bytes tag_only = three_records();
    put_tag(tag_only, 0, "kick-off");
    bytes done = tag_only;
    put_u32(done, tag_count_offset, 2);
    struct failure {
        int call; // as listed in ModuleCallsOfAnAddition
        int32_t result;
        const bytes& left;
        bool restores_dates;
    };
    const bytes before = three_records();
    const failure failures[] = {
        {1, 3, before, false},   {2, 3, before, false},   {3, 3, before, false},   {4, 3, before, false},
        {5, 3, before, false},   {6, 3, before, false},   {7, 3, before, false},   {8, 3, before, false},
        {9, 3, before, false},   {10, 3, before, false},  {11, 3, before, false},  {13, -1, before, false},
        {14, -1, before, false}, {15, -1, before, false}, {17, -1, before, false}, {18, -1, before, false},
        {19, 2, before, true},   {20, 2, before, true},   {21, 2, tag_only, true}, {22, 2, tag_only, true},
    };
    for (const failure& each : failures) {
        put_recording(before);
        module_probe::reset();
        module_probe::fail("*", each.call);
        syncs = 0;
        int32_t key = 150;
        EXPECT_EQ(modify(REC_TAG_ADD, key, "kick-off"), each.result) << each.call;
        EXPECT_EQ(key, 150);
        EXPECT_EQ(modification_time(path_), modified_) << each.call;
        EXPECT_TRUE(!each.restores_dates || dates(path_) == original_dates()) << each.call;
        EXPECT_EQ(content(), each.left) << each.call;
        EXPECT_EQ(syncs, each.restores_dates) << each.call;
        EXPECT_EQ(short_calls().back() == change_time(), each.restores_dates) << each.call;
        EXPECT_EQ(layer_descriptors(), 0);
    }
    put_recording(before);
    module_probe::reset();
    module_probe::fail("ChangeTime", 1);
    EXPECT_EQ(modify_at(REC_TAG_ADD, 150, "kick-off"), REC_TAG_DONE);
    EXPECT_EQ(content(), done);
}

TEST_F(TagModifyTest, ShortWritesGiveTwo) {
    put_recording(three_records());
    module_probe::cut("Write", 1, 3);
    EXPECT_EQ(modify_at(REC_TAG_ADD, 150, "kick-off"), REC_TAG_WRITE_FAILED);
    bytes expected = three_records();
    put_tag(expected, 0, "kic");
    EXPECT_EQ(dates(path_), original_dates());
    EXPECT_EQ(content(), expected);

    put_recording(three_records());
    module_probe::reset();
    module_probe::cut("Write", 2, 31);
    EXPECT_EQ(modify_at(REC_TAG_ADD, 150, "kick-off"), REC_TAG_WRITE_FAILED);
    EXPECT_EQ(syncs, 2);
    EXPECT_EQ(dates(path_), original_dates());
}

// --- positions beyond 2 and 4 GiB ---

class LargeTagTest : public TagTest {
protected:
    // An index behind `hole` bytes of nothing.
    void put_behind(off_t hole) const {
        put_recording({});
        ASSERT_EQ(truncate(path_.c_str(), hole), 0);
        std::FILE* const file = std::fopen(path_.c_str(), "ab");
        const bytes block = index_block({{.time = 100}, {.time = 200}});
        EXPECT_EQ(std::fwrite(block.data(), 1, block.size(), file), block.size());
        std::fclose(file);
    }
};

TEST_F(LargeTagTest, IndexBeyond2GiBIsReachedInTwoSteps) {
    put_behind(3'000'000'000);
    EXPECT_EQ(modify_at(REC_TAG_ADD, 150, "far"), REC_TAG_DONE);
    EXPECT_EQ(find(""), names{"100 far"});
}

TEST_F(LargeTagTest, FileBeyond4GiBIsLeftAlone) {
    put_behind(5'000'000'000);
    const auto before = modification_time(path_);
    for (int32_t operation = 0; operation < 3; ++operation)
        EXPECT_LT(modify_at(operation, 100, "far"), 0);
    EXPECT_EQ(modification_time(path_), before);
}

// Of its positions only the low 32 bits are told, and a copy of the index stands at just those.
TEST_F(LargeTagTest, FileBeyond4GiBIsLeftAloneWhereItsPositionsNameRecords) {
    constexpr off_t below = 1000;
    put_behind((off_t{1} << 32) + below);
    const bytes block = index_block({{.time = 100}, {.time = 200}});
    std::FILE* const file = std::fopen(path_.c_str(), "r+b");
    ASSERT_EQ(std::fseek(file, below, SEEK_SET), 0);
    EXPECT_EQ(std::fwrite(block.data(), 1, block.size(), file), block.size());
    std::fclose(file);
    module_probe::reset();
    for (int32_t operation = 0; operation < 3; ++operation)
        EXPECT_EQ(modify_at(operation, 100, "far"), REC_TAG_REFUSED);
    EXPECT_EQ(syncs, 0);
    for (const std::string& call : short_calls())
        EXPECT_FALSE(call.starts_with("Write") || call.starts_with("ChangeTime")) << call;
}

// A record that ends one byte below 4 GiB has the position that says that there is none.
TEST_F(LargeTagTest, RecordWhosePositionSaysNoneIsNotChosen) {
    put_behind((off_t{1} << 32) - 1 - 44 - 80);
    module_probe::reset();
    EXPECT_EQ(modify_at(REC_TAG_REMOVE, 100, ""), REC_TAG_REFUSED);
    EXPECT_EQ(modify_at(REC_TAG_CHANGE, 100, "far"), REC_TAG_REFUSED);
    for (const std::string& call : short_calls())
        EXPECT_FALSE(call.starts_with("Stat") || call.starts_with("Write")) << call;
}

TEST(TagCallbackTest, OneCharacterIsATag) {
    kmr_index_record tagged = {};
    tagged.TagName[0] = 'x';
    for (const char* text : {static_cast<const char*>(nullptr), "", "x"}) {
        rec_tag_entry result = {};
        rec_tag_context context = {1, 0, text, &result};
        EXPECT_EQ(_rec_TagQuery(&tagged, 80, 80, &context), 1);
        EXPECT_STREQ(result.cTagName, "x");
    }
}

} // namespace
