/* Requests for memory that get nothing. */
#ifndef TESTS_CONVERT_REFUSED_REQUESTS_H
#define TESTS_CONVERT_REFUSED_REQUESTS_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The nth request from now, counted from 1, and every later one where it is for good. */
void refuse_request(long nth, int for_good);

/* Whether one was refused. */
int refuse_no_more(void);

#ifdef __cplusplus
}
#endif

#endif
