#include "file_op/common/log.h"

#include "base/heap_bytes.hpp"
#include "base/host_file.hpp"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <unistd.h>

namespace {

enum { LOG_FAILED = -1, LOG_NO_MEMORY = -2 };

constexpr char cr = '\r';
constexpr char lf = '\n';

// The recorder's terminals want both characters, but a line feed of the caller stays in front: LF becomes LF CR.
const char* missing_line_end(const char* format, std::size_t length) {
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
    constexpr std::size_t room_for_line_end = 3;
    const std::size_t length = std::strlen(format);
    text copy = kmr::allocate_array<char>(length + room_for_line_end);
    if (copy != nullptr) {
        std::memcpy(copy.get(), format, length);
        std::strcpy(copy.get() + length, missing_line_end(format, length));
    }
    return copy;
}

std::tm local_time() {
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    return local;
}

int32_t print_stamped(const char* colour, const char* format, va_list arguments) {
    const std::tm now = local_time();
    std::printf("\x1B[1;%sm[%04d/%02d/%02d %02d:%02d:%02d %ld]\x1B[0;39m", colour, now.tm_year + 1900,
                now.tm_mon + 1, now.tm_mday, now.tm_hour % 24, now.tm_min, now.tm_sec,
                static_cast<long>(getpid()));
    return std::vprintf(format, arguments);
}

int32_t print_plain(const char* format, va_list arguments) {
    std::fputs("\x1B[1;36m", stdout);
    const int32_t count = std::vprintf(format, arguments);
    std::puts("\x1B[0;39m\r");
    return count;
}

int32_t append_to_file(const char* format, va_list arguments) {
    const kmr::host_file file = kmr::open_host_file("printf.txt", "a+");
    if (file == nullptr)
        return LOG_FAILED;
    const std::tm now = local_time();
    std::fprintf(file.get(), "[%04d/%02d/%02d %02d:%02d:%02d]", now.tm_year + 1900, now.tm_mon + 1,
                 now.tm_mday, now.tm_hour % 24, now.tm_min, now.tm_sec);
    return std::vfprintf(file.get(), format, arguments);
}

int32_t print(uint32_t level, const char* format, va_list arguments) {
    constexpr const char* yellow = "33";
    constexpr const char* red = "31";
    switch (level) {
    case ZN_LOG_INFO:
        return print_stamped(yellow, format, arguments);
    case ZN_LOG_ERROR:
        return print_stamped(red, format, arguments);
    case ZN_LOG_PLAIN:
        return print_plain(format, arguments);
    default:
        return append_to_file(format, arguments);
    }
}

} // namespace

int32_t zn_printf_alone(uint32_t level, const char* format, ...) {
    if (format == nullptr)
        return LOG_FAILED;
    const text line = with_line_end(format);
    if (line == nullptr)
        return LOG_NO_MEMORY;
    va_list arguments;
    va_start(arguments, format);
    const int32_t count = print(level, line.get(), arguments);
    va_end(arguments);
    return count;
}
