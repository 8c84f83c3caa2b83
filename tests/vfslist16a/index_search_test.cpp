#include "tests/support/scratch.hpp"
#include "tests/vfslist16a/index_bytes.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using namespace index_bytes;
using testing::ElementsAre;
using testing::IsEmpty;

class SearchTest : public testing::Test {
protected:
    SearchTest() : query_(open_query()), list_(empty_list()) {}

    // Searches a file with these bytes into the list of this test.
    std::vector<std::string> found_in(const bytes& content) {
        const std::string path = folder_.write("index", content);
        EXPECT_EQ(SearchIndexEx(path.c_str(), query_.get(), list_.get()), 0);
        return paths(list_.get());
    }

    std::vector<std::string> found_between(int32_t start, int32_t end, const bytes& content) {
        query_->start_time = start;
        query_->end_time = end;
        return found_in(content);
    }

    scratch::folder folder_;
    std::unique_ptr<rec_query_block> query_;
    list list_;
};

// --- Interval ---

TEST_F(SearchTest, TheStartIsInAndTheEndIsOut) {
    EXPECT_THAT(found_between(100, 200, file(at_times({50, 100, 150, 200}))), ElementsAre("p1", "p2"));
}

TEST_F(SearchTest, AnEmptyOrReversedIntervalHasNothing) {
    EXPECT_THAT(found_between(100, 100, file(at_times({50, 100, 150}))), IsEmpty());
    EXPECT_THAT(found_between(150, 50, file(at_times({50, 100, 150}))), IsEmpty());
}

TEST_F(SearchTest, TimesAreSigned) {
    EXPECT_THAT(found_between(-100, 1, file(at_times({-2147483647, -101, -100, -1, 0, 1}))),
                ElementsAre("p2", "p3", "p4"));
}

TEST_F(SearchTest, EqualTimesKeepTheOrderOfTheFile) {
    EXPECT_THAT(found_between(5, 6, file(at_times({4, 5, 5, 5, 5, 6, 6}))),
                ElementsAre("p1", "p2", "p3", "p4"));
}

TEST_F(SearchTest, RecordsComeWithAllTheirBytes) {
    const bytes content = file(at_times({7}));
    found_in(content);
    const auto* data = static_cast<const uint8_t*>(adt_dlist_getdata(adt_dlist_head(list_.get())));
    EXPECT_EQ(bytes(data, data + 184), bytes(content.begin() + 72, content.end()));
}

TEST_F(SearchTest, TheScanGoesOnBehindTheEndOfTheInterval) {
    EXPECT_THAT(found_between(100, 200, file(at_times({100, 500, 900, 150, 900}))), ElementsAre("p0", "p3"));
}

// --- Size of the file ---

TEST_F(SearchTest, AMissingFileIsAnError) {
    EXPECT_EQ(SearchIndexEx(folder_.file("none").c_str(), query_.get(), list_.get()), -1);
    EXPECT_THAT(paths(list_.get()), IsEmpty());
}

TEST_F(SearchTest, AFolderIsAnEmptyIndex) {
    EXPECT_EQ(SearchIndexEx(folder_.path().c_str(), query_.get(), list_.get()), 0);
    EXPECT_THAT(paths(list_.get()), IsEmpty());
}

TEST_F(SearchTest, AFileShorterThanOneRecordHasNone) {
    bytes content = file(at_times({1}));
    while (!content.empty()) {
        content.pop_back();
        ASSERT_THAT(found_in(content), IsEmpty()) << content.size();
    }
}

TEST_F(SearchTest, AFileOfOneRecordIsScannedFromItsStart) {
    EXPECT_THAT(found_between(100, 200, file(at_times({100}))), ElementsAre("p0"));
}

TEST_F(SearchTest, ARecordThatIsCutOffIsNotOne) {
    const bytes whole = file(at_times({1, 2, 3}));
    for (size_t missing = 1; missing <= 184; ++missing) {
        list_ = empty_list();
        ASSERT_THAT(found_in(bytes(whole.begin(), whole.end() - static_cast<std::ptrdiff_t>(missing))),
                    ElementsAre("p0", "p1"));
    }
}

