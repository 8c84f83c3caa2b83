/* The file header report. */
#ifndef KMR_HEADER_REPORT_H
#define KMR_HEADER_REPORT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The FrameCount of the recording's file header; prints every header field first when g_Opt asks for it. -1
 * for a null name or a recording that cannot be opened; the status of rec_ReadFileHeader when the header
 * cannot be read (REC_SHORT_READ), which callers take for a count like any other. */
int32_t rec_GetFileFrameNo(const char* name);

#ifdef __cplusplus
}
#endif

#endif
