/* Stands in place of the C library's memory for all of a test program, libraries that it loads included. */
#include "tests/convert/refused_requests.h"

#include <errno.h>

extern void* __libc_malloc(size_t size);
extern void* __libc_calloc(size_t count, size_t size);
extern void* __libc_realloc(void* memory, size_t size);
extern void* __libc_memalign(size_t alignment, size_t size);

static long remaining;
static int lasts;
static int refused;

void refuse_request(long nth, int for_good) {
    remaining = nth;
    lasts = for_good;
    refused = 0;
}

int refuse_no_more(void) {
    remaining = 0;
    return refused;
}

static int is_granted(void) {
    if (remaining == 0)
        return 1;
    if (remaining > 1) {
        --remaining;
        return 1;
    }
    if (!lasts)
        remaining = 0;
    refused = 1;
    errno = ENOMEM;
    return 0;
}

void* malloc(size_t size) {
    return is_granted() ? __libc_malloc(size) : NULL;
}

void* calloc(size_t count, size_t size) {
    return is_granted() ? __libc_calloc(count, size) : NULL;
}

void* realloc(void* memory, size_t size) {
    return is_granted() ? __libc_realloc(memory, size) : NULL;
}

void* aligned_alloc(size_t alignment, size_t size) {
    return is_granted() ? __libc_memalign(alignment, size) : NULL;
}

int posix_memalign(void** memory, size_t alignment, size_t size) {
    if (!is_granted())
        return ENOMEM;
    *memory = __libc_memalign(alignment, size);
    return *memory == NULL ? ENOMEM : 0;
}
