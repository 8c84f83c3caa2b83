/* A doubly linked list of elements of one size. Each node holds a copy of the caller's element.
 *
 * The operations do not lock. Callers that share a list bracket theirs with adt_dlist_lock and
 * adt_dlist_unlock. A node belongs to its list and is valid until it is deleted or the list destroyed. That a
 * node is in the list it is used with is not checked.
 */
#ifndef KMR_ADT_DLIST_H
#define KMR_ADT_DLIST_H

#include <pthread.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The links of a node; the element's bytes follow them in the same allocation. */
typedef struct adt_dlist_node {
    struct adt_dlist_node* next;
    struct adt_dlist_node* prev;
} adt_dlist_node;

typedef struct adt_dlist {
    adt_dlist_node* head; /* null: the list is empty */
    adt_dlist_node* tail; /* means nothing while head is null: it may point to a node that is gone */
    uint32_t element_size;
    int32_t count;
    pthread_mutex_t lock; /* the caller's, see adt_dlist_lock */
} adt_dlist;

/* A new empty list, which the caller hands to adt_dlist_destroy; null without memory. */
adt_dlist* adt_dlist_create(uint32_t element_size);
/* Frees all nodes and the list. 1, or 0 for a null list. The list must not be locked. */
int32_t adt_dlist_destroy(adt_dlist* list);

/* Put a copy of the `element_size` bytes at `element` after or before the node `at`; with `at` null, at the
 * end or at the beginning. The new node; null for a null list or without memory, the list is then unchanged.
 */
adt_dlist_node* adt_dlist_add(adt_dlist* list, adt_dlist_node* at, const void* element);
adt_dlist_node* adt_dlist_insert(adt_dlist* list, adt_dlist_node* at, const void* element);

/* Takes the node out and frees it. 1, or 0 when an argument is null. */
int32_t adt_dlist_delete(adt_dlist* list, adt_dlist_node* node);

/* The first and the last node; null for a null list. Whether a list has a last node its head tells: once the
 * only node is deleted, adt_dlist_end still gives its address. */
adt_dlist_node* adt_dlist_head(const adt_dlist* list);
adt_dlist_node* adt_dlist_end(const adt_dlist* list);

/* The neighbours of a node; null at the ends and for a null node. */
adt_dlist_node* adt_dlist_next(const adt_dlist_node* node);
adt_dlist_node* adt_dlist_prev(const adt_dlist_node* node);

/* Number of nodes; 0 for a null list. */
int32_t adt_dlist_size(const adt_dlist* list);
/* 1 for an empty or null list, else 0. */
int32_t adt_dlist_empty(const adt_dlist* list);

/* The element's bytes, aligned for pointers; `node` must not be null. */
void* adt_dlist_getdata(adt_dlist_node* node);

/* Take and release the list's mutex; nothing for a null list. */
void adt_dlist_lock(adt_dlist* list);
void adt_dlist_unlock(adt_dlist* list);

/* Make and destroy that mutex, as adt_dlist_create and adt_dlist_destroy do; nothing for a null list. */
void adt_dlist_lock_init(adt_dlist* list);
void adt_dlist_lock_uninit(adt_dlist* list);

#ifdef __cplusplus
}
#endif

#endif
