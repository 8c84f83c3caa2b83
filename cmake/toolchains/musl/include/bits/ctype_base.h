// The bits of the other libc's character table, which the compiled C++ library reads; this libc keeps a table of the
// same form for it (libstdcxx_on_musl.c hands it over).
#pragma GCC system_header
#ifndef KMR_MUSL_CTYPE_BASE_H
#define KMR_MUSL_CTYPE_BASE_H
enum {
    _ISblank = 1,
    _IScntrl = 1 << 1,
    _ISpunct = 1 << 2,
    _ISalnum = 1 << 3,
    _ISupper = 1 << 8,
    _ISlower = 1 << 9,
    _ISalpha = 1 << 10,
    _ISdigit = 1 << 11,
    _ISxdigit = 1 << 12,
    _ISspace = 1 << 13,
    _ISprint = 1 << 14,
    _ISgraph = 1 << 15,
};
#endif
#include_next <bits/ctype_base.h>
