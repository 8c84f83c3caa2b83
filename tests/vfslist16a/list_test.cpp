#include "vfslist16a/dlist/adt_dlist.h"

#include <cstdint>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ListTest : public testing::Test {
protected:
    ListTest() : list_(adt_dlist_create(sizeof(int))) {}
    ~ListTest() override { adt_dlist_destroy(list_); }

    adt_dlist_node* add(adt_dlist_node* at, int element) { return adt_dlist_add(list_, at, &element); }
    adt_dlist_node* insert(adt_dlist_node* at, int element) { return adt_dlist_insert(list_, at, &element); }

    static int at(adt_dlist_node* node) {
        int element;
        std::memcpy(&element, adt_dlist_getdata(node), sizeof element);
        return element;
    }

    // From the head on; the way back must be the same.
    std::vector<int> elements() const {
        std::vector<int> all;
        adt_dlist_node* before = nullptr;
        for (adt_dlist_node* node = adt_dlist_head(list_); node != nullptr; node = adt_dlist_next(node)) {
            EXPECT_EQ(adt_dlist_prev(node), before);
            all.push_back(at(node));
            before = node;
        }
        EXPECT_EQ(adt_dlist_size(list_), static_cast<int>(all.size()));
        EXPECT_EQ(adt_dlist_empty(list_), all.empty() ? 1 : 0);
        if (!all.empty()) {
            EXPECT_EQ(adt_dlist_end(list_), before);
        }
        return all;
    }

    adt_dlist* list_;
};

TEST_F(ListTest, ANewListIsEmpty) {
    EXPECT_EQ(adt_dlist_head(list_), nullptr);
    EXPECT_EQ(adt_dlist_end(list_), nullptr);
    EXPECT_EQ(adt_dlist_size(list_), 0);
    EXPECT_EQ(adt_dlist_empty(list_), 1);
}

TEST_F(ListTest, TheFirstElementIsHeadAndEnd) {
    adt_dlist_node* added = add(nullptr, 1);
    EXPECT_EQ(adt_dlist_head(list_), added);
    EXPECT_EQ(adt_dlist_end(list_), added);
    EXPECT_EQ(adt_dlist_next(added), nullptr);
    EXPECT_EQ(adt_dlist_prev(added), nullptr);
    EXPECT_THAT(elements(), ElementsAre(1));
}

TEST_F(ListTest, TheFirstInsertedElementIsHeadAndEnd) {
    adt_dlist_node* inserted = insert(nullptr, 1);
    EXPECT_EQ(adt_dlist_head(list_), inserted);
    EXPECT_EQ(adt_dlist_end(list_), inserted);
    EXPECT_THAT(elements(), ElementsAre(1));
}

TEST_F(ListTest, AddingAfterNothingAppends) {
    add(nullptr, 1);
    add(nullptr, 2);
    add(nullptr, 9);
    EXPECT_THAT(elements(), ElementsAre(1, 2, 9));
}

TEST_F(ListTest, InsertingBeforeNothingPrepends) {
    add(nullptr, 1);
    add(nullptr, 2);
    insert(nullptr, 9);
    EXPECT_THAT(elements(), ElementsAre(9, 1, 2));
}

TEST_F(ListTest, AddsAfterTheHead) {
    adt_dlist_node* head = add(nullptr, 1);
    add(nullptr, 2);
    EXPECT_EQ(at(add(head, 9)), 9);
    EXPECT_THAT(elements(), ElementsAre(1, 9, 2));
}

TEST_F(ListTest, AddsAfterTheTail) {
    add(nullptr, 1);
    adt_dlist_node* tail = add(nullptr, 2);
    add(tail, 9);
    EXPECT_THAT(elements(), ElementsAre(1, 2, 9));
}

TEST_F(ListTest, InsertsBeforeTheTail) {
    add(nullptr, 1);
    adt_dlist_node* tail = add(nullptr, 2);
    insert(tail, 9);
    EXPECT_THAT(elements(), ElementsAre(1, 9, 2));
}

TEST_F(ListTest, InsertsBeforeTheHead) {
    adt_dlist_node* head = add(nullptr, 1);
    add(nullptr, 2);
    insert(head, 9);
    EXPECT_THAT(elements(), ElementsAre(9, 1, 2));
}

TEST_F(ListTest, AddsAndInsertsInTheMiddle) {
    add(nullptr, 1);
    adt_dlist_node* middle = add(nullptr, 2);
    add(nullptr, 3);
    add(middle, 8);
    insert(middle, 7);
    EXPECT_THAT(elements(), ElementsAre(1, 7, 2, 8, 3));
}

TEST_F(ListTest, DeletesTheHead) {
    adt_dlist_node* head = add(nullptr, 1);
    add(nullptr, 2);
    add(nullptr, 3);
    EXPECT_EQ(adt_dlist_delete(list_, head), 1);
    EXPECT_THAT(elements(), ElementsAre(2, 3));
}

TEST_F(ListTest, DeletesTheTail) {
    add(nullptr, 1);
    add(nullptr, 2);
    adt_dlist_node* tail = add(nullptr, 3);
    EXPECT_EQ(adt_dlist_delete(list_, tail), 1);
    EXPECT_THAT(elements(), ElementsAre(1, 2));
}

