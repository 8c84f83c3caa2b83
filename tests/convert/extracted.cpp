#include "tests/convert/extracted.hpp"

#include <algorithm>
#include <cerrno>

namespace convert_test {

namespace convert = kmr::convert;

convert::stream_end noted_output::take(const convert::stream_frame& frame, std::span<const uint8_t> video,
                                       std::span<const uint8_t> audio) {
    frames.push_back(frame);
    taken.push_back(frame.number);
    video_bytes.insert(video_bytes.end(), video.begin(), video.end());
    audio_bytes.insert(audio_bytes.end(), audio.begin(), audio.end());
    return {};
}

outcome extract(const bytes& recording, const convert::extract_options& options) {
    kmr::scan::memory_source source(recording);
    noted_output output;
    outcome of;
    of.result = convert::extract(source, options, output);
    of.taken = output.taken;
    of.video = output.video_bytes;
    of.audio = output.audio_bytes;
    of.frames = output.frames;
    return of;
}

int memory_sink::write_at(uint64_t offset, std::span<const uint8_t> written) {
    if (offset + written.size() > room)
        return ENOSPC;
    content.resize(std::max<size_t>(content.size(), static_cast<size_t>(offset) + written.size()));
    std::copy(written.begin(), written.end(), content.begin() + static_cast<std::ptrdiff_t>(offset));
    return 0;
}

} // namespace convert_test
