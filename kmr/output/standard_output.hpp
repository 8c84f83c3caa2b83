// Standard output, written in large pieces. What cannot be written is never lost silently.
#pragma once

#include "kmr/output/messages.hpp"

#include <cstddef>
#include <string>
#include <string_view>

namespace kmr::output {

struct not_written {
    int error = 0; // errno
};

class standard_output {
public:
    // What is in progress is not told in the middle of data: both may go to one terminal.
    explicit standard_output(messages& beside) : beside_(beside) { buffer_.reserve(buffer_size + room); }
    standard_output(const standard_output&) = delete;
    standard_output& operator=(const standard_output&) = delete;

    // Throws not_written, as all below.
    void write(std::string_view text) {
        buffer_ += text;
        keep_small();
    }

    // To append to in place; `keep_small` must follow.
    std::string& buffer() { return buffer_; }
    void keep_small() {
        if (buffer_.size() >= buffer_size)
            flush();
    }

    void flush();

    // Once, at the end: some file systems tell only on closing that there was no room.
    void finish();

private:
    static constexpr size_t buffer_size = 65536;
    static constexpr size_t room = 4096;

    messages& beside_;
    std::string buffer_ = {};
};

} // namespace kmr::output
