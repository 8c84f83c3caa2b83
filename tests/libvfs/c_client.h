/* What a program in C does with the layer. */
#ifndef KMR_TESTS_C_CLIENT_H
#define KMR_TESTS_C_CLIENT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Reads at most `count` bytes of the file through a stream; their number, or -1. */
int32_t read_in_c(const char* path, char* buffer, uint32_t count);
/* The size of the file, or -1. */
int64_t size_in_c(const char* path);
/* Whether the layer's tables are laid out in C as they are in C++. */
int32_t first_open_descriptor_in_c(void);

#ifdef __cplusplus
}
#endif

#endif
