#include "modules/recording_start.hpp"

#include "analyse/format/file_header.h"
#include "modules/host_call.hpp"
#include "modules/read_ahead.hpp"

#include <cstddef>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>

namespace kmr::plain {
namespace {

constexpr int first_year = 1970;
constexpr int last_year = 2105; // the last whole year of 32-bit seconds
constexpr uint16_t most_frames_per_second = 60;

constexpr size_t date_offset = offsetof(kmr_file_header, Year);
constexpr size_t date_size = offsetof(kmr_file_header, CoverMask) - date_offset;

bool lies_within(int value, int lowest, int highest) {
    return value >= lowest && value <= highest;
}

bool is_plausible(const kmr_file_header& header) {
    return header.FrameRate <= most_frames_per_second && lies_within(header.Year, first_year, last_year) &&
           lies_within(header.Month, 1, 12) && lies_within(header.Day, 1, 31) && header.Hour < 24 &&
           header.Minute < 60 && header.Second < 60;
}

bool read_header(int descriptor, kmr_file_header& header) {
    const auto wanted = static_cast<ssize_t>(sizeof header);
    return retried([&] { return pread(descriptor, &header, sizeof header, 0); }) == wanted &&
           is_plausible(header);
}

std::time_t local_seconds(const kmr_file_header& header) {
    std::tm local = {};
    local.tm_year = header.Year - 1900;
    local.tm_mon = header.Month - 1;
    local.tm_mday = header.Day;
    local.tm_hour = header.Hour;
    local.tm_min = header.Minute;
    local.tm_sec = header.Second;
    local.tm_isdst = -1;
    return std::mktime(&local);
}

bool store_date(kmr_file_header& header, int64_t start) {
    const auto seconds = static_cast<std::time_t>(start);
    std::tm local;
    if (seconds != start || localtime_r(&seconds, &local) == nullptr ||
        !lies_within(local.tm_year, first_year - 1900, last_year - 1900))
        return false;
    header.Year = static_cast<uint16_t>(local.tm_year + 1900);
    header.Month = static_cast<uint16_t>(local.tm_mon + 1);
    header.Day = static_cast<uint16_t>(local.tm_mday);
    header.Hour = static_cast<uint16_t>(local.tm_hour);
    header.Minute = static_cast<uint16_t>(local.tm_min);
    header.Second = static_cast<uint16_t>(local.tm_sec);
    return true;
}

bool write_date(int descriptor, const kmr_file_header& header) {
    const auto* const date = reinterpret_cast<const unsigned char*>(&header) + date_offset;
    const auto wanted = static_cast<ssize_t>(date_size);
    const bool is_written =
        retried([&] { return pwrite(descriptor, date, date_size, date_offset); }) == wanted;
    forget_all_windows();
    return is_written;
}

} // namespace

uint32_t recording_start(const char* host_path) {
    const host_descriptor file(open_quietly(host_path, O_RDONLY | O_NONBLOCK));
    kmr_file_header header;
    if (file.number() < 0 || !read_header(file.number(), header))
        return 0;
    const std::time_t seconds = local_seconds(header);
    return seconds < 0 ? 0 : static_cast<uint32_t>(seconds);
}

int32_t change_recording_start(const char* host_path, int64_t start) {
    const host_descriptor file(open_quietly(host_path, O_RDWR | O_NONBLOCK));
    struct stat before;
    kmr_file_header header;
    if (file.number() < 0 || fstat(file.number(), &before) != 0 || !read_header(file.number(), header) ||
        !store_date(header, start) || !write_date(file.number(), header))
        return -1;
    const timespec times[] = {before.st_atim, before.st_mtim};
    return futimens(file.number(), times);
}

} // namespace kmr::plain
