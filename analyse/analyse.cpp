#include "analyse/analyse.h"

#include "analyse/frame_row.hpp"
#include "analyse/frame_walk.hpp"
#include "analyse/header_report.h"
#include "analyse/options.h"
#include "analyse/side_file.h"
#include "analyse/vca/vca.h"
#include "libvfs/vfs.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace kmr {
namespace {

constexpr uint32_t frame_table_options = KMR_OPTION_ALL | KMR_OPTION_I_FRAMES | KMR_OPTION_MISSING_FRAMES;

// A long recording is walked piece by piece, with a rest in between for the recorder's own work.
constexpr int32_t largest_quota = 1000000;
constexpr useconds_t rest_microseconds = 10000;

void walk_all(const char* name, int32_t frames) {
    uint32_t position = 0;
    int32_t result = 0;
    do {
        const int32_t quota = std::min(frames, largest_quota);
        frames -= quota;
        auto count = static_cast<uint32_t>(quota);
        constexpr auto no_fourth = static_cast<uint32_t>(-1);
        result = rec_vca_GetVcaMsgEx(name, &count, 0, no_fourth, &position);
        usleep(rest_microseconds);
        // A report that nobody receives any more is not gone on with.
    } while (result != -1 && frames != 0 && std::ferror(stdout) == 0);
}

} // namespace
} // namespace kmr

int32_t analyse_kmr(const char* name, uint32_t option_word) {
    g_stVcaAnalysSize = kmr_default_analys_size;
    g_Opt = option_word;
    const int32_t frames = rec_GetFileFrameNo(name);
    if (name == nullptr || name[0] == '\0')
        return 0;
    if ((g_Opt & kmr::frame_table_options) != 0)
        kmr::print_frame_heading();
    if (frames != 0)
        kmr::walk_all(name, frames);
    return 0;
}

int32_t rec_vca_GetVcaMsgEx(const char* name, uint32_t* count, uint32_t third, uint32_t fourth,
                            uint32_t* position) {
    if (name == nullptr || count == nullptr || position == nullptr)
        return -1;
    kmr_walk_context context{.Results = {}, .Fourth = fourth, .Position = *position, .Third = third};
    const auto quota = static_cast<int32_t>(*count);
    const int32_t result = kmr::rec_WalkFrames(name, g_lstarttime, context, &quota);
    *count = context.Results[2];
    *position = context.Position;
    myWriteFile("EndFrame", g_TempLastFrmNum);
    return result;
}

int32_t zn_mp4_stat(const char* path, vfs_stat_record* record) {
    return vfs_Stat(path, record);
}
