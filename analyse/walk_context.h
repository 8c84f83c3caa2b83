/* What one call of the frame walk is given and gives back: seven words. */
#ifndef KMR_WALK_CONTEXT_H
#define KMR_WALK_CONTEXT_H

#include <assert.h>
#include <stdint.h>

typedef struct kmr_walk_context {
    uint32_t Results[4]; /* zero; word 2 goes back to the caller as the count */
    uint32_t Fourth;     /* the caller's fourth argument */
    uint32_t Position;   /* file offset at which the walk resumes, 0: the start of the file */
    uint32_t Third;      /* the caller's third argument */
} kmr_walk_context;

static_assert(sizeof(kmr_walk_context) == 28, "the walk context has seven words");

#endif
