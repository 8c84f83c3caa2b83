/* Calls the services of the library that the program itself has no option for, and prints all that they gave, so that
 * two builds can be compared. A C program, linked as the recorder's other programs are.
 *
 *   services [COMMAND ARGUMENT...]...
 */
#include "file_op/common/log.h"
#include "file_op/file_copy.h"
#include "file_op/file_times.h"
#include "file_op/frame_search.h"
#include "file_op/index_query.h"
#include "file_op/locate.h"
#include "file_op/open_table.h"
#include "file_op/rebuild.h"
#include "file_op/tags.h"
#include "main/front_end.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int32_t number(const char* text) {
    return (int32_t)strtoll(text, NULL, 0);
}

static void print_tags(const char* name) {
    static rec_tag_entry tags[64];
    const int32_t count = rec_TagQuery(name, "", tags, 64);
    printf("%d tags\n", (int)count);
    for (int32_t i = 0; i < count; ++i)
        printf("  %u %s\n", (unsigned)tags[i].uiTime, tags[i].cTagName);
}

static void print_last_frame(const char* name) {
    vfs_file* file = vfs_fopen(0, name, "rb");
    int64_t offset = -1;
    kmr_frame_header header;
    memset(&header, 0, sizeof header);
    const int32_t frame = rec_SeekLastFrame(file, &offset, &header);
    printf("last frame %d at %lld, stamp %u\n", (int)frame, (long long)offset, (unsigned)header.TimeStamp);
    vfs_fclose(file);
}

static void ask(char** argument) {
    const char* name = argument[0];
    kmr_frame_header header;
    memset(&header, 0, sizeof header);
    uint32_t offset = 0;
    uint32_t size = 0;
    uint32_t count = 0;
    uint32_t first = 0;
    uint32_t value = 0;
    int32_t result = rec_GetIFrameIndexInfo(name, &header, &offset, &size, &count, &first);
    printf("index %d: at %u, %u records of %u bytes from %u, %u tagged\n", (int)result, (unsigned)offset,
           (unsigned)count, (unsigned)size, (unsigned)first, (unsigned)header.FrameNo);
    result = rec_GetFileStartTime(name, &value);
    printf("start %d: %u\n", (int)result, (unsigned)value);
    result = rec_GetFileStopTime(name, &value);
    printf("stop %d: %u\n", (int)result, (unsigned)value);
    result = rec_GetFileTimeLen(name, &value);
    printf("length %d: %u\n", (int)result, (unsigned)value);
    value = 0;
    result = rec_GetFristIframelocByFile(name, &value);
    printf("first I-frame %d: %u\n", (int)result, (unsigned)value);
    value = 0;
    result = rec_GetFileSize(name, &value);
    printf("size %d: %u\n", (int)result, (unsigned)value);
    printf("channel %d\n", (int)rec_GetFileChn(name));
    print_last_frame(name);
    print_tags(name);
}

static void tag(char** argument) {
    int32_t key = number(argument[2]);
    const int32_t result = rec_TagModify(number(argument[0]), argument[1], &key, argument[3]);
    printf("tag %d: key %d\n", (int)result, (int)key);
    print_tags(argument[1]);
}

static void repair(char** argument) {
    printf("repair %d\n", (int)rec_RecoverRecordSize(argument[0], number(argument[1])));
}

static void rebuild(char** argument) {
    uint32_t walked = 0;
    const int32_t result =
        rec_MakeUpIframeIndex(argument[0], number(argument[1]), &walked, number(argument[2]));
    printf("rebuild %d: %u walked\n", (int)result, (unsigned)walked);
}

static void copy(char** argument) {
    const int32_t copied = rec_CopyFileSegment(argument[0], number(argument[1]), argument[2],
                                               number(argument[3]), number(argument[4]));
    printf("copied %d\n", (int)copied);
}

static void head(char** argument) {
    printf("head %d\n", (int)rec_DuplicateFileHead(argument[0], argument[1]));
    vfs_file* file = vfs_fopen(0, argument[0], "w+");
    printf("numbers %d\n", (int)rec_WriteHeadFrmNum(file, 4711, 1, 1));
    vfs_fclose(file);
}

static void scan(char** argument) {
    vfs_scan_entry** list = NULL;
    const int32_t count = vfs_ScanDir(argument[0], &list);
    printf("scan %d\n", (int)count);
    for (int32_t i = 0; i < count; ++i) {
        printf("  %s\n", list[i]->Name);
        free(list[i]);
    }
    free(list);
}

static void stat_of(char** argument) {
    vfs_stat_record record;
    memset(&record, 0, sizeof record);
    const int32_t result = vfs_Stat(argument[0], &record);
    printf("stat %d: size %lld, modified %u, channel %d, start %u\n", (int)result, (long long)record.Size,
           (unsigned)record.ModifyTime, (int)record.Channel, (unsigned)record.StartTime);
}

static void set_times(char** argument) {
    const long seconds = (long)strtoul(argument[1], NULL, 0);
    const vfs_times times = {seconds, seconds};
    printf("times %d\n", (int)vfs_utimes(argument[0], &times));
}

static void move(char** argument) {
    printf("move %d\n", (int)vfs_Rename(argument[0], argument[1]));
}
static void unlink_file(char** argument) {
    printf("unlink %d\n", (int)vfs_Unlink(argument[0]));
}

static void say(char** argument) {
    const int32_t said = zn_printf_alone(ZN_LOG_PLAIN, "%s", argument[0]);
    printf("said %d\n", (int)said);
}

static const struct command {
    const char* name;
    int arguments;
    void (*run)(char** argument);
} commands[] = {
    {"ask", 1, ask},         {"tag", 4, tag},   {"repair", 2, repair}, {"rebuild", 3, rebuild},
    {"copy", 5, copy},       {"head", 2, head}, {"scan", 1, scan},     {"stat", 1, stat_of},
    {"times", 2, set_times}, {"move", 2, move}, {"say", 1, say},       {"unlink", 1, unlink_file},
};

static const struct command* find(const char* name) {
    for (size_t i = 0; i < sizeof commands / sizeof *commands; ++i)
        if (strcmp(commands[i].name, name) == 0)
            return &commands[i];
    return NULL;
}

int main(int argc, char** argv) {
    inner_InitVFS();
    for (int i = 1; i < argc;) {
        const struct command* command = find(argv[i]);
        if (command == NULL || i + command->arguments >= argc) {
            fprintf(stderr, "bad command: %s\n", argv[i]);
            return 1;
        }
        command->run(argv + i + 1);
        i += 1 + command->arguments;
    }
    return 0;
}
