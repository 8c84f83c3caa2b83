#include "file_op/common/frame_check.h"

#include "file_op/common/rec_status.h"

#include <algorithm>
#include <iterator>
#include <span>

int32_t g_eBackFileFormat = 1;

namespace {

struct resolution {
    int32_t width;
    int32_t height;

    bool operator==(const resolution&) const = default;
};

constexpr resolution standard_resolutions[] = {
    {352, 144},   {352, 120},   {352, 288},   {352, 240},   {720, 288},   {720, 240},   {720, 576},
    {720, 480},   {704, 288},   {704, 240},   {704, 576},   {704, 480},   {176, 144},   {640, 480},
    {640, 240},   {640, 352},   {640, 360},   {320, 240},   {1280, 720},  {1280, 960},  {1600, 1200},
    {1920, 1080}, {1920, 1088}, {960, 576},   {960, 480},   {2560, 2048}, {2560, 1920}, {2592, 1944},
    {2592, 2048}, {2448, 2048}, {2048, 1536}, {2752, 2208}, {3840, 2160}, {3008, 2008}, {2560, 1440},
    {2592, 1520}, {3408, 2008}, {4096, 2160}, {2528, 2128},
};
static_assert(std::size(standard_resolutions) == 39);

constexpr resolution lobby_resolutions[] = {
    {720, 1280}, {1080, 1920}, {1536, 2048}, {1440, 2560}, {1520, 2592}};

constexpr uint16_t max_frame_rate = 60;
constexpr uint32_t max_time_step = 36'000'000; // ten hours of milliseconds

bool is_one_of(std::span<const resolution> known, resolution sought) {
    return std::find(known.begin(), known.end(), sought) != known.end();
}

// Exact: lengths that only agree modulo 2^32 do not agree.
bool lengths_agree(const kmr_frame_header& frame) {
    const uint64_t audio_size = uint64_t{frame.AFrameNum} * frame.AFrameSize;
    return frame.FrameSize == uint64_t{frame.VideoSize} + KMR_FRAME_HEADER_SIZE + audio_size;
}

} // namespace

int32_t Common_IsValidFileHeader(const kmr_file_header* header) {
    if (header == nullptr || header->FrameRate > max_frame_rate)
        return -1;
    if (IsLobbyByWH(header->Width, header->Height) == 1)
        return 2;
    return is_one_of(standard_resolutions, {header->Width, header->Height}) ? 1 : -1;
}

int32_t IsLobbyByWH(int32_t width, int32_t height) {
    return is_one_of(lobby_resolutions, {width, height}) ? 1 : 0;
}

int32_t rec_ValidFrame(const kmr_frame_header* frame, uint32_t max_size) {
    const uint32_t limit = max_size == 0 ? uint32_t{KMR_MAX_FRAME_SIZE} : max_size;
    if (frame->SyncWord == 0)
        return frame->FrameSize == 0 ? KMR_FRAME_EMPTY : KMR_FRAME_INVALID;
    if (frame->SyncWord != KMR_SYNC_WORD || frame->FrameSize > limit || frame->VideoSize > limit)
        return KMR_FRAME_INVALID;
    if (!lengths_agree(*frame))
        return KMR_FRAME_DAMAGED;
    if (frame->Tag == KMR_INSERTED_FRAME_TAG)
        return KMR_FRAME_INSERTED;
    if (frame->Tag != 0 || frame->AFrameNum != 0 || frame->AFrameSize != 0 || frame->TimeStamp != 0)
        return KMR_FRAME_ORDINARY;
    return KMR_FRAME_INDEX;
}

int32_t rec_IsValidFrame(kmr_frame_header frame) {
    if (frame.FrameSize == 0 || frame.FrameSize > KMR_MAX_FRAME_SIZE || frame.VideoSize > KMR_MAX_FRAME_SIZE)
        return REC_INVALID_FRAME;
    return lengths_agree(frame) ? REC_OK : REC_INVALID_FRAME;
}

int32_t rec_CheckFrameTm(uint32_t t, uint32_t ref) {
    // A wrapped distance counts one less on purpose: t + ~ref is t - ref - 1.
    const uint32_t distance = t >= ref ? t - ref : t + ~ref;
    return distance <= max_time_step ? 1 : 0;
}

int32_t rec_SetBackFileFormat(int32_t format) {
    g_eBackFileFormat = format;
    return 0;
}
