// The floor under a report with a row for every frame: a loop that reads the recording through one window and writes
// the rows by hand, with no layer, no module, no checks and nothing else to do. It knows sound recordings alone.
//
//   floor FILE      writes the rows of the frame table to standard output
#include "analyse/format/file_header.h"
#include "analyse/format/frame_header.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

[[noreturn]] void give_up(const char* what) {
    std::perror(what);
    std::exit(1);
}

class window {
public:
    void open_file(const char* path) {
        descriptor_ = open(path, O_RDONLY | O_CLOEXEC);
        if (descriptor_ < 0)
            give_up(path);
    }

    // The bytes at that position, or null when the file ends before them.
    const char* at(int64_t position, size_t count) {
        if (position < start_ || position + static_cast<int64_t>(count) > start_ + got_) {
            start_ = position;
            got_ = pread(descriptor_, bytes_.data(), bytes_.size(), position);
            if (got_ < static_cast<ssize_t>(count))
                return nullptr;
        }
        return bytes_.data() + (position - start_);
    }

private:
    int descriptor_ = -1;
    int64_t start_ = 0;
    ssize_t got_ = 0;
    std::array<char, 256 * 1024> bytes_;
};

// Each writes at `at` and returns where it ended.

char* put_right(char* at, const char* text, size_t length, size_t width) {
    for (size_t blanks = length; blanks < width; ++blanks)
        *at++ = ' ';
    for (size_t i = 0; i < length; ++i)
        *at++ = text[i];
    return at;
}

char* put_decimal(char* at, int32_t value, size_t width) {
    char digits[11];
    size_t first = sizeof digits;
    uint32_t rest = value < 0 ? 0U - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
    do {
        digits[--first] = static_cast<char>('0' + rest % 10);
        rest /= 10;
    } while (rest != 0);
    if (value < 0)
        digits[--first] = '-';
    return put_right(at, digits + first, sizeof digits - first, width);
}

char* put_hex8(char* at, uint32_t value) {
    for (int shift = 28; shift >= 0; shift -= 4)
        *at++ = "0123456789abcdef"[value >> shift & 0xF];
    return at;
}

char* put_row(char* at, const kmr_frame_header& frame, uint32_t position, uint32_t delay) {
    at = put_decimal(at, static_cast<int32_t>(frame.FrameNo), 16);
    *at++ = '\t';
    at = put_hex8(at, position);
    *at++ = '\t';
    at = put_right(at, kmr_is_i_frame(&frame) ? "I" : "P", 1, 8);
    for (const uint32_t number : {frame.FrameSize, frame.VideoSize, uint32_t{frame.AFrameNum},
                                  uint32_t{frame.AFrameSize}, frame.TimeStamp, delay}) {
        *at++ = '\t';
        at = put_decimal(at, static_cast<int32_t>(number), 8);
    }
    *at++ = '\t';
    at = put_right(at, "0", 1, 8);
    *at++ = '\t';
    at = put_right(at, "", 0, 8);
    *at++ = '\n';
    return at;
}

class output {
public:
    ~output() { flush(); }

    void write_row(const kmr_frame_header& frame, uint32_t position, uint32_t delay) {
        if (end_ > bytes_.data() + bytes_.size() - longest_row)
            flush();
        end_ = put_row(end_, frame, position, delay);
    }

private:
    static constexpr ptrdiff_t longest_row = 256;

    void flush() {
        const auto length = static_cast<size_t>(end_ - bytes_.data());
        if (write(STDOUT_FILENO, bytes_.data(), length) != static_cast<ssize_t>(length))
            give_up("standard output");
        end_ = bytes_.data();
    }

    std::array<char, 64 * 1024> bytes_;
    char* end_ = bytes_.data();
};

window file;
output rows;

} // namespace

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    file.open_file(argv[1]);
    uint32_t position = KMR_FILE_HEADER_SIZE;
    uint32_t previous_stamp = 0;
    for (;;) {
        const char* bytes = file.at(position, KMR_FRAME_HEADER_SIZE);
        if (bytes == nullptr)
            return 0;
        kmr_frame_header frame;
        std::memcpy(&frame, bytes, sizeof frame);
        const bool opens_index = frame.TimeStamp == 0;
        if (opens_index)
            return 0;
        rows.write_row(frame, position, frame.TimeStamp - previous_stamp);
        previous_stamp = frame.TimeStamp;
        position += frame.FrameSize;
    }
}
