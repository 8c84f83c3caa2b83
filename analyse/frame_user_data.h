/* The user data in front of a frame's video data. */
#ifndef KMR_FRAME_USER_DATA_H
#define KMR_FRAME_USER_DATA_H

#include "analyse/format/frame_header.h"
#include "analyse/walk_context.h"
#include "libvfs/vfs.h"

#ifdef __cplusplus
extern "C" {
#endif

extern int32_t _iFileLocation;   /* file offset of the header of the last I-frame seen */
extern int32_t diffFrmNo;        /* frames read since that I-frame */
extern int32_t CHN_ALARMER_TYPE; /* kept for other programs of the recorder; never set here */
extern int32_t g_blHaveVcaInfo;  /* likewise */

/* Reads the first bytes (VideoSize, at most 1024) of the payload of the frame whose header is `frame`; `fp`
 * stands just behind that header and is left behind what was read. With the user-data option the user data
 * that they begin with is decoded and printed. `buf` holds at least 1024 bytes and receives what was read;
 * buflen must be above 0; seconds is not used; ctx must not be null. 0, or -1 for a bad argument or a short
 * read, no bytes at all included. */
int32_t rec_get_vcaalarm(vfs_file* fp, uint8_t* buf, int32_t buflen, uint32_t seconds,
                         const kmr_frame_header* frame, kmr_walk_context* ctx);

#ifdef __cplusplus
}
#endif

#endif
