/* Linked into a copy of the program: says at its end how much memory was ever resident. */
#include <stdio.h>
#include <string.h>

static void say_peak(void) __attribute__((destructor));

static void say_peak(void) {
    FILE* status = fopen("/proc/self/status", "r");
    if (status == NULL)
        return;
    char line[256];
    while (fgets(line, sizeof line, status) != NULL)
        if (strncmp(line, "VmHWM:", 6) == 0)
            fputs(line, stderr);
    fclose(status);
}
