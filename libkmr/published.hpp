// Given to every source of the shared library before anything else: what these headers declare is seen outside, all that
// the sources declare besides is not. The headers stay what they are for everybody.
#pragma once

#pragma GCC visibility push(default)

#include "UserDataOpt/user_data.h"
#include "analyse/analyse.h"
#include "analyse/frame_user_data.h"
#include "analyse/header_report.h"
#include "analyse/report_state.h"
#include "analyse/side_file.h"
#include "analyse/vca/vca.h"
#include "file_op/common/file_names.h"
#include "file_op/common/frame_check.h"
#include "file_op/common/log.h"
#include "file_op/file_copy.h"
#include "file_op/file_times.h"
#include "file_op/frame_search.h"
#include "file_op/index_query.h"
#include "file_op/locate.h"
#include "file_op/open_table.h"
#include "file_op/rebuild.h"
#include "file_op/tags.h"
#include "libvfs/vfs.h"
#include "vfslist16a/dlist/adt_dlist.h"
#include "vfslist16a/record_query.h"

#pragma GCC visibility pop
