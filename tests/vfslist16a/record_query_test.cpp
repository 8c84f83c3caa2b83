#include "tests/support/scratch.hpp"
#include "tests/vfslist16a/index_bytes.hpp"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace index_bytes;
using testing::ElementsAre;

class QueryTest : public testing::Test {
protected:
    QueryTest() : working_directory_(folder_.path()), block_(open_query()) {}
    ~QueryTest() override {
        g_iUsbNum = 10;
        // The next test starts without matches.
        std::filesystem::remove(folder_.file("Index.dat"));
        block_->page_index = 0;
        REC_QueryFiles(block_.get());
    }

    void index(const std::vector<entry>& entries) { folder_.write("Index.dat", file(entries)); }

    std::vector<std::string> run() {
        EXPECT_EQ(REC_QueryFiles(block_.get()), 0);
        EXPECT_EQ(block_->returned, 0);
        std::vector<std::string> all;
        for (int32_t i = 0; i < block_->total; ++i)
            all.emplace_back(block_->results[i].file_path);
        return all;
    }

    static std::string tool(const char* a, const char* b) {
        testing::internal::CaptureStdout();
        zn_cmd_Store_QueryForTool(a, b);
        return testing::internal::GetCapturedStdout();
    }

    scratch::folder folder_;
    scratch::working_directory working_directory_;
    std::unique_ptr<rec_query_block> block_;
};

// --- REC_QueryFiles ---

TEST_F(QueryTest, GivesAllMatchesOfTheIndexInTheWorkingDirectory) {
    index(at_times({50, 100, 150, 200}));
    block_->start_time = 100;
    block_->end_time = 200;
    EXPECT_THAT(run(), ElementsAre("p1", "p2"));
    EXPECT_EQ(block_->total, 2);
}

TEST_F(QueryTest, ResultsAreWholeRecordsAndNoneBehindThemIsWritten) {
    index(at_times({1, 2}));
    std::memset(block_->results, 0xAA, sizeof block_->results);
    block_->total = -5;
    block_->returned = -6;
    block_->reserved[0] = 77;
    block_->reserved[1] = 78;
    run();
    EXPECT_EQ(block_->total, 2);
    const bytes expected = record({.time = 2, .path = "p1"});
    EXPECT_EQ(std::memcmp(&block_->results[1], expected.data(), 184), 0);
    const bytes untouched(184, 0xAA);
    EXPECT_EQ(std::memcmp(&block_->results[2], untouched.data(), 184), 0);
    EXPECT_EQ(std::memcmp(&block_->results[2999], untouched.data(), 184), 0);
    EXPECT_EQ(block_->reserved[0], 77);
    EXPECT_EQ(block_->reserved[1], 78);
}

TEST_F(QueryTest, TheQuestionIsNotChanged) {
    index(at_times({1, 2}));
    const int32_t question[7] = {255, 255, 1, 2, 0, 17, 1};
    std::memcpy(static_cast<void*>(block_.get()), question, sizeof question);
    run();
    EXPECT_EQ(std::memcmp(block_.get(), question, sizeof question), 0);
}

TEST_F(QueryTest, AMissingIndexHasNoMatches) {
    block_->total = 9;
    block_->returned = 9;
    EXPECT_THAT(run(), ElementsAre());
    EXPECT_EQ(block_->total, 0);
}

TEST_F(QueryTest, PagingHasNoEffect) {
    index(at_times({1, 2, 3}));
    block_->page_size = 2;
    EXPECT_THAT(run(), ElementsAre("p0", "p1", "p2"));
}

TEST_F(QueryTest, AnotherPageGivesTheMatchesOfTheSearchBefore) {
    index(at_times({1, 2, 3}));
    block_->start_time = 2;
    run();
    index(at_times({7, 8, 9, 10, 11}));
    for (const int32_t page : {1, 2, -1, 2147483647}) {
        block_ = open_query();
        block_->page_index = page;
        block_->page_size = 2147483647;
        EXPECT_THAT(run(), ElementsAre("p1", "p2"));
    }
}

TEST_F(QueryTest, PageZeroSearchesAgain) {
    index(at_times({1, 2, 3}));
    run();
    index(at_times({7}));
    EXPECT_THAT(run(), ElementsAre("p0"));
    std::filesystem::remove(folder_.file("Index.dat"));
    EXPECT_THAT(run(), ElementsAre());
}

TEST_F(QueryTest, WithoutAUsbDiskNothingIsSearched) {
    index(at_times({1}));
    for (const int32_t disks : {0, -1}) {
        g_iUsbNum = disks;
        EXPECT_THAT(run(), ElementsAre());
        EXPECT_EQ(block_->total, 0);
    }
    g_iUsbNum = 1;
    EXPECT_THAT(run(), ElementsAre("p0"));
}

TEST_F(QueryTest, WithoutAUsbDiskTheMatchesBeforeAreGone) {
    index(at_times({1}));
    run();
    g_iUsbNum = 0;
    run();
    block_->page_index = 1;
    EXPECT_THAT(run(), ElementsAre());
}

TEST_F(QueryTest, TenUsbDisksAreTheDefault) {
    EXPECT_EQ(g_iUsbNum, 10);
}

