#include "scan/time_line.hpp"

#include <ctime>

namespace kmr::scan {

std::optional<int64_t> header_start_ms(const kmr_file_header& header) {
    const bool plausible = header.Year >= 1970 && header.Month >= 1 && header.Month <= 12 &&
                           header.Day >= 1 && header.Day <= 31 && header.Hour < 24 && header.Minute < 60 &&
                           header.Second < 61;
    if (!plausible)
        return {};
    std::tm local = {};
    local.tm_year = header.Year - 1900;
    local.tm_mon = header.Month - 1;
    local.tm_mday = header.Day;
    local.tm_hour = header.Hour;
    local.tm_min = header.Minute;
    local.tm_sec = header.Second;
    local.tm_isdst = -1;
    const std::time_t seconds = std::mktime(&local);
    // 31 April would have become 1 May. (-1 is a second in 1969, which no header that got here can mean.)
    if (seconds == -1 || local.tm_mday != header.Day)
        return {};
    return int64_t{seconds} * 1000;
}

} // namespace kmr::scan
