/* Loaded in front of a program: something happens at its nth call that changes a file. The plan stands in CALL:
 *   12:kill    the program is killed in front of the call
 *   12:half    a write is killed when half of its sectors are done; any other call as `kill`
 *   12:int     an interrupt arrives in front of the call, which is made
 *   12:5       the call fails with this errno, and 12+:5 every later one too
 * With COUNT the numbers of bytes read and written come into the file "counted", when the program ends.
 * Opening counts where a file is made. When it has happened there is a file "happened" in the working directory.
 */
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

enum { sector = 512 };
enum event { nothing, kill_before, kill_half, interrupt, fail };

static long left = -1; /* not read yet */
static int lasts;
static enum event what;
static int error_number;

static void read_plan(void) {
    const char* const plan = getenv("CALL");
    left = plan == NULL ? 0 : strtol(plan, NULL, 10);
    const char* const colon = plan == NULL ? NULL : strchr(plan, ':');
    if (colon == NULL)
        return;
    lasts = colon[-1] == '+';
    if (strcmp(colon, ":kill") == 0)
        what = kill_before;
    else if (strcmp(colon, ":half") == 0)
        what = kill_half;
    else if (strcmp(colon, ":int") == 0)
        what = interrupt;
    else {
        what = fail;
        error_number = (int)strtol(colon + 1, NULL, 10);
    }
}

/* What is to happen at this call. A whole kill or interrupt has happened already. */
static enum event at_call(void) {
    if (left < 0)
        read_plan();
    if (left == 0)
        return nothing;
    if (--left > 0)
        return nothing;
    if (lasts)
        left = 1;
    const long file = syscall(SYS_openat, AT_FDCWD, "happened", O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (file >= 0)
        close((int)file);
    if (what == kill_before)
        raise(SIGKILL);
    if (what == interrupt)
        raise(SIGINT);
    if (what == fail)
        errno = error_number;
    return what;
}

/* Calls without content: killed in front of, or failed, or made. */
static int refused(void) {
    const enum event event = at_call();
    if (event == kill_half)
        raise(SIGKILL);
    return event == fail;
}

static unsigned long long bytes_read;
static unsigned long long bytes_written;

__attribute__((destructor)) static void tell_counts(void) {
    if (getenv("COUNT") == NULL)
        return;
    FILE* const file = fopen("counted", "w");
    if (file == NULL)
        return;
    fprintf(file, "%llu %llu", bytes_read, bytes_written);
    fclose(file);
}

ssize_t pread(int file, void* bytes, size_t count, off_t offset) {
    const ssize_t done = syscall(SYS_pread64, file, bytes, count, offset);
    bytes_read += done > 0 ? (unsigned long long)done : 0;
    return done;
}

ssize_t pwrite(int file, const void* bytes, size_t count, off_t offset) {
    const enum event event = at_call();
    if (event == fail)
        return -1;
    if (event == kill_half) {
        syscall(SYS_pwrite64, file, bytes, count / 2 / sector * sector, offset);
        raise(SIGKILL);
    }
    bytes_written += count;
    return syscall(SYS_pwrite64, file, bytes, count, offset);
}

int ftruncate(int file, off_t size) {
    return refused() ? -1 : (int)syscall(SYS_ftruncate, file, size);
}

int fsync(int file) {
    return refused() ? -1 : (int)syscall(SYS_fsync, file);
}

int futimens(int file, const struct timespec times[2]) {
    return refused() ? -1 : (int)syscall(SYS_utimensat, file, NULL, times, 0);
}

int rename(const char* from, const char* to) {
    return refused() ? -1 : (int)syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0);
}

int unlink(const char* path) {
    return refused() ? -1 : (int)syscall(SYS_unlinkat, AT_FDCWD, path, 0);
}

int open(const char* path, int flags, ...) {
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list more;
        va_start(more, flags);
        mode = va_arg(more, mode_t);
        va_end(more);
        if (refused())
            return -1;
    }
    return (int)syscall(SYS_openat, AT_FDCWD, path, flags, mode);
}
