// Data of frames one behind the other, bit for bit.
#pragma once

#include "convert/stream_output.hpp"

#include <optional>
#include <vector>

namespace kmr::convert {

class elementary_stream final : public stream_output {
public:
    enum class part : uint8_t { video, audio };

    // With a coding, video of another one is refused.
    elementary_stream(byte_sink& into, part of, std::optional<scan::video_codec> coding = {})
        : into_(into), part_(of), coding_(coding) {}

    stream_end take(const stream_frame& frame, std::span<const uint8_t> video,
                    std::span<const uint8_t> audio) override;
    stream_end finish() override;
    bool has_any() const override { return written_ != 0 || !buffer_.empty(); }

private:
    int append(std::span<const uint8_t> bytes);
    int flush();

    static constexpr size_t buffer_size = size_t{1} << 20;

    byte_sink& into_;
    part part_;
    std::optional<scan::video_codec> coding_;
    std::vector<uint8_t> buffer_ = {};
    uint64_t written_ = 0;
};

} // namespace kmr::convert
