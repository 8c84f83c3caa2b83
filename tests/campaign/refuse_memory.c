/* Loaded in front of a program: its nth request for memory gets nothing, or that and every later one. The plan stands
 * in the variable REFUSE ("12", or "12+" for good; 0 refuses nothing). When a request has been refused there is a file
 * "refused" in the working directory. What the libraries ask for before the program's main() counts too.
 */
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

extern void* __libc_malloc(size_t size);
extern void* __libc_calloc(size_t count, size_t size);
extern void* __libc_realloc(void* memory, size_t size);
extern void* __libc_memalign(size_t alignment, size_t size);

static long remaining = -1; /* not read yet */
static int lasts;

static void read_plan(void) {
    const char* plan = getenv("REFUSE");
    remaining = 0;
    for (; plan != NULL && *plan >= '0' && *plan <= '9'; ++plan)
        remaining = remaining * 10 + (*plan - '0');
    lasts = plan != NULL && *plan == '+';
}

static int is_granted(void) {
    if (remaining < 0)
        read_plan();
    if (remaining == 0)
        return 1;
    if (remaining > 1) {
        --remaining;
        return 1;
    }
    if (!lasts)
        remaining = 0;
    const int file = open("refused", O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (file >= 0)
        close(file);
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
