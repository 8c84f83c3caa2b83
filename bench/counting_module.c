/* Module 1 with a counter in front: forwards what an analysis calls to the module that KMR_COUNTED_MODULE names, and
 * prints the number of calls to standard error when the process ends. What an analysis does not call is missing. */
#include "libvfs/vfs_module.h"

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

static void* module;
static unsigned long calls;

__attribute__((constructor)) static void open_module(void) {
    module = dlopen(getenv("KMR_COUNTED_MODULE"), RTLD_NOW);
}

__attribute__((destructor)) static void print_count(void) {
    fprintf(stderr, "calls %lu\n", calls);
}

#define FORWARD(name, parameters, arguments, result_type)                                                    \
    result_type sznfs_##name parameters {                                                                    \
        static result_type(*function) parameters;                                                            \
        if (function == NULL)                                                                                \
            *(void**)&function = dlsym(module, "sznfs_" #name);                                              \
        ++calls;                                                                                             \
        return function arguments;                                                                           \
    }

FORWARD(Open, (int32_t selector, const char* path, int32_t flags), (selector, path, flags), int32_t)
FORWARD(Read, (int32_t file, void* buffer, uint32_t count), (file, buffer, count), int32_t)
FORWARD(Seek, (int32_t file, int64_t offset, int32_t origin), (file, offset, origin), int64_t)
FORWARD(Tell, (int32_t file), (file), int32_t)
FORWARD(Eof, (int32_t file), (file), int32_t)
FORWARD(Close, (int32_t file), (file), int32_t)
FORWARD(Stat, (const char* path, vfs_stat_record* record), (path, record), int32_t)
