/* What the compiled C++ library expects of its own libc and musl 1.2.3 does not have. Only test programs use it. */
#define _GNU_SOURCE
#include <locale.h>
#include <stdlib.h>
#include <string.h>
#include <sys/random.h>
#include <time.h>

/* Zero: count references as if other threads were there, which is always right. */
char __libc_single_threaded = 0;

unsigned arc4random(void) {
    unsigned value = 0;
    if (getrandom(&value, sizeof value, 0) != sizeof value)
        abort();
    return value;
}

size_t __strftime_l(char* text, size_t size, const char* format, const struct tm* time, locale_t locale) {
    return strftime_l(text, size, format, time, locale);
}

/* The library looks into a locale for the tables of character classes, at the places where its own libc has them.
 * Musl's locale is the first 6 words of this; it has no tables, but keeps them elsewhere. */
enum { MUSL_LOCALE_WORDS = 6 };

struct locale_with_tables {
    void* categories[13];
    const unsigned short* classes;
    const int* to_lower;
    const int* to_upper;
    const char* names[13];
};

const unsigned short** __ctype_b_loc(void);
const int** __ctype_tolower_loc(void);
const int** __ctype_toupper_loc(void);

void* __newlocale(int categories, const char* name, void* base) {
    (void)base;
    locale_t musl_locale = newlocale(categories, name, NULL);
    if (musl_locale == NULL)
        return NULL;
    struct locale_with_tables* made = calloc(1, sizeof *made);
    if (made != NULL) {
        memcpy(made->categories, musl_locale, MUSL_LOCALE_WORDS * sizeof(void*));
        made->classes = *__ctype_b_loc();
        made->to_lower = *__ctype_tolower_loc();
        made->to_upper = *__ctype_toupper_loc();
    }
    freelocale(musl_locale);
    return made;
}

void* __duplocale(const void* locale) {
    void* copy = malloc(sizeof(struct locale_with_tables));
    if (copy != NULL)
        memcpy(copy, locale, sizeof(struct locale_with_tables));
    return copy;
}

void __freelocale(void* locale) {
    free(locale);
}
