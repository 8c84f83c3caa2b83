// Whether the process has but one thread, as far as the C library tells. Then nobody else can be inside of a call, and
// nobody can come in before it returns. Threads that were made behind the C library's back (a bare clone()) are not seen.
#pragma once

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

namespace kmr::plain {

inline bool has_one_thread() {
#if __has_include(<sys/single_threaded.h>)
    return __libc_single_threaded != 0;
#else
    return false;
#endif
}

} // namespace kmr::plain
