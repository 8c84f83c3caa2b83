// What happens when there is no memory: the linker leads the library's allocations through here.
#include "tests/support/scratch.hpp"
#include "tests/vfslist16a/index_bytes.hpp"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

// How many allocations succeed before one fails.
static int allocations_left = std::numeric_limits<int>::max();

extern "C" {
void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size);
}

void* __wrap_malloc(size_t size) {
    if (allocations_left == 0)
        return nullptr;
    --allocations_left;
    return __real_malloc(size);
}

namespace {

using namespace index_bytes;
using testing::ElementsAre;

class no_memory {
public:
    explicit no_memory(int after) { allocations_left = after; }
    ~no_memory() { allocations_left = std::numeric_limits<int>::max(); }
    no_memory(const no_memory&) = delete;
    no_memory& operator=(const no_memory&) = delete;
};

TEST(WithoutMemoryTest, NoListIsMade) {
    const no_memory from_now_on(0);
    EXPECT_EQ(adt_dlist_create(4), nullptr);
}

TEST(WithoutMemoryTest, AListKeepsWhatItHas) {
    const list of = empty_list();
    const bytes first = record({.path = "first"});
    const bytes second = record({.path = "second"});
    adt_dlist_node* node = adt_dlist_add(of.get(), nullptr, first.data());
    {
        const no_memory from_now_on(0);
        EXPECT_EQ(adt_dlist_add(of.get(), nullptr, second.data()), nullptr);
        EXPECT_EQ(adt_dlist_add(of.get(), node, second.data()), nullptr);
        EXPECT_EQ(adt_dlist_insert(of.get(), nullptr, second.data()), nullptr);
        EXPECT_EQ(adt_dlist_insert(of.get(), node, second.data()), nullptr);
    }
    EXPECT_THAT(paths(of.get()), ElementsAre("first"));
}

TEST(WithoutMemoryTest, AnEmptyListStaysEmpty) {
    const list of = empty_list();
    const bytes element = record({});
    {
        const no_memory from_now_on(0);
        EXPECT_EQ(adt_dlist_add(of.get(), nullptr, element.data()), nullptr);
        EXPECT_EQ(adt_dlist_insert(of.get(), nullptr, element.data()), nullptr);
    }
    EXPECT_EQ(adt_dlist_empty(of.get()), 1);
    EXPECT_EQ(adt_dlist_size(of.get()), 0);
    EXPECT_EQ(adt_dlist_end(of.get()), nullptr);
}

TEST(WithoutMemoryTest, AQueryThatCannotStartLeavesItsBlockAsItIs) {
    const scratch::folder folder;
    const scratch::working_directory there(folder.path());
    folder.write("Index.dat", file(at_times({1, 2})));
    const auto query = open_query();
    std::memset(query->results, 0xAA, sizeof query->results);
    query->total = 7;
    query->returned = 8;
    const auto before = std::make_unique<rec_query_block>(*query);
    {
        const no_memory from_now_on(0);
        EXPECT_EQ(REC_QueryFiles(query.get()), 0);
    }
    EXPECT_EQ(std::memcmp(query.get(), before.get(), sizeof *query), 0);
    // The list of the search before is gone, and nothing took its place.
    query->page_index = 1;
    EXPECT_EQ(REC_QueryFiles(query.get()), 0);
    EXPECT_EQ(query->total, 0);
}

TEST(WithoutMemoryTest, AMatchThatDoesNotFitIsLeftOut) {
    const scratch::folder folder;
    const scratch::working_directory there(folder.path());
    folder.write("Index.dat", file(at_times({1, 2, 3})));
    const auto query = open_query();
    {
        const no_memory after(2); // the list and one node
        EXPECT_EQ(REC_QueryFiles(query.get()), 0);
    }
    EXPECT_EQ(query->total, 1);
    EXPECT_STREQ(query->results[0].file_path, "p0");
}

} // namespace
