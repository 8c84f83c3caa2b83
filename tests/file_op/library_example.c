/* Repairs a recording, marks a moment in it and copies it, with nothing but the library's C interface.
 *
 *     library_example <recording> <copy>
 *
 * The recording's path must contain "/mnt/". The modules are loaded from ./lib of the working directory. */
#include "analyse/format/file_header.h"
#include "file_op/common/log.h"
#include "file_op/common/rec_status.h"
#include "file_op/file_copy.h"
#include "file_op/file_times.h"
#include "file_op/index_query.h"
#include "file_op/rebuild.h"
#include "file_op/tags.h"
#include "libvfs/vfs.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

static const int32_t start_time = 1420167845; /* 2015-01-02 03:04:05 UTC */

static int failed(const char* what, int32_t status) {
    zn_printf_alone(ZN_LOG_PLAIN, "%s: %" PRId32, what, status);
    return 1;
}

/* A callback of one's own: called for each index record in file order. */
static int32_t print_record(const void* record, int32_t record_size, int32_t end_position, void* context) {
    kmr_index_record entry;
    uint32_t* number = context;
    (void)end_position;
    if (record_size < (int32_t)sizeof entry)
        return REC_INDEX_STOP;
    memcpy(&entry, record, sizeof entry); /* the record is aligned to nothing */
    printf("I-frame %" PRIu32 ": offset %" PRIu32 ", time %" PRIu32 "\n", ++*number, entry.IPos,
           entry.TimeNow);
    return 0;
}

static int repair(const char* path) {
    const int32_t status = rec_RecoverRecordSize(path, start_time);
    if (status != 0)
        return failed("repair", status);
    printf("repaired\n");
    return 0;
}

static int show_index(const char* path) {
    kmr_frame_header header;
    uint32_t count = 0;
    uint32_t number = 0;
    uint32_t start = 0;
    uint32_t offset = 0;
    if (rec_GetIFrameIndexInfo(path, &header, NULL, NULL, &count, NULL) != 0)
        return failed("index", -1);
    printf("%" PRIu32 " index records\n", count);
    rec_IndexQuery(path, REC_INDEX_CHANGE, print_record, &number, NULL);
    if (rec_GetFileStartTime(path, &start) == REC_OK)
        printf("starts at %" PRIu32 "\n", start);
    if (rec_GetFristIframelocByFile(path, &offset) == 0)
        printf("first I-frame at %" PRIu32 "\n", offset);
    return 0;
}

static void show_tags(const char* path) {
    rec_tag_entry found[4];
    const int32_t count = rec_TagQuery(path, "", found, 4);
    for (int32_t i = 0; i < count; ++i)
        printf("tag \"%s\" at %" PRIu32 "\n", found[i].cTagName, found[i].uiTime);
    if (count == 0)
        printf("no tags\n");
}

static int mark(const char* path) {
    char text[64] = "goal"; /* a tag is handed over in 64 bytes */
    int32_t key = start_time + 1;
    int32_t status = rec_TagModify(REC_TAG_ADD, path, &key, text);
    if (status != REC_TAG_DONE)
        return failed("tag", status);
    show_tags(path);

    int32_t record = key; /* the time of the record that was chosen */
    strcpy(text, "own goal");
    status = rec_TagModify(REC_TAG_CHANGE, path, &record, text);
    if (status != REC_TAG_DONE)
        return failed("change", status);
    show_tags(path);

    record = key;
    status = rec_TagModify(REC_TAG_REMOVE, path, &record, text);
    if (status != REC_TAG_DONE)
        return failed("remove", status);
    show_tags(path);
    return 0;
}

static int copy(const char* path, const char* target) {
    const int32_t head = (int32_t)KMR_FILE_HEADER_SIZE;
    uint32_t size = 0;
    if (rec_GetFileSize(path, &size) != 0)
        return failed("size", -1);
    if (rec_DuplicateFileHead(target, path) != head)
        return failed("head", -1);
    const int32_t rest = (int32_t)size - head;
    if (rec_CopyFileSegment(target, head, path, head, rest) != rest)
        return failed("segment", -1);
    vfs_file* stream = vfs_fopen(0, target, "w+"); /* for reading and writing; nothing is cut */
    const intptr_t written = rec_WriteHeadFrmNum(stream, 1000, 1, 0);
    vfs_fclose(stream);
    if (written != 1)
        return failed("frame number", (int32_t)written);
    printf("copied %" PRIu32 " bytes\n", size);
    return 0;
}

int main(int argc, char** argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: %s <recording> <copy>\n", argv[0]);
        return 2;
    }
    vfs_Init(); /* once, before any other call */
    znfs_Init(0);
    const int result = repair(argv[1]) || show_index(argv[1]) || mark(argv[1]) || copy(argv[1], argv[2]);
    znfs_DeInit();
    return result;
}
