#include "tools/compose/frame_source.hpp"

#include "analyse/format/frame_header.h"
#include "tools/compose/usage_error.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace compose {
namespace {

constexpr uint32_t default_frames = 100;

// What a made-up frame begins with: the start code and the header of a slice.
constexpr uint8_t h264_i_start[] = {0, 0, 0, 1, 0x65, 0x88};
constexpr uint8_t h264_p_start[] = {0, 0, 0, 1, 0x41, 0x9A};
constexpr uint8_t h265_i_start[] = {0, 0, 0, 1, 0x26, 0x01};
constexpr uint8_t h265_p_start[] = {0, 0, 0, 1, 0x02, 0x01};

bytes read_whole(const std::string& path) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    bytes content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file.is_open() || file.bad())
        throw std::runtime_error(path + ": " + std::strerror(errno));
    return content;
}

bool names_h265(const std::string& path) {
    return path.ends_with(".h265") || path.ends_with(".265") || path.ends_with(".hevc");
}

} // namespace

frame_source::frame_source(const frame_source_plan& plan)
    : plan_(plan), coding_(plan.coding.value_or(names_h265(plan.clip) ? codec::h265 : codec::h264)),
      count_(plan.frames.value_or(default_frames)) {
    if (plan.clip.empty())
        return;
    stream_ = read_whole(plan.clip);
    units_ = split_access_units(stream_, coding_);
    if (units_.empty())
        throw usage_error(plan.clip + ": no frames of this codec in it");
    if (std::any_of(units_.begin(), units_.end(), [](const access_unit& unit) {
            return unit.size > KMR_MAX_FRAME_SIZE - KMR_FRAME_HEADER_SIZE;
        }))
        throw usage_error(plan.clip + ": a frame of it is longer than 1 MiB");
    count_ = plan.frames.value_or(static_cast<uint32_t>(units_.size()));
}

frame_video frame_source::frame(uint32_t number) const {
    if (units_.empty()) {
        const bool i_frame = number % plan_.i_interval == 0;
        return made_up(i_frame, i_frame ? plan_.i_payload : plan_.p_payload);
    }
    const access_unit& unit = units_[number % units_.size()];
    return {unit.i_frame, std::span(stream_).subspan(unit.offset, unit.size), 0};
}

frame_video frame_source::made_up_p_frame(uint32_t size) const {
    return made_up(false, size);
}

frame_video frame_source::made_up(bool i_frame, uint32_t size) const {
    const std::span<const uint8_t> h264 = i_frame ? h264_i_start : h264_p_start;
    const std::span<const uint8_t> h265 = i_frame ? h265_i_start : h265_p_start;
    const auto start = coding_ == codec::h264 ? h264 : h265;
    const auto start_size = static_cast<uint32_t>(std::min<size_t>(start.size(), size));
    return {i_frame, start.first(start_size), size - start_size};
}

} // namespace compose
