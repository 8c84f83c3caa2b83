#include "analyse/frame_user_data.h"

#include "UserDataOpt/user_data.h"
#include "UserDataOpt/user_data_report.hpp"
#include "analyse/options.h"
#include "analyse/report_state.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>

int32_t _iFileLocation;
int32_t diffFrmNo;
int32_t CHN_ALARMER_TYPE;
int32_t g_blHaveVcaInfo;

namespace kmr {
namespace {

// User data stands at the start of a payload; nothing behind this many bytes is looked at.
constexpr uint32_t longest_payload_read = USER_DATA_WINDOW;

using payload_bytes = std::span<const uint8_t>;

void remember_i_frame(uint32_t payload_position, const kmr_frame_header& frame) {
    if (kmr_is_i_frame(&frame)) {
        _iFileLocation = static_cast<int32_t>(payload_position - KMR_FRAME_HEADER_SIZE);
        diffFrmNo = 0;
    } else {
        ++diffFrmNo;
    }
}

bool begins_with(payload_bytes payload, std::span<const uint8_t> marker) {
    return payload.size() >= marker.size() && std::memcmp(payload.data(), marker.data(), marker.size()) == 0;
}

bool begins_with_user_data(payload_bytes payload) {
    return begins_with(payload, kmr_user_data_start_h264) || begins_with(payload, kmr_user_data_start_h265);
}

} // namespace
} // namespace kmr

int32_t rec_get_vcaalarm(vfs_file* fp, uint8_t* buf, int32_t buflen, uint32_t, const kmr_frame_header* frame,
                         kmr_walk_context* ctx) {
    if (buf == nullptr || buflen <= 0 || frame == nullptr || ctx == nullptr || fp == nullptr)
        return -1;
    const uint32_t wanted = std::min(frame->VideoSize, kmr::longest_payload_read);
    const auto position = static_cast<uint32_t>(vfs_ftell(fp));
    kmr::remember_i_frame(position, *frame);
    // A payload of no bytes reads as -1, which ends the walk as a short read does.
    if (vfs_fread(buf, 1, wanted, fp) < static_cast<int32_t>(wanted))
        return -1;
    const kmr::payload_bytes payload(buf, wanted);
    if ((g_Opt & KMR_OPTION_USER_DATA) != 0 && kmr::begins_with_user_data(payload))
        kmr::report_user_data(position, payload, payload.size());
    return 0;
}
