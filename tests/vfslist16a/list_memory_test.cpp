// Lists in memory that is not zero when it comes.
#include "vfslist16a/dlist/adt_dlist.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <pthread.h>

namespace {

int blocks_in_use = 0;
int locks_in_use = 0;

} // namespace

// The linker leads the library's calls here.
extern "C" void* __real_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size) {
    void* const memory = __real_malloc(size);
    if (memory != nullptr) {
        std::memset(memory, 0xA5, size);
        ++blocks_in_use;
    }
    return memory;
}

extern "C" void __real_free(void* memory);
extern "C" void __wrap_free(void* memory) {
    blocks_in_use -= memory != nullptr ? 1 : 0;
    __real_free(memory);
}

extern "C" int __real_pthread_mutex_init(pthread_mutex_t* lock, const pthread_mutexattr_t* attributes);
extern "C" int __wrap_pthread_mutex_init(pthread_mutex_t* lock, const pthread_mutexattr_t* attributes) {
    ++locks_in_use;
    return __real_pthread_mutex_init(lock, attributes);
}

extern "C" int __real_pthread_mutex_destroy(pthread_mutex_t* lock);
extern "C" int __wrap_pthread_mutex_destroy(pthread_mutex_t* lock) {
    --locks_in_use;
    return __real_pthread_mutex_destroy(lock);
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

TEST(ListMemoryTest, AListGivesBackAllThatItTook) {
    const int blocks_before = blocks_in_use;
    const int locks_before = locks_in_use;
    adt_dlist* const list = adt_dlist_create(sizeof(int));
    const int element = 7;
    adt_dlist_node* const first = adt_dlist_add(list, nullptr, &element);
    adt_dlist_add(list, first, &element);
    const int blocks_held = blocks_in_use - blocks_before;
    const int locks_held = locks_in_use - locks_before;
    const int32_t done = adt_dlist_destroy(list);
    EXPECT_EQ(blocks_in_use, blocks_before);
    EXPECT_EQ(locks_in_use, locks_before);
    EXPECT_EQ(done, 1);
    EXPECT_EQ(blocks_held, 3);
    EXPECT_EQ(locks_held, 1);
}

} // namespace
