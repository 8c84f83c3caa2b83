/* Loaded in front of a program that runs in an emulator: a program that starts itself anew is started in the emulator
 * again, as a board's kernel would start it. KMR_RUN_BY has the emulator's command, its words separated by ';'.
 */
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

extern char** environ;

enum { most_words = 64 };

int execv(const char* path, char* const arguments[]) {
    static char emulator[] = KMR_RUN_BY;
    char* words[most_words + 1];
    int count = 0;
    for (char* word = strtok(emulator, ";"); word != NULL && count < most_words; word = strtok(NULL, ";"))
        words[count++] = word;
    if (count < most_words)
        words[count++] = (char*)path;
    for (char* const* argument = arguments + 1; *argument != NULL && count < most_words; ++argument)
        words[count++] = *argument;
    words[count] = NULL;
    /* They are for the program, not for the emulator. */
    unsetenv("LD_PRELOAD");
    unsetenv("QEMU_SET_ENV");
    return execve(words[0], words, environ);
}
