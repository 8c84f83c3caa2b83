#include "kmr/output/times.hpp"

#include "kmr/output/numbers.hpp"

#include <cstdlib>
#include <ctime>

namespace kmr::output {
namespace {

constexpr int64_t ms_a_second = 1000;

int64_t floor_of(int64_t value, int64_t step) {
    const int64_t part = value / step;
    return value % step < 0 ? part - 1 : part;
}

} // namespace

void clock::move_to(int64_t second) {
    second_ = second;
    const auto when = static_cast<std::time_t>(second);
    std::tm parts = {};
    if (zone_ == time_zone::utc) // no count of milliseconds reaches a year that either cannot tell
        gmtime_r(&when, &parts);
    else
        localtime_r(&when, &parts);
    text_.clear();
    append_digits(text_, static_cast<uint64_t>(parts.tm_year) + 1900, 4);
    append_digits(text_ += '-', static_cast<uint64_t>(parts.tm_mon) + 1, 2);
    append_digits(text_ += '-', static_cast<uint64_t>(parts.tm_mday), 2);
    append_digits(text_ += 'T', static_cast<uint64_t>(parts.tm_hour), 2);
    append_digits(text_ += ':', static_cast<uint64_t>(parts.tm_min), 2);
    append_digits(text_ += ':', static_cast<uint64_t>(parts.tm_sec), 2);
    const long minutes = std::labs(parts.tm_gmtoff) / 60;
    ms_at_ = text_.size() + 1;
    text_ += ".000";
    append_digits(text_ += parts.tm_gmtoff < 0 ? '-' : '+', static_cast<uint64_t>(minutes / 60), 2);
    append_digits(text_ += ':', static_cast<uint64_t>(minutes % 60), 2);
}

std::string_view clock::iso_text(int64_t ms) {
    const int64_t second = floor_of(ms, ms_a_second);
    if (second != second_)
        move_to(second);
    auto part = static_cast<unsigned>(ms - second * ms_a_second);
    for (size_t digit = 3; digit-- > 0; part /= 10)
        text_[ms_at_ + digit] = static_cast<char>('0' + part % 10);
    return text_;
}

void append_stream_time(std::string& to, int64_t ms) {
    if (ms < 0)
        to += '-';
    const uint64_t length = ms < 0 ? 0 - static_cast<uint64_t>(ms) : static_cast<uint64_t>(ms);
    append_number(to, length / 3600000);
    append_digits(to += ':', length / 60000 % 60, 2);
    append_digits(to += ':', length / 1000 % 60, 2);
    append_digits(to += '.', length % 1000, 3);
}

std::string stream_time(int64_t ms) {
    std::string to;
    append_stream_time(to, ms);
    return to;
}

} // namespace kmr::output