TEST_F(QueryTest, OnlyTheFirst3000MatchesFit) {
    index(at_times(std::vector<int32_t>(3005, 4)));
    block_->reserved[0] = 77;
    EXPECT_EQ(REC_QueryFiles(block_.get()), 0);
    EXPECT_EQ(block_->total, 3005);
    EXPECT_EQ(block_->returned, 0);
    EXPECT_EQ(block_->reserved[0], 77);
    EXPECT_STREQ(block_->results[0].file_path, "p0");
    EXPECT_STREQ(block_->results[2999].file_path, "p2999");
}

TEST_F(QueryTest, Exactly3000MatchesFit) {
    index(at_times(std::vector<int32_t>(3000, 4)));
    EXPECT_EQ(run().size(), 3000u);
    EXPECT_STREQ(block_->results[2999].file_path, "p2999");
}

TEST_F(QueryTest, LeavesNoFileOpen) {
    index(at_times({1, 2}));
    const int before = scratch::open_descriptors();
    run();
    EXPECT_EQ(scratch::open_descriptors(), before);
}

// --- The tool ---

TEST_F(QueryTest, TheToolPrintsOnePathPerMatch) {
    index({{.time = 50, .path = "2015/a.kmr"},
           {.time = 100, .path = "2015/b.kmr"},
           {.time = 150, .path = "2015/c.kmr"},
           {.time = 200, .path = "2015/d.kmr"}});
    EXPECT_EQ(tool("100", "200"), "/dev/mmcblk0p2/2015/b.kmr\n"
                                  "/dev/mmcblk0p2/2015/c.kmr\n");
}

TEST_F(QueryTest, TheToolPrintsVideosOfAllChannelsAndKinds) {
    index({{.time = 1, .path = "a", .channel = 0, .kind = 0},
           {.time = 2, .path = "b", .name = "x.jpg"},
           {.time = 3, .path = "c.jpg", .channel = 254, .kind = 255}});
    EXPECT_EQ(tool("0", "10"), "/dev/mmcblk0p2/a\n/dev/mmcblk0p2/c.jpg\n");
}

TEST_F(QueryTest, TheToolPrintsNothingWithoutMatches) {
    EXPECT_EQ(tool("0", "10"), "");
    index(at_times({20}));
    EXPECT_EQ(tool("0", "10"), "");
    g_iUsbNum = 0;
    EXPECT_EQ(tool("0", "100"), "");
}

TEST_F(QueryTest, TheToolReadsNumbersAsFarAsTheyGo) {
    index(at_times({-5, 0, 7, 12}));
    EXPECT_EQ(tool("", "x"), "");                                                         // 0, 0
    EXPECT_EQ(tool("abc", "1"), "/dev/mmcblk0p2/p1\n");                                   // 0, 1
    EXPECT_EQ(tool(" \t7 then", "12,5"), "/dev/mmcblk0p2/p2\n");                          // 7, 12
    EXPECT_EQ(tool("-5", "+1"), "/dev/mmcblk0p2/p0\n/dev/mmcblk0p2/p1\n");                // -5, 1
    EXPECT_EQ(tool("0x7", "010"), "/dev/mmcblk0p2/p1\n/dev/mmcblk0p2/p2\n");              // 0, 10
    EXPECT_EQ(tool("-2147483648", "2147483647"), "/dev/mmcblk0p2/p0\n/dev/mmcblk0p2/p1\n" //
                                                 "/dev/mmcblk0p2/p2\n/dev/mmcblk0p2/p3\n");
}

TEST_F(QueryTest, TheToolTakesNumbersBeyond32BitsForTheNearest) {
    index(at_times({-2147483647 - 1, 0, 2147483646, 2147483647}));
    EXPECT_EQ(tool("0", "99999999999"), "/dev/mmcblk0p2/p1\n/dev/mmcblk0p2/p2\n");
    EXPECT_EQ(tool("-99999999999", "1"), "/dev/mmcblk0p2/p0\n/dev/mmcblk0p2/p1\n");
}

TEST_F(QueryTest, TheToolEndsAPathWithItsField) {
    const std::string whole(68, 'w');
    index({{.time = 1, .path = whole}, {.time = 2, .path = "next"}, {.time = 3, .path = ""}});
    EXPECT_EQ(tool("0", "10"), "/dev/mmcblk0p2/" + whole + "\n/dev/mmcblk0p2/next\n/dev/mmcblk0p2/\n");
}

TEST_F(QueryTest, TheToolPrintsTheFirst3000Matches) {
    index(at_times(std::vector<int32_t>(3001, 4)));
    std::string expected;
    for (size_t i = 0; i < 3000; ++i)
        expected.append("/dev/mmcblk0p2/").append(path_of(i)).append("\n");
    EXPECT_EQ(tool("0", "10"), expected);
}

TEST_F(QueryTest, TheToolStartsANewSearchEachTime) {
    index(at_times({1}));
    EXPECT_EQ(tool("0", "10"), "/dev/mmcblk0p2/p0\n");
    EXPECT_EQ(tool("0", "10"), "/dev/mmcblk0p2/p0\n");
    EXPECT_EQ(tool("5", "10"), "");
}

} // namespace
