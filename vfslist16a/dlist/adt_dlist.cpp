#include "vfslist16a/dlist/adt_dlist.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace {

// A node without neighbours; null without memory.
adt_dlist_node* make_node(size_t element_size, const void* element) {
    constexpr size_t most = SIZE_MAX - sizeof(adt_dlist_node);
    if (element_size > most) // uncovered: the sum fits where a size_t has 64 bits
        return nullptr;      // uncovered: the sum fits where a size_t has 64 bits
    auto* node = static_cast<adt_dlist_node*>(std::malloc(sizeof(adt_dlist_node) + element_size));
    if (node == nullptr)
        return nullptr;
    node->next = nullptr;
    node->prev = nullptr;
    std::memcpy(adt_dlist_getdata(node), element, element_size);
    return node;
}

// Makes the two neighbours; either may be null.
void join(adt_dlist_node* left, adt_dlist_node* right) {
    if (left != nullptr)
        left->next = right;
    if (right != nullptr)
        right->prev = left;
}

} // namespace

adt_dlist* adt_dlist_create(uint32_t element_size) {
    auto* list = static_cast<adt_dlist*>(std::malloc(sizeof(adt_dlist)));
    if (list == nullptr)
        return nullptr;
    list->head = nullptr;
    list->tail = nullptr;
    list->element_size = element_size;
    list->count = 0;
    adt_dlist_lock_init(list);
    return list;
}

int32_t adt_dlist_destroy(adt_dlist* list) {
    if (list == nullptr)
        return 0;
    for (adt_dlist_node* node = list->head; node != nullptr;) {
        adt_dlist_node* next = node->next;
        std::free(node);
        node = next;
    }
    adt_dlist_lock_uninit(list);
    std::free(list);
    return 1;
}

adt_dlist_node* adt_dlist_add(adt_dlist* list, adt_dlist_node* at, const void* element) {
    adt_dlist_node* node = list == nullptr ? nullptr : make_node(list->element_size, element);
    if (node == nullptr)
        return nullptr;
    if (list->head == nullptr) {
        list->head = node;
        list->tail = node;
    } else if (at == nullptr || at == list->tail) {
        join(list->tail, node);
        list->tail = node;
    } else {
        join(node, at->next);
        join(at, node);
    }
    ++list->count;
    return node;
}

adt_dlist_node* adt_dlist_insert(adt_dlist* list, adt_dlist_node* at, const void* element) {
    adt_dlist_node* node = list == nullptr ? nullptr : make_node(list->element_size, element);
    if (node == nullptr)
        return nullptr;
    if (list->head == nullptr) {
        list->head = node;
        list->tail = node;
    } else if (at == nullptr || at == list->head) {
        join(node, list->head);
        list->head = node;
    } else {
        join(at->prev, node);
        join(node, at);
    }
    ++list->count;
    return node;
}

int32_t adt_dlist_delete(adt_dlist* list, adt_dlist_node* node) {
    if (list == nullptr || node == nullptr)
        return 0;
    if (node == list->head) {
        // The tail stays as it is even when this was the only node: an empty head is what makes a list empty.
        list->head = node->next;
        join(nullptr, node->next);
    } else if (node == list->tail) {
        list->tail = node->prev;
        join(node->prev, nullptr);
    } else {
        join(node->prev, node->next);
    }
    std::free(node);
    --list->count;
    return 1;
}

adt_dlist_node* adt_dlist_head(const adt_dlist* list) {
    return list == nullptr ? nullptr : list->head;
}

adt_dlist_node* adt_dlist_end(const adt_dlist* list) {
    return list == nullptr ? nullptr : list->tail;
}

adt_dlist_node* adt_dlist_next(const adt_dlist_node* node) {
    return node == nullptr ? nullptr : node->next;
}

adt_dlist_node* adt_dlist_prev(const adt_dlist_node* node) {
    return node == nullptr ? nullptr : node->prev;
}

int32_t adt_dlist_size(const adt_dlist* list) {
    return list == nullptr ? 0 : list->count;
}

int32_t adt_dlist_empty(const adt_dlist* list) {
    return list == nullptr || list->head == nullptr ? 1 : 0;
}

void* adt_dlist_getdata(adt_dlist_node* node) {
    return node + 1;
}

void adt_dlist_lock(adt_dlist* list) {
    if (list != nullptr)
        pthread_mutex_lock(&list->lock);
}

void adt_dlist_unlock(adt_dlist* list) {
    if (list != nullptr)
        pthread_mutex_unlock(&list->lock);
}

void adt_dlist_lock_init(adt_dlist* list) {
    if (list != nullptr)
        pthread_mutex_init(&list->lock, nullptr);
}

void adt_dlist_lock_uninit(adt_dlist* list) {
    if (list != nullptr)
        pthread_mutex_destroy(&list->lock);
}
