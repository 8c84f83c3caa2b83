/* Is this a plausible file header, a plausible frame header? Pure functions over bytes that the caller has read;
 * no lock, no file, no allocation.
 */
#ifndef KMR_FRAME_CHECK_H
#define KMR_FRAME_CHECK_H

#include "analyse/format/file_header.h"
#include "analyse/format/frame_header.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Selects the format of backup copies. Kept for other programs of the recorder; nothing here reads it. */
extern int32_t g_eBackFileFormat;

/* 1: valid, standard resolution; 2: valid, lobby (portrait) resolution; -1: invalid (null header, more than 60
 * frames per second, unknown resolution). */
int32_t Common_IsValidFileHeader(const kmr_file_header* header);

/* 1 when the picture has one of the five lobby sizes, else 0. */
int32_t IsLobbyByWH(int32_t width, int32_t height);

/* The class of a frame header (enum kmr_frame_class). max_size bounds frame and video length in bytes; 0 stands for
 * 1 MiB. */
int32_t rec_ValidFrame(const kmr_frame_header* frame, uint32_t max_size);

/* REC_OK when the header's lengths agree and are at most 1 MiB, else REC_INVALID_FRAME. Looks at neither the sync
 * word nor the tag. */
int32_t rec_IsValidFrame(kmr_frame_header frame);

/* 1 when time stamp t lies at most ten hours (36,000,000 ms) after ref on a 32-bit clock, else 0. A wrapped
 * distance counts one less. */
int32_t rec_CheckFrameTm(uint32_t t, uint32_t ref);

/* Stores the selector in g_eBackFileFormat. 0. */
int32_t rec_SetBackFileFormat(int32_t format);

#ifdef __cplusplus
}
#endif

#endif
