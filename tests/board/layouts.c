/* Every published record, field by field, on whatever machine this is compiled for: there is nothing to run.
 * That this is C also shows that the public headers are C headers.
 */
#include "UserDataOpt/user_data.h"
#include "UserDataOpt/user_data_block.h"
#include "analyse/analyse.h"
#include "analyse/format/file_header.h"
#include "analyse/format/frame_header.h"
#include "analyse/format/index_block.h"
#include "analyse/format/recording_name.h"
#include "analyse/frame_user_data.h"
#include "analyse/header_report.h"
#include "analyse/options.h"
#include "analyse/side_file.h"
#include "analyse/vca/vca.h"
#include "analyse/walk_context.h"
#include "file_op/common/file_names.h"
#include "file_op/common/frame_check.h"
#include "file_op/common/log.h"
#include "file_op/common/rec_status.h"
#include "file_op/file_copy.h"
#include "file_op/file_times.h"
#include "file_op/frame_search.h"
#include "file_op/index_query.h"
#include "file_op/locate.h"
#include "file_op/open_table.h"
#include "file_op/rebuild.h"
#include "file_op/tags.h"
#include "libvfs/vfs.h"
#include "main/front_end.h"
#include "vfslist16a/dlist/adt_dlist.h"
#include "vfslist16a/index_file.h"
#include "vfslist16a/record_query.h"

#include <stddef.h>
#include <sys/types.h>
#include <time.h>

