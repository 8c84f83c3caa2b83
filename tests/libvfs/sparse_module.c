/* A module 1 that lacks nearly every operation, and has a ReadDir that nobody may look up. */
#include <stdint.h>

int32_t sznfs_Open(int32_t selector, const char* path, int32_t flags);
int32_t sznfs_error(int32_t file);
void* sznfs_ReadDir(void* handle);

int32_t sznfs_Open(int32_t selector, const char* path, int32_t flags) {
    (void)selector, (void)path, (void)flags;
    return -1;
}

int32_t sznfs_error(int32_t file) {
    return file;
}

void* sznfs_ReadDir(void* handle) {
    return handle;
}
