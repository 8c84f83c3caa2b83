/* The analysis of one recording and its report on standard output. Single-threaded: the globals are not locked, and rows
 * are written without the lock of standard output, so no other thread may write to it while a report runs. */
#ifndef KMR_ANALYSE_H
#define KMR_ANALYSE_H

#include "analyse/report_state.h"
#include "libvfs/vfs_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Prints the report of the recording `name` (short name or full path) that the option word asks for. The
 * layer must have been initialised. 0, whatever was found. Leaves the side files "EndFrame" and "Diff" in the
 * working directory. When standard output cannot be written (its error indicator is set, by whomever), the
 * report ends behind the piece of a million frames that is being walked. */
int32_t analyse_kmr(const char* name, uint32_t option_word);

/* Walks one bounded piece of the recording: *count + 1 ordinary frames (a signed quota; a negative one walks
 * nothing) from file offset *position, 0 being the start of the file. *position is where the next call
 * resumes; *count becomes 0. `third` and `fourth` are carried along (the analysis passes 0 and -1). The
 * stream time in whole seconds when the quota was used up; -1 on an error, at the end of the data, or for a
 * null argument. Writes "EndFrame". */
int32_t rec_vca_GetVcaMsgEx(const char* name, uint32_t* count, uint32_t third, uint32_t fourth,
                            uint32_t* position);

/* vfs_Stat under another name. */
int32_t zn_mp4_stat(const char* path, vfs_stat_record* record);

#ifdef __cplusplus
}
#endif

#endif
