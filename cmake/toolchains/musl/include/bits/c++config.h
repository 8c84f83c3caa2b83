// The compiler's own configuration without what this libc lacks.
#pragma GCC system_header
#include_next <bits/c++config.h>

#undef _GLIBCXX_HAVE_GETS
#undef _GLIBCXX_USE_PTHREAD_MUTEX_CLOCKLOCK
#undef _GLIBCXX_USE_PTHREAD_COND_CLOCKWAIT
#undef _GLIBCXX_USE_PTHREAD_RWLOCK_CLOCKLOCK