#define STANDS_AT(record, field, offset)                                                                     \
    static_assert(offsetof(record, field) == (offset), #record "." #field " stands at " #offset)
#define HAS_SIZE(record, size) static_assert(sizeof(record) == (size), #record " has " #size " bytes")
#define HAS_WIDTH(record, field, width)                                                                      \
    static_assert(sizeof(((record*)0)->field) == (width), #record "." #field " has " #width " bytes")

/* File header */
HAS_SIZE(kmr_file_header, 88);
STANDS_AT(kmr_file_header, FrameRate, 0);
STANDS_AT(kmr_file_header, Width, 2);
STANDS_AT(kmr_file_header, Height, 4);
STANDS_AT(kmr_file_header, Mode, 6);
STANDS_AT(kmr_file_header, bAudio, 8);
STANDS_AT(kmr_file_header, Year, 10);
STANDS_AT(kmr_file_header, Month, 12);
STANDS_AT(kmr_file_header, Day, 14);
STANDS_AT(kmr_file_header, Hour, 16);
STANDS_AT(kmr_file_header, Minute, 18);
STANDS_AT(kmr_file_header, Second, 20);
STANDS_AT(kmr_file_header, CoverMask, 22);
STANDS_AT(kmr_file_header, cCovWord, 24);
HAS_WIDTH(kmr_file_header, cCovWord, 36);
STANDS_AT(kmr_file_header, m_uiFrameNoDiff, 60);
STANDS_AT(kmr_file_header, TriggerHigh, 64);
STANDS_AT(kmr_file_header, TriggerLow, 68);
STANDS_AT(kmr_file_header, AChannels, 74);
STANDS_AT(kmr_file_header, BitsPerSample, 75);
STANDS_AT(kmr_file_header, AudioSample, 76);
STANDS_AT(kmr_file_header, TotalSize, 80);
STANDS_AT(kmr_file_header, FrameCount, 84);

/* Frame header */
HAS_SIZE(kmr_frame_header, 32);
STANDS_AT(kmr_frame_header, SyncWord, 0);
STANDS_AT(kmr_frame_header, FrameSize, 4);
STANDS_AT(kmr_frame_header, FrameKind, 8);
STANDS_AT(kmr_frame_header, FrameNo, 12);
STANDS_AT(kmr_frame_header, TimeStamp, 16);
STANDS_AT(kmr_frame_header, VideoSize, 20);
STANDS_AT(kmr_frame_header, AFrameNum, 24);
STANDS_AT(kmr_frame_header, AFrameSize, 26);
STANDS_AT(kmr_frame_header, Tag, 30);

/* Index block */
HAS_SIZE(kmr_index_head, 44);
STANDS_AT(kmr_index_head, Frame, 0);
STANDS_AT(kmr_index_head, RecordCount, 32);
STANDS_AT(kmr_index_head, RecordSize, 36);
STANDS_AT(kmr_index_head, MemoryNum, 40);
HAS_SIZE(kmr_index_record, 80);
STANDS_AT(kmr_index_record, TimeNow, 0);
HAS_WIDTH(kmr_index_record, TimeNow, 4);
STANDS_AT(kmr_index_record, IPos, 4);
STANDS_AT(kmr_index_record, Sign, 8);
STANDS_AT(kmr_index_record, VideoWidth, 12);
STANDS_AT(kmr_index_record, VideoHeight, 14);
STANDS_AT(kmr_index_record, TagName, 16);
HAS_WIDTH(kmr_index_record, TagName, 64);
HAS_SIZE(kmr_index_trailer, 8);
STANDS_AT(kmr_index_trailer, Magic, 0);
STANDS_AT(kmr_index_trailer, Length, 4);

/* User data and the walk */
HAS_SIZE(kmr_user_data_head, 8);
STANDS_AT(kmr_user_data_head, Magic, 0);
STANDS_AT(kmr_user_data_head, SegmentCount, 4);
STANDS_AT(kmr_user_data_head, SegmentsSize, 6);
HAS_SIZE(kmr_segment_head, 4);
STANDS_AT(kmr_segment_head, Flag, 0);
STANDS_AT(kmr_segment_head, Length, 2);
HAS_SIZE(vca_target, 266);
STANDS_AT(vca_target, flag, 0);
STANDS_AT(vca_target, length, 2);
STANDS_AT(vca_target, payload, 4);
HAS_SIZE(vca_analys_size, 16);
HAS_SIZE(g_u64UserDataLine, 256);
HAS_SIZE(kmr_walk_context, 28);
STANDS_AT(kmr_walk_context, Fourth, 16);
STANDS_AT(kmr_walk_context, Position, 20);
STANDS_AT(kmr_walk_context, Third, 24);

/* Tags */
HAS_SIZE(rec_tag_entry, 68);
STANDS_AT(rec_tag_entry, cTagName, 4);

/* Index file of the query */
HAS_SIZE(rec_query_record, 184);
STANDS_AT(rec_query_record, channel, 0);
STANDS_AT(rec_query_record, kind, 1);
STANDS_AT(rec_query_record, start_time, 4);
STANDS_AT(rec_query_record, file_name, 12);
STANDS_AT(rec_query_record, file_path, 116);
HAS_SIZE(rec_query_block, 552044);
STANDS_AT(rec_query_block, results, 28);
STANDS_AT(rec_query_block, total, 552028);
STANDS_AT(rec_query_block, returned, 552032);

/* Records that cross the border to a module */
HAS_SIZE(vfs_stat_record, 232);
STANDS_AT(vfs_stat_record, Size, 48);
HAS_WIDTH(vfs_stat_record, Size, 8);
STANDS_AT(vfs_stat_record, AccessTime, 72);
STANDS_AT(vfs_stat_record, ModifyTime, 80);
STANDS_AT(vfs_stat_record, Channel, 104);
STANDS_AT(vfs_stat_record, StartTime, 128);
HAS_WIDTH(vfs_stat_record, StartTime, 4);
HAS_SIZE(vfs_times, 2 * sizeof(long));
HAS_SIZE(vfs_scan_entry, 280);
STANDS_AT(vfs_scan_entry, Name, 19);
HAS_SIZE(vfs_block_record, 24);
STANDS_AT(vfs_block_record, BlockNo, 0);
STANDS_AT(vfs_block_record, SortKey, 8);
HAS_SIZE(vfs_directory_record, 232);

/* The module table: the index word, then 22 slots, each of a pointer's size. */
#define IS_SLOT(operation, number) STANDS_AT(vfs_module_operations, operation, (number) * sizeof(void*))
STANDS_AT(vfs_module_operations, iIndex, 0);
HAS_WIDTH(vfs_module_operations, iIndex, 4);
IS_SLOT(Open, 1);
IS_SLOT(Read, 2);
IS_SLOT(Write, 3);
IS_SLOT(Seek, 4);
IS_SLOT(Tell, 5);
IS_SLOT(Eof, 6);
IS_SLOT(Close, 7);
IS_SLOT(Unlink, 8);
IS_SLOT(Stat, 9);
IS_SLOT(Rename, 10);
IS_SLOT(ChangeTime, 11);
IS_SLOT(SetUsrParam, 12);
IS_SLOT(fsync, 13);
IS_SLOT(fcntl, 14);
IS_SLOT(ftruncate, 15);
IS_SLOT(Format, 16);
IS_SLOT(Statfs, 17);
IS_SLOT(ScanDir, 18);
IS_SLOT(OpenDir, 19);
IS_SLOT(ReadDir, 20);
IS_SLOT(CloseDir, 21);
IS_SLOT(error, 22);
HAS_SIZE(vfs_module_operations, 23 * sizeof(void*));

/* Tables of the layer and the library */
STANDS_AT(vfs_file, iFd, 0);
STANDS_AT(vfs_file, iMdlFd, 4);
STANDS_AT(vfs_file, pMdlOps, 8);
HAS_SIZE(vfs_file, 8 + sizeof(void*));
HAS_SIZE(g_stvfile, 1025 * sizeof(vfs_file));
STANDS_AT(vfs_mount_entry, iState, 0);
STANDS_AT(vfs_mount_entry, cName, 4);
STANDS_AT(vfs_directory, iDirNo, 0);
STANDS_AT(vfs_directory, iUsed, 4);
STANDS_AT(vfs_directory, iCount, 8);
STANDS_AT(vfs_directory, iNext, 12);
STANDS_AT(vfs_directory, pRecords, 16);
STANDS_AT(rec_open_entry, cPath, 4);
STANDS_AT(rec_open_entry, pHandle, 136 - (sizeof(void*) == 4 ? 4 : 0));

/* Index times up to 2106 are converted with the platform's clock type. */
static_assert((time_t)0xFFFFFFFFu > 0, "a time beyond 2038 fits into time_t");
/* Host files beyond 2 GiB. */
static_assert(sizeof(off_t) == 8, "a host file may be longer than 2 GiB");
