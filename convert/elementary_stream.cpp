#include "convert/elementary_stream.hpp"

namespace kmr::convert {

stream_end elementary_stream::take(const stream_frame& frame, std::span<const uint8_t> video,
                                   std::span<const uint8_t> audio) {
    const bool other = coding_ && frame.codec != scan::video_codec::unknown && frame.codec != *coding_;
    if (other)
        return {.why = stop_reason::other_coding, .number = frame.number, .words = {}};
    return end_of_write(append(part_ == part::video ? video : audio));
}

stream_end elementary_stream::finish() {
    return end_of_write(flush());
}

int elementary_stream::append(std::span<const uint8_t> bytes) {
    if (buffer_.size() + bytes.size() > buffer_size)
        if (const int error = flush())
            return error;
    buffer_.reserve(buffer_size);
    buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
    return 0;
}

int elementary_stream::flush() {
    const int error = into_.write_at(written_, buffer_);
    written_ += buffer_.size();
    buffer_.clear();
    return error;
}

} // namespace kmr::convert
