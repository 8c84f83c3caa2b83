/* The library's one logging call. */
#ifndef KMR_LOG_H
#define KMR_LOG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Levels. Any other one appends a stamped line to the file "printf.txt" of the working directory. */
enum {
    ZN_LOG_INFO = 0,           /* console: yellow time stamp with process id */
    ZN_LOG_ERROR = 0xFF0000,   /* console: the same in red */
    ZN_LOG_PLAIN = 0x12345678, /* console: message in cyan, no time stamp */
};

/* Prints a message in the manner of printf. A format that does not end in CR LF or LF CR gets its line ending
 * completed: LF becomes LF CR, CR becomes CR LF, anything else gets CR LF. The number of characters of the message,
 * time stamp and colours not counted (or a negative number where printf gives one); -1: null format, or "printf.txt"
 * cannot be opened; -2: no memory. No lock: lines of several threads may mix. */
int32_t zn_printf_alone(uint32_t level, const char* format, ...);

#ifdef __cplusplus
}
#endif

#endif
