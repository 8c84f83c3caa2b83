/* A program of somebody else's that hands in the platform's own records: nothing behind them may be written. Built
 * without feature macros it also compares what comes back with what the platform itself says.
 */
#define _LARGEFILE64_SOURCE /* which shows struct stat64 and changes no record */

#include "libvfs/vfs.h"
#include "vfslist16a/record_query.h"

#include <stdio.h>
#include <string.h>
#include <sys/vfs.h>

enum { guard_size = 256, guard_byte = 0xA5 };

static int failures;

static void expect(int holds, const char* what) {
    if (!holds) {
        ++failures;
        printf("failed: %s\n", what);
    }
}

static int is_guard(const unsigned char* bytes) {
    for (int i = 0; i < guard_size; ++i)
        if (bytes[i] != guard_byte)
            return 0;
    return 1;
}

static void ask_for_a_file(const char* path) {
    struct {
        unsigned char before[guard_size];
        struct stat64 record;
        unsigned char behind[guard_size];
    } guarded;
    memset(&guarded, guard_byte, sizeof guarded);
    expect(my_stat(path, &guarded.record) == 0, "my_stat");
    expect(is_guard(guarded.before) && is_guard(guarded.behind), "my_stat keeps to its record");
#ifdef KMR_PLATFORMS_RECORDS
    struct stat64 own;
    expect(stat64(path, &own) == 0, "stat64");
    expect(guarded.record.st_size == own.st_size, "the size");
    expect(guarded.record.st_dev == own.st_dev, "the device");
    expect(guarded.record.st_ino == own.st_ino, "the inode");
    expect(guarded.record.st_mode == own.st_mode, "the mode");
    expect(guarded.record.st_nlink == own.st_nlink, "the links");
    expect(guarded.record.st_uid == own.st_uid && guarded.record.st_gid == own.st_gid, "the owner");
    expect(guarded.record.st_blksize == own.st_blksize, "the block size");
    expect(guarded.record.st_blocks == own.st_blocks, "the blocks");
    expect(guarded.record.st_mtime == own.st_mtime, "the modification time");
    expect(guarded.record.st_ctime == own.st_ctime, "the change time");
#endif
}

static void ask_for_a_file_system(const char* path) {
    struct {
        unsigned char before[guard_size];
        struct statfs record;
        unsigned char behind[guard_size];
    } guarded;
    memset(&guarded, guard_byte, sizeof guarded);
    expect(vfs_Statfs(path, &guarded.record) == 0, path);
    expect(is_guard(guarded.before) && is_guard(guarded.behind), "vfs_Statfs keeps to its record");
#ifdef KMR_PLATFORMS_RECORDS
    struct statfs own;
    expect(statfs("/proc", &own) == 0, "statfs");
    expect(guarded.record.f_type == own.f_type, "the type");
    expect(guarded.record.f_bsize == own.f_bsize, "the block size");
    expect(guarded.record.f_blocks == own.f_blocks, "the blocks");
    expect(guarded.record.f_files == own.f_files, "the files");
    expect(guarded.record.f_namelen == own.f_namelen, "the longest name");
    expect(guarded.record.f_frsize == own.f_frsize, "the fragment size");
    expect(guarded.record.f_flags == own.f_flags, "the flags");
#endif
}

int main(int argc, char** argv) {
    (void)argc;
    vfs_Init();
    ask_for_a_file(argv[0]);
    ask_for_a_file_system("/proc");        /* served by module 1; its numbers stand still */
    ask_for_a_file_system("/dev/../proc"); /* served by module 0 */
    printf("board: stat64 of %u bytes, statfs of %u bytes, %d failures\n", (unsigned)sizeof(struct stat64),
           (unsigned)sizeof(struct statfs), failures);
    return failures != 0;
}
