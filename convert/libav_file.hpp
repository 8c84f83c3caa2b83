// A sink, as libavformat writes to it.
#pragma once

#include "convert/byte_sink.hpp"
#include "convert/libav_calls.hpp"

#include <algorithm>
#include <cerrno>

namespace kmr::convert {

class libav_file {
public:
    explicit libav_file(byte_sink& into) : into_(into) {
        constexpr int buffer_size = 1 << 20;
        auto* const buffer = static_cast<unsigned char*>(libav()->av_malloc(buffer_size));
        if (buffer == nullptr)
            return;
        // The library's versions differ in whether the bytes are constant.
        context_ = libav()->avio_alloc_context(
            buffer, buffer_size, 1, this, nullptr,
            [](void* self, auto* bytes, int length) {
                return static_cast<libav_file*>(self)->write(bytes, length);
            },
            [](void* self, int64_t offset, int whence) {
                return static_cast<libav_file*>(self)->seek(offset, whence);
            });
        if (context_ == nullptr)
            libav()->av_free(buffer);
    }
    ~libav_file() {
        if (context_ != nullptr)
            libav()->av_freep(&context_->buffer);
        libav()->avio_context_free(&context_);
    }
    libav_file(const libav_file&) = delete;
    libav_file& operator=(const libav_file&) = delete;

    AVIOContext* context() const { return context_; }
    int error() const { return error_; } // errno of a write that failed

private:
    int write(const uint8_t* bytes, int length) {
        error_ = into_.write_at(at_, {bytes, static_cast<size_t>(length)});
        if (error_ != 0) // behind which the library writes nothing
            return AVERROR(error_);
        at_ += static_cast<uint64_t>(length);
        size_ = std::max(size_, at_);
        return length;
    }

    // The library asks for the size, or for a place from the beginning on.
    int64_t seek(int64_t offset, int whence) {
        if (whence == AVSEEK_SIZE)              // uncovered: some versions ask for it when they read
            return static_cast<int64_t>(size_); // uncovered: as above
        at_ = static_cast<uint64_t>(offset);
        return offset;
    }

    byte_sink& into_;
    AVIOContext* context_ = nullptr;
    uint64_t at_ = 0;
    uint64_t size_ = 0;
    int error_ = 0;
};

} // namespace kmr::convert
