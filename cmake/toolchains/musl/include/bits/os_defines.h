// Stands in front of the compiler's own header, which asks a macro of another libc for its version.
#ifndef _GLIBCXX_OS_DEFINES
#define _GLIBCXX_OS_DEFINES 1

#include <features.h>

#define __NO_CTYPE 1
#define _GLIBCXX_NO_OBSOLETE_ISINF_ISNAN_DYNAMIC 1
// All of the thread functions are in libc itself.
#define _GLIBCXX_NATIVE_THREAD_ID pthread_self()
#define _GLIBCXX_GTHREAD_USE_WEAK 0

#endif
