// Alone in its file, so that a program may bring a test_break of its own.
#include "vfslist16a/record_query.h"

int32_t test_break() {
    return 0;
}
