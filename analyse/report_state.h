/* What the parts of one report share, and other programs may look at. Not locked. */
#ifndef KMR_REPORT_STATE_H
#define KMR_REPORT_STATE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

extern uint32_t g_Opt;            /* option word (enum kmr_option), set by analyse_kmr */
extern uint32_t g_lstarttime;     /* seconds; frames earlier in the stream get no user-data extraction; 0 */
extern int32_t g_TempFirstFrmNum; /* number of the first ordinary frame of the latest walk call */
extern int32_t g_TempLastFrmNum;  /* number of the latest ordinary frame */

#ifdef __cplusplus
}
#endif

#endif
