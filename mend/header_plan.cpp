#include "mend/header_plan.hpp"

#include <algorithm>
#include <ctime>

namespace kmr::mend {
namespace {

constexpr uint16_t mode_h264 = 22; // what is not MJPEG is shown as this, H.265 too
constexpr uint16_t mode_mjpeg = 41;
constexpr uint32_t highest_rate = 60;

} // namespace

void set_date(kmr_file_header& header, int64_t ms_since_1970) {
    const auto seconds = static_cast<std::time_t>(ms_since_1970 / 1000);
    std::tm local = {};
    localtime_r(&seconds, &local); // which no count of milliseconds is too long for
    header.Year = static_cast<uint16_t>(local.tm_year + 1900);
    header.Month = static_cast<uint16_t>(local.tm_mon + 1);
    header.Day = static_cast<uint16_t>(local.tm_mday);
    header.Hour = static_cast<uint16_t>(local.tm_hour);
    header.Minute = static_cast<uint16_t>(local.tm_min);
    header.Second = static_cast<uint16_t>(local.tm_sec);
}

std::optional<kmr_file_header> header_from(const header_proof& proof) {
    if (!is_plausible(proof.size))
        return {};
    kmr_file_header header = {};
    header.Width = static_cast<uint16_t>(proof.size.width);
    header.Height = static_cast<uint16_t>(proof.size.height);
    header.FrameRate = KMR_DEFAULT_FRAME_RATE;
    if (proof.step_ms != 0)
        header.FrameRate =
            static_cast<uint16_t>(std::clamp((1000 + proof.step_ms / 2) / proof.step_ms, 1U, highest_rate));
    header.Mode = proof.codec == scan::video_codec::mjpeg ? mode_mjpeg : mode_h264;
    if (proof.start_ms)
        set_date(header, *proof.start_ms);
    header.FrameCount = proof.frames;
    return header;
}

} // namespace kmr::mend
