/* The file header: the first 88 bytes of a recording. Little-endian, no padding.
 *
 *   offset  width   field             meaning
 *   0       u16     FrameRate         frames per second; 0 is read as 25
 *   2       u16     Width             picture width in pixels
 *   4       u16     Height            picture height in pixels
 *   6       u16     Mode              21, 22, 23: H.264; 41: MJPEG; others are shown as the default, H.264
 *   8       u16     bAudio            0: no audio
 *   10      u16     Year              start of the recording, local time; four digits
 *   12      u16     Month             1 to 12
 *   14      u16     Day               1 to 31
 *   16      u16     Hour
 *   18      u16     Minute
 *   20      u16     Second
 *   22      u16     CoverMask         privacy-cover mask, shown only
 *   24      char36  cCovWord          cover text, NUL-terminated
 *   60      u32     m_uiFrameNoDiff   frame-number difference, shown only
 *   64      u32     TriggerHigh       trigger bits, shown only
 *   68      u32     TriggerLow
 *   72      u16     reserved
 *   74      u8      AChannels         audio channels
 *   75      u8      BitsPerSample     audio bits per sample
 *   76      u32     AudioSample       audio sample rate in Hz
 *   80      u32     TotalSize         recorded size in bytes
 *   84      u32     FrameCount        number of frames
 */
#ifndef KMR_FORMAT_FILE_HEADER_H
#define KMR_FORMAT_FILE_HEADER_H

#include "base/byte_order.h"

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

typedef struct kmr_file_header {
    uint16_t FrameRate;
    uint16_t Width;
    uint16_t Height;
    uint16_t Mode;
    uint16_t bAudio;
    uint16_t Year;
    uint16_t Month;
    uint16_t Day;
    uint16_t Hour;
    uint16_t Minute;
    uint16_t Second;
    uint16_t CoverMask;
    char cCovWord[36];
    uint32_t m_uiFrameNoDiff;
    uint32_t TriggerHigh;
    uint32_t TriggerLow;
    uint16_t reserved;
    uint8_t AChannels;
    uint8_t BitsPerSample;
    uint32_t AudioSample;
    uint32_t TotalSize;
    uint32_t FrameCount;
} kmr_file_header;

enum {
    KMR_FILE_HEADER_SIZE = 88,   /* and so the offset of the first frame */
    KMR_DEFAULT_FRAME_RATE = 25, /* what a FrameRate of 0 stands for */
};

static_assert(sizeof(kmr_file_header) == KMR_FILE_HEADER_SIZE, "the file header has 88 bytes");
static_assert(offsetof(kmr_file_header, CoverMask) == 22, "CoverMask stands at 22");
static_assert(offsetof(kmr_file_header, cCovWord) == 24, "cCovWord stands at 24");
static_assert(offsetof(kmr_file_header, m_uiFrameNoDiff) == 60, "m_uiFrameNoDiff stands at 60");
static_assert(offsetof(kmr_file_header, reserved) == 72, "reserved stands at 72");
static_assert(offsetof(kmr_file_header, AudioSample) == 76, "AudioSample stands at 76");
static_assert(offsetof(kmr_file_header, FrameCount) == 84, "FrameCount stands at 84");

#endif