TEST_F(SearchTest, AFileMayEndAnywhereInItsReadBlocks) {
    // Around whole numbers of the 356 records that are read at a time.
    for (const size_t count : {355u, 356u, 357u, 711u, 712u, 713u}) {
        list_ = empty_list();
        const auto found = found_in(file(at_times(std::vector<int32_t>(count, 4))));
        ASSERT_EQ(found.size(), count);
        EXPECT_EQ(found.back(), path_of(count - 1));
    }
}

TEST_F(SearchTest, AFileBeyondTwoGigabytesIsSearched) {
    // 20,000,000 records of 3.4 GiB, all but the last two a hole: time 0.
    constexpr int64_t count = 20000000;
    const std::string path = folder_.file("large");
    const int file = open64(path.c_str(), O_WRONLY | O_CREAT, 0600);
    ASSERT_GE(file, 0);
    const bytes last_but_one = record({.time = 998, .path = "last but one"});
    const bytes last = record({.time = 999, .path = "last"});
    ASSERT_EQ(pwrite64(file, last_but_one.data(), 184, 72 + 184 * (count - 2)), 184);
    ASSERT_EQ(pwrite64(file, last.data(), 184, 72 + 184 * (count - 1)), 184);
    close(file);
    query_->start_time = 500;
    EXPECT_EQ(SearchIndexEx(path.c_str(), query_.get(), list_.get()), 0);
    EXPECT_THAT(paths(list_.get()), ElementsAre("last but one", "last"));
}

TEST_F(SearchTest, LeavesNoFileOpen) {
    const int before = scratch::open_descriptors();
    found_in(file(at_times({1, 2, 3})));
    SearchIndexEx(folder_.file("none").c_str(), query_.get(), list_.get());
    SearchIndexEx(folder_.path().c_str(), query_.get(), list_.get());
    EXPECT_EQ(scratch::open_descriptors(), before);
}

TEST_F(SearchTest, TouchesNothingButTheList) {
    std::memset(query_->results, 0xAA, sizeof query_->results);
    query_->total = 11;
    query_->returned = 12;
    const auto before = std::make_unique<rec_query_block>(*query_);
    found_in(file(at_times({1, 2, 3})));
    EXPECT_EQ(std::memcmp(before.get(), query_.get(), sizeof *query_), 0);
}

// --- Filters ---

std::vector<entry> names() {
    return {
        {.time = 1, .path = "video", .name = "a.kmr"},      {.time = 2, .path = "picture", .name = "b.jpg"},
        {.time = 3, .path = "within", .name = "c.jpg.kmr"}, {.time = 4, .path = "start", .name = ".jpg"},
        {.time = 5, .path = "upper", .name = "d.JPG"},      {.time = 6, .path = "short", .name = "e.jp"},
        {.time = 7, .path = "empty", .name = ""},           {.time = 8, .path = "path.jpg", .name = "f.kmr"}};
}

TEST_F(SearchTest, FileTypeZeroTakesAll) {
    query_->file_type_filter = 0;
    EXPECT_EQ(found_in(file(names())).size(), 8u);
}

TEST_F(SearchTest, FileTypeOneTakesVideos) {
    query_->file_type_filter = 1;
    EXPECT_THAT(found_in(file(names())), ElementsAre("video", "upper", "short", "empty", "path.jpg"));
}

TEST_F(SearchTest, FileTypeTwoTakesPictures) {
    query_->file_type_filter = 2;
    EXPECT_THAT(found_in(file(names())), ElementsAre("picture", "within", "start"));
}

TEST_F(SearchTest, OtherFileTypesTakeNothing) {
    for (const int32_t filter : {3, -1, 255, 257, 258}) {
        query_->file_type_filter = filter;
        EXPECT_THAT(found_in(file(names())), IsEmpty());
    }
}

TEST_F(SearchTest, ANameEndsWithItsNul) {
    bytes content = file({{.time = 1, .path = "p", .name = "a"}});
    const std::string behind = ".jpg";
    std::copy(behind.begin(), behind.end(), content.begin() + 72 + 12 + 2);
    query_->file_type_filter = 2;
    EXPECT_THAT(found_in(content), IsEmpty());
}

