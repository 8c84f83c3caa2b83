#include "file_op/common/log.h"

#include "base/heap_bytes.hpp"
#include "base/host_file.hpp"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <unistd.h>

namespace {

enum { log_failed = -1, log_no_memory = -2 };

constexpr char cr = '\r';
constexpr char lf = '\n';

// The recorder's terminals want both characters, but a line feed of the caller stays in front: LF becomes LF CR.
const char* missing_line_end(const char* format, size_t length) {
    const char last = length >= 1 ? format[length - 1] : '\0';
    const char before = length >= 2 ? format[length - 2] : '\0';
    if (last == lf)
        return before == cr ? "" : "\r";
    if (last == cr)
        return before == lf ? "" : "\n";
    return "\r\n";
}

using text = kmr::heap_array<char>;

text with_line_end(const char* format) {
    constexpr size_t room_for_line_end = 3;
    const size_t length = std::strlen(format);
    text copy = kmr::allocate_array<char>(length + room_for_line_end);
    if (copy != nullptr) {
        const char* const line_end = missing_line_end(format, length);
        std::memcpy(copy.get(), format, length);
        std::memcpy(copy.get() + length, line_end, std::strlen(line_end) + 1);
    }
    return copy;
}

constexpr const char* end_of_colour = "\x1B[0;39m";

// Where one message goes, from what stands before it to what follows it.
class message_output {
public:
    explicit message_output(uint32_t level) : level_(level) { open(); }
    ~message_output() {
        if (level_ == ZN_LOG_PLAIN)
            std::printf("%s\r\n", end_of_colour);
    }
    message_output(const message_output&) = delete;
    message_output& operator=(const message_output&) = delete;

    // Null when the log file cannot be opened.
    [[nodiscard]] std::FILE* stream() const { return file_ != nullptr ? file_.get() : console_; }

private:
    void open() {
        switch (level_) {
        case ZN_LOG_INFO:
            return print_coloured_stamp("33");
        case ZN_LOG_ERROR:
            return print_coloured_stamp("31");
        case ZN_LOG_PLAIN:
            std::printf("\x1B[1;36m");
            return;
        default:
            return open_log_file();
        }
    }

    static void print_coloured_stamp(const char* colour) {
        std::printf("\x1B[1;%sm[", colour);
        print_time(stdout);
        std::printf(" %ld]%s", static_cast<long>(getpid()), end_of_colour);
    }

    void open_log_file() {
        console_ = nullptr;
        file_ = kmr::open_host_file("printf.txt", "a+");
        if (file_ == nullptr)
            return;
        std::fputc('[', file_.get());
        print_time(file_.get());
        std::fputc(']', file_.get());
    }

    static void print_time(std::FILE* to) {
        const std::time_t now = std::time(nullptr);
        std::tm local = {};
        localtime_r(&now, &local);
        std::fprintf(to, "%04d/%02d/%02d %02d:%02d:%02d", local.tm_year + 1900, local.tm_mon + 1,
                     local.tm_mday, local.tm_hour % 24, local.tm_min, local.tm_sec);
    }

    uint32_t level_;
    kmr::host_file file_;
    std::FILE* console_ = stdout;
};

} // namespace

int32_t zn_printf_alone(uint32_t level, const char* format, ...) {
    if (format == nullptr)
        return log_failed;
    const text line = with_line_end(format);
    if (line == nullptr)
        return log_no_memory;
    const message_output output(level);
    if (output.stream() == nullptr)
        return log_failed;
    va_list arguments;
    va_start(arguments, format);
    const int32_t count = std::vfprintf(output.stream(), line.get(), arguments);
    va_end(arguments);
    return count;
}