TEST_F(ListTest, DeletesInTheMiddle) {
    add(nullptr, 1);
    adt_dlist_node* middle = add(nullptr, 2);
    add(nullptr, 3);
    EXPECT_EQ(adt_dlist_delete(list_, middle), 1);
    EXPECT_THAT(elements(), ElementsAre(1, 3));
}

TEST_F(ListTest, DeletingTheOnlyNodeLeavesAnEmptyListWithItsTail) {
    adt_dlist_node* only = add(nullptr, 1);
    const auto address = reinterpret_cast<uintptr_t>(only);
    EXPECT_EQ(adt_dlist_delete(list_, only), 1);
    EXPECT_EQ(adt_dlist_head(list_), nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(adt_dlist_end(list_)), address);
    EXPECT_EQ(adt_dlist_size(list_), 0);
    EXPECT_EQ(adt_dlist_empty(list_), 1);
}

TEST_F(ListTest, AListThatWasEmptiedStartsAfresh) {
    adt_dlist_delete(list_, add(nullptr, 1));
    add(nullptr, 2);
    EXPECT_THAT(elements(), ElementsAre(2));
    add(nullptr, 3);
    EXPECT_THAT(elements(), ElementsAre(2, 3));
    adt_dlist_delete(list_, adt_dlist_head(list_));
    adt_dlist_delete(list_, adt_dlist_head(list_));
    EXPECT_THAT(elements(), IsEmpty());
    insert(nullptr, 4);
    EXPECT_THAT(elements(), ElementsAre(4));
}

TEST_F(ListTest, KeepsACopyOfTheElement) {
    int element = 1;
    adt_dlist_node* node = adt_dlist_add(list_, nullptr, &element);
    element = 2;
    EXPECT_EQ(at(node), 1);
}

TEST_F(ListTest, GivesTheElementItself) {
    adt_dlist_node* node = add(nullptr, 1);
    *static_cast<int*>(adt_dlist_getdata(node)) = 5;
    EXPECT_THAT(elements(), ElementsAre(5));
}

TEST(ListElementsTest, MayHaveAnySize) {
    for (const uint32_t size : {0u, 1u, 3u, 184u, 4096u}) {
        const std::string element(size, 'e');
        adt_dlist* of = adt_dlist_create(size);
        adt_dlist_node* node = adt_dlist_add(of, nullptr, element.data());
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(std::string(static_cast<char*>(adt_dlist_getdata(node)), size), element);
        // In one allocation, right behind the two links.
        EXPECT_EQ(static_cast<char*>(adt_dlist_getdata(node)),
                  reinterpret_cast<char*>(node) + 2 * sizeof(void*));
        EXPECT_EQ(adt_dlist_destroy(of), 1);
    }
}

TEST(ListOfNothingTest, IsHarmless) {
    const int element = 1;
    EXPECT_EQ(adt_dlist_destroy(nullptr), 0);
    EXPECT_EQ(adt_dlist_add(nullptr, nullptr, &element), nullptr);
    EXPECT_EQ(adt_dlist_insert(nullptr, nullptr, &element), nullptr);
    EXPECT_EQ(adt_dlist_head(nullptr), nullptr);
    EXPECT_EQ(adt_dlist_end(nullptr), nullptr);
    EXPECT_EQ(adt_dlist_next(nullptr), nullptr);
    EXPECT_EQ(adt_dlist_prev(nullptr), nullptr);
    EXPECT_EQ(adt_dlist_size(nullptr), 0);
    EXPECT_EQ(adt_dlist_empty(nullptr), 1);
    adt_dlist_lock(nullptr);
    adt_dlist_unlock(nullptr);
    adt_dlist_lock_init(nullptr);
    adt_dlist_lock_uninit(nullptr);
}

TEST_F(ListTest, DeletingNothingChangesNothing) {
    adt_dlist_node* node = add(nullptr, 1);
    EXPECT_EQ(adt_dlist_delete(nullptr, node), 0);
    EXPECT_EQ(adt_dlist_delete(list_, nullptr), 0);
    EXPECT_EQ(adt_dlist_delete(nullptr, nullptr), 0);
    EXPECT_THAT(elements(), ElementsAre(1));
}

TEST_F(ListTest, TheLockIsTheCallersAlone) {
    adt_dlist_lock(list_);
    add(nullptr, 1); // the list's own operations take no lock
    EXPECT_NE(pthread_mutex_trylock(&list_->lock), 0);
    adt_dlist_unlock(list_);
    EXPECT_EQ(pthread_mutex_trylock(&list_->lock), 0);
    adt_dlist_unlock(list_);
}

TEST_F(ListTest, ThreadsThatLockShareAList) {
    const auto append_many = [&] {
        for (int i = 0; i < 1000; ++i) {
            adt_dlist_lock(list_);
            add(nullptr, i);
            adt_dlist_unlock(list_);
        }
    };
    std::thread first(append_many);
    std::thread second(append_many);
    first.join();
    second.join();
    EXPECT_EQ(elements().size(), 2000u);
}

} // namespace
