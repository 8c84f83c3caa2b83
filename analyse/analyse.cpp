#include "analyse/analyse.h"

#include "analyse/frame_row.hpp"
#include "analyse/frame_walk.hpp"
#include "analyse/header_report.h"
#include "analyse/options.h"
#include "analyse/side_file.h"
#include "analyse/vca/vca.h"
#include "libvfs/vfs.h"

#include <algorithm>
#include <unistd.h>

std::uint32_t g_Opt;
std::uint32_t g_lstarttime;
std::int32_t g_TempFirstFrmNum;
std::int32_t g_TempLastFrmNum;

namespace kmr {
namespace {

constexpr std::uint32_t frame_table_options =
    KMR_OPTION_ALL | KMR_OPTION_I_FRAMES | KMR_OPTION_MISSING_FRAMES;

// A long recording is walked piece by piece, with a rest in between for the recorder's own work.
constexpr std::int32_t largest_quota = 1000000;
constexpr useconds_t rest_microseconds = 10000;

void walk_all(const char* name, std::int32_t frames) {
    std::uint32_t position = 0;
    std::int32_t result = 0;
    do {
        const std::int32_t quota = std::min(frames, largest_quota);
        frames -= quota;
        auto count = static_cast<std::uint32_t>(quota);
        constexpr auto no_fourth = static_cast<std::uint32_t>(-1);
        result = rec_vca_GetVcaMsgEx(name, &count, 0, no_fourth, &position);
        usleep(rest_microseconds);
    } while (result != -1 && frames != 0);
}

} // namespace
} // namespace kmr

std::int32_t analyse_kmr(const char* name, std::uint32_t option_word) {
    g_stVcaAnalysSize = kmr_default_analys_size;
    g_Opt = option_word;
    const std::int32_t frames = rec_GetFileFrameNo(name);
    if (name == nullptr || name[0] == '\0')
        return 0;
    if ((g_Opt & kmr::frame_table_options) != 0)
        kmr::print_frame_heading();
    if (frames != 0)
        kmr::walk_all(name, frames);
    return 0;
}

std::int32_t rec_vca_GetVcaMsgEx(const char* name, std::uint32_t* count, std::uint32_t third,
                                 std::uint32_t fourth, std::uint32_t* position) {
    if (name == nullptr || count == nullptr || position == nullptr)
        return -1;
    kmr_walk_context context{.Results = {}, .Fourth = fourth, .Position = *position, .Third = third};
    const auto quota = static_cast<std::int32_t>(*count);
    const std::int32_t result = kmr::rec_WalkFrames(name, g_lstarttime, context, &quota);
    *count = context.Results[2];
    *position = context.Position;
    myWriteFile("EndFrame", g_TempLastFrmNum);
    return result;
}

std::int32_t zn_mp4_stat(const char* path, vfs_stat_record* record) {
    return vfs_Stat(path, record);
}
