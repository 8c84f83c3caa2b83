// The other libc's name for a locale, which the compiler's own header uses.
#pragma GCC system_header
#ifndef KMR_MUSL_CXX_LOCALE_H
#define KMR_MUSL_CXX_LOCALE_H
#include <locale.h>
typedef locale_t __locale_t;
#endif
#include_next <bits/c++locale.h>