TEST_F(SearchTest, ANameWithoutANulEndsWithItsField) {
    const std::vector<entry> entries = {{.time = 1, .path = "whole", .name = std::string(100, 'n') + ".jpg"},
                                        {.time = 2, .path = "jpg", .name = std::string(103, 'n') + "."},
                                        {.time = 3, .path = ".jpg", .name = std::string(104, 'n')}};
    query_->file_type_filter = 2;
    EXPECT_THAT(found_in(file(entries)), ElementsAre("whole"));
}

std::vector<entry> channels_and_kinds() {
    return {{.time = 1, .path = "c0k0", .channel = 0, .kind = 0},
            {.time = 2, .path = "c0k9", .channel = 0, .kind = 9},
            {.time = 3, .path = "c255k0", .channel = 255, .kind = 0},
            {.time = 4, .path = "c3k255", .channel = 3, .kind = 255}};
}

TEST_F(SearchTest, TheChannelMustFit) {
    query_->channel_filter = 0;
    EXPECT_THAT(found_in(file(channels_and_kinds())), ElementsAre("c0k0", "c0k9"));
}

TEST_F(SearchTest, TheKindMustFit) {
    query_->kind_filter = 0;
    EXPECT_THAT(found_in(file(channels_and_kinds())), ElementsAre("c0k0", "c255k0"));
}

TEST_F(SearchTest, ChannelAndKindMustBothFit) {
    query_->channel_filter = 0;
    query_->kind_filter = 9;
    EXPECT_THAT(found_in(file(channels_and_kinds())), ElementsAre("c0k9"));
}

TEST_F(SearchTest, AFilterOf255TakesAny) {
    EXPECT_EQ(found_in(file(channels_and_kinds())).size(), 4u);
}

TEST_F(SearchTest, AFilterIsNotCutToAByte) {
    query_->channel_filter = 256;
    EXPECT_THAT(found_in(file(channels_and_kinds())), IsEmpty());
    query_->channel_filter = 0xFFFFFFFF;
    EXPECT_THAT(found_in(file(channels_and_kinds())), IsEmpty());
    query_->channel_filter = 255;
    query_->kind_filter = 0x1FF;
    EXPECT_THAT(found_in(file(channels_and_kinds())), IsEmpty());
}

// --- Order of the matches ---

TEST_F(SearchTest, IntoAnEmptyListMatchesComeAsTheyAre) {
    EXPECT_THAT(found_in(file(at_times({10, 30, 20, 5}))), ElementsAre("p0", "p1", "p2", "p3"));
}

TEST_F(SearchTest, ASecondSearchInsertsInOrderOfTime) {
    found_in(file({{.time = 10, .path = "a10"}, {.time = 20, .path = "a20"}, {.time = 30, .path = "a30"}}));
    EXPECT_THAT(found_in(file({{.time = 5, .path = "b5"},
                               {.time = 10, .path = "b10"},
                               {.time = 25, .path = "b25"},
                               {.time = 30, .path = "b30"},
                               {.time = 40, .path = "b40"}})),
                ElementsAre("b5", "a10", "b10", "a20", "b25", "a30", "b30", "b40"));
}

TEST_F(SearchTest, TheCursorNeverGoesBack) {
    found_in(file({{.time = 10, .path = "a10"}, {.time = 20, .path = "a20"}, {.time = 30, .path = "a30"}}));
    // 15 goes before a20, where the cursor stays: 5 goes there too. 40 leaves the end, everything follows it.
    EXPECT_THAT(found_in(file({{.time = 15, .path = "b15"},
                               {.time = 5, .path = "b5"},
                               {.time = 40, .path = "b40"},
                               {.time = 1, .path = "b1"}})),
                ElementsAre("a10", "b15", "b5", "a20", "a30", "b40", "b1"));
}

