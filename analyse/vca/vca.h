/* The picture size that the video content analysis (VCA) of the recorder worked on.
 *
 * The user-data decoder writes it, the analysis puts it back to its defaults, everybody may read it. It is
 * not locked: one thread at a time.
 */
#ifndef KMR_VCA_H
#define KMR_VCA_H

#include <assert.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Sizes in pixels. A segment of a recording brings the first pair; nothing brings the second, it keeps its defaults. */
typedef struct vca_analys_size {
    uint32_t width;
    uint32_t height;
    uint32_t base_width;
    uint32_t base_height;
} vca_analys_size;

static_assert(sizeof(vca_analys_size) == 16, "the analytics picture size is four words");

/* The flag of the user-data segment that carries the size. */
enum { USERDATA_FLAG_VCA_SIZE = 0xFED7 };

/* 176, 144, 176, 144: what holds where a recording says nothing. */
extern const vca_analys_size kmr_default_analys_size;

/* The size of the recording that is being analysed; the defaults at program start. */
extern vca_analys_size g_stVcaAnalysSize;

/* `segment` points to a user-data segment: u16 flag, u16 payload length, payload; little-endian, at any
 * alignment. With the flag USERDATA_FLAG_VCA_SIZE the first 8 bytes of the payload become the first pair of
 * g_stVcaAnalysSize, byte for byte and whatever the payload length says, so 12 bytes must be readable. Any
 * other flag changes nothing. Always 0. */
int32_t GetAnalysSize(const uint8_t* segment);

/* The address of g_stVcaAnalysSize. */
vca_analys_size* GetVISize(void);

#ifdef __cplusplus
}
#endif

#endif
