/* The status codes of the recording-file library. */
#ifndef KMR_REC_STATUS_H
#define KMR_REC_STATUS_H

enum rec_status {
    REC_OK = 1001,
    REC_BAD_ARGUMENT = 1010,  /* unusable name, disk number or buffer */
    REC_NOT_FOUND = 1026,     /* on no disk */
    REC_INVALID_FRAME = 1032, /* frame header */
    REC_CANNOT_OPEN = 1033,
    REC_CANNOT_TRUNCATE = 1040,
    REC_SHORT_READ = 1045, /* of the file header */
    REC_FAILED = 1099,     /* bad path, unknown handle, no memory, failed open or full table */
};

#endif
