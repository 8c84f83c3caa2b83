// A program with a test_break of its own, as the library lets it have one.
#include "tests/support/scratch.hpp"
#include "tests/vfslist16a/index_bytes.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

static int break_calls;
static int break_result;

int32_t test_break() {
    ++break_calls;
    return break_result;
}

namespace {

using namespace index_bytes;
using testing::ElementsAre;

class HookTest : public testing::Test {
protected:
    HookTest() : query_(open_query()), list_(empty_list()) { break_calls = break_result = 0; }

    void search(const std::vector<entry>& entries) {
        const std::string path = folder_.write("index", file(entries));
        EXPECT_EQ(SearchIndexEx(path.c_str(), query_.get(), list_.get()), 0);
    }

    scratch::folder folder_;
    std::unique_ptr<rec_query_block> query_;
    list list_;
};

TEST_F(HookTest, IsCalledBeforeTimeAndKindAreLookedAt) {
    query_->start_time = 5;
    query_->end_time = 6;
    query_->kind_filter = 9;
    search({{.time = 9}, {.time = 5, .kind = 9}, {.time = 5, .kind = 8}, {.time = 6}});
    // The bisection begins at record 0 here: mid 2, 1, 0.
    EXPECT_EQ(break_calls, 4);
    EXPECT_EQ(adt_dlist_size(list_.get()), 1);
}

TEST_F(HookTest, IsNotCalledForOtherFileTypesAndChannels) {
    query_->file_type_filter = 1;
    query_->channel_filter = 3;
    search({{.time = 1, .name = "a.jpg", .channel = 3},
            {.time = 2, .name = "a.kmr", .channel = 4},
            {.time = 3, .name = "a.kmr", .channel = 3}});
    EXPECT_EQ(break_calls, 1);
}

TEST_F(HookTest, DoesNotEndTheSearch) {
    break_result = 1;
    search(at_times({1, 2, 3}));
    EXPECT_EQ(break_calls, 3);
    EXPECT_THAT(paths(list_.get()), ElementsAre("p0", "p1", "p2"));
}

// The one query of this program.
TEST(QueryBeforeAnySearchTest, AnotherPageThanTheFirstIsEmpty) {
    const auto query = open_query();
    query->page_index = 1;
    query->total = 9;
    query->returned = 9;
    EXPECT_EQ(REC_QueryFiles(query.get()), 0);
    EXPECT_EQ(query->total, 0);
    EXPECT_EQ(query->returned, 0);
}

} // namespace