TEST_F(SearchTest, RecordsThatDoNotMatchDoNotMoveTheCursor) {
    found_in(file({{.time = 10, .path = "a10"}, {.time = 20, .path = "a20"}}));
    query_->channel_filter = 1;
    EXPECT_THAT(found_in(file({{.time = 90, .path = "no", .channel = 9}, {.time = 5, .path = "b5"}})),
                ElementsAre("b5", "a10", "a20"));
}

// --- Bisection ---

// Where the scan begins, told by the rules alone.
size_t scan_start(const std::vector<int32_t>& times, int32_t start) {
    if (times.size() <= 1)
        return 0;
    size_t low = 0;
    size_t high = times.size();
    size_t middle = high / 2;
    while (true) {
        (times.at(middle) < start ? low : high) = middle;
        if ((low + high) / 2 == middle)
            return middle;
        middle = (low + high) / 2;
    }
}

TEST_F(SearchTest, InAnAscendingFileNothingIsMissed) {
    // All ascending files of up to 6 records with times 0 to 3.
    for (size_t size = 0; size <= 6; ++size)
        for (int code = 0; code < 4096; ++code) {
            std::vector<int32_t> times;
            for (size_t i = 0, rest = static_cast<size_t>(code); i < size; ++i, rest /= 4)
                times.push_back(static_cast<int32_t>(rest % 4));
            if (!std::is_sorted(times.begin(), times.end()) || (code >> (2 * size)) != 0)
                continue;
            const std::string path = folder_.write("index", file(at_times(times)));
            for (query_->start_time = -1; query_->start_time <= 4; ++query_->start_time)
                for (query_->end_time = 0; query_->end_time <= 5; ++query_->end_time) {
                    std::vector<std::string> expected;
                    for (size_t i = 0; i < size; ++i)
                        if (times[i] >= query_->start_time && times[i] < query_->end_time)
                            expected.push_back(path_of(i));
                    list_ = empty_list();
                    ASSERT_EQ(SearchIndexEx(path.c_str(), query_.get(), list_.get()), 0);
                    ASSERT_EQ(paths(list_.get()), expected) << size << ' ' << code;
                }
        }
}

TEST_F(SearchTest, InAFileWithoutOrderTheBisectionDecidesWhereItBegins) {
    // All files of up to 5 records with times 0 to 2, sorted or not.
    for (size_t size = 0, codes = 1; size <= 5; ++size, codes *= 3)
        for (size_t code = 0; code < codes; ++code) {
            std::vector<int32_t> times;
            for (size_t i = 0, rest = code; i < size; ++i, rest /= 3)
                times.push_back(static_cast<int32_t>(rest % 3));
            const std::string path = folder_.write("index", file(at_times(times)));
            for (query_->start_time = 0; query_->start_time <= 3; ++query_->start_time) {
                std::vector<std::string> expected;
                for (size_t i = scan_start(times, query_->start_time); i < size; ++i)
                    if (times[i] >= query_->start_time)
                        expected.push_back(path_of(i));
                list_ = empty_list();
                ASSERT_EQ(SearchIndexEx(path.c_str(), query_.get(), list_.get()), 0);
                ASSERT_EQ(paths(list_.get()), expected) << size << ' ' << code;
            }
        }
}

TEST_F(SearchTest, RecordsBeforeTheBisectionsPlaceAreNotSeen) {
    // mid 2 (50 < 100: low 2), mid 3 (100: high 3), mid 2 again: record 0 is never looked at.
    EXPECT_THAT(found_between(100, 200, file(at_times({150, 60, 50, 100, 110}))), ElementsAre("p3", "p4"));
}

// --- The file's date ---

TEST_F(SearchTest, ADateBeyond2038HidesNoRecord) {
    const std::string path = folder_.write("index", file(at_times({50, 100})));
    date_beyond_2038(path);
    EXPECT_EQ(SearchIndexEx(path.c_str(), query_.get(), list_.get()), 0);
    EXPECT_THAT(paths(list_.get()), ElementsAre("p0", "p1"));
}

TEST(TestBreakHookTest, GivesZero) {
    EXPECT_EQ(test_break(), 0);
}

} // namespace
