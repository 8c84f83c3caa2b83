// Lists in memory that is not zero when it comes.
#include "vfslist16a/dlist/adt_dlist.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

// The linker leads the library's calls here.
extern "C" void* __real_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size) {
    void* const memory = __real_malloc(size);
    if (memory != nullptr)
        std::memset(memory, 0xA5, size);
    return memory;
}

namespace {

TEST(ListMemoryTest, ANodeHasNoNeighboursButThoseThatItWasGiven) {
    adt_dlist* const list = adt_dlist_create(sizeof(int));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(adt_dlist_head(list), nullptr);
    EXPECT_EQ(adt_dlist_size(list), 0);
    const int element = 7;
    adt_dlist_node* const only = adt_dlist_add(list, nullptr, &element);
    ASSERT_NE(only, nullptr);
    EXPECT_EQ(adt_dlist_next(only), nullptr);
    EXPECT_EQ(adt_dlist_prev(only), nullptr);
    adt_dlist_node* const last = adt_dlist_add(list, only, &element);
    EXPECT_EQ(adt_dlist_next(last), nullptr);
    EXPECT_EQ(adt_dlist_prev(only), nullptr);
    adt_dlist_node* const first = adt_dlist_insert(list, only, &element);
    EXPECT_EQ(adt_dlist_prev(first), nullptr);
    EXPECT_EQ(adt_dlist_next(first), only);
    EXPECT_EQ(adt_dlist_destroy(list), 1);
}

} // namespace
