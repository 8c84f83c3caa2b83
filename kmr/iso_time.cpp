#include "kmr/iso_time.hpp"

#include <algorithm>
#include <charconv>
#include <ctime>

namespace kmr::program {
namespace {

constexpr bool is_digit(char each) {
    return each >= '0' && each <= '9';
}

// Takes what it knows from the front of a text.
class text_reader {
public:
    explicit text_reader(std::string_view text) : left_(text) {}

    bool at_end() const { return left_.empty(); }

    bool take(char wanted) {
        if (left_.empty() || left_.front() != wanted)
            return false;
        left_.remove_prefix(1);
        return true;
    }

    // A number of at least and at most so many digits.
    std::optional<int> digits(size_t least, size_t most) {
        const auto* const end = std::find_if_not(left_.begin(), left_.end(), is_digit);
        const size_t count = std::min(most, static_cast<size_t>(end - left_.begin()));
        if (count < least)
            return {};
        int value = 0;
        std::from_chars(left_.data(), left_.data() + count, value);
        left_.remove_prefix(count);
        return value;
    }

    // Of a second, behind the point: up to nine digits, of which three count.
    std::optional<int> milliseconds() {
        const std::string_view all = left_;
        if (!digits(1, 9))
            return {};
        const size_t count = all.size() - left_.size();
        int value = 0;
        for (size_t i = 0; i < 3; ++i)
            value = value * 10 + (i < count ? all[i] - '0' : 0);
        return value;
    }

private:
    std::string_view left_;
};

struct calendar_day {
    int year = 0;
    int month = 0;
    int day = 0;
};

struct day_time {
    int hour = 0;
    int minute = 0;
    int second = 0;
    int ms = 0;
};

std::optional<int> below(std::optional<int> value, int limit) {
    return value && *value < limit ? value : std::nullopt;
}

bool take_part(text_reader& from, int limit, int& into) {
    const auto value = below(from.digits(2, 2), limit);
    into = value.value_or(0);
    return value.has_value();
}

bool take_fraction(text_reader& from, int& into) {
    if (!from.take('.'))
        return true;
    const auto value = from.milliseconds();
    into = value.value_or(0);
    return value.has_value();
}

bool take_day(text_reader& from, calendar_day& into) {
    const auto take = [&](size_t digits, int& part) {
        const auto value = from.digits(digits, digits);
        part = value.value_or(0);
        return value.has_value();
    };
    return take(4, into.year) && from.take('-') && take(2, into.month) && from.take('-') && take(2, into.day);
}

bool take_day_time(text_reader& from, day_time& into) {
    constexpr int sixty = 60;
    if (!take_part(from, 24, into.hour))
        return false;
    if (!from.take(':'))
        return true;
    if (!take_part(from, sixty, into.minute))
        return false;
    if (!from.take(':'))
        return true;
    return take_part(from, sixty + 1, into.second) && take_fraction(from, into.ms);
}

// Seconds east of UTC, where the text tells them.
bool take_offset(text_reader& from, std::optional<int>& into) {
    if (from.at_end())
        return true;
    if (from.take('Z') || from.take('z')) {
        into = 0;
        return from.at_end();
    }
    const bool west = from.take('-');
    if (!west && !from.take('+'))
        return false;
    const auto hours = below(from.digits(2, 2), 24);
    const auto minutes = !from.take(':') && from.at_end() ? std::optional(0) : below(from.digits(2, 2), 60);
    if (!hours || !minutes || !from.at_end())
        return false;
    const int seconds = (*hours * 60 + *minutes) * 60;
    into = west ? -seconds : seconds;
    return true;
}

} // namespace

std::optional<int64_t> parse_iso_time(std::string_view text, output::time_zone zone) {
    text_reader from(text);
    calendar_day day;
    day_time time;
    std::optional<int> offset;
    if (!take_day(from, day))
        return {};
    if ((from.take('T') || from.take(' ')) && !take_day_time(from, time))
        return {};
    if (!take_offset(from, offset))
        return {};
    std::tm parts = {};
    parts.tm_year = day.year - 1900;
    parts.tm_mon = day.month - 1;
    parts.tm_mday = day.day;
    parts.tm_hour = time.hour;
    parts.tm_min = time.minute;
    parts.tm_sec = time.second;
    parts.tm_isdst = -1;
    const bool in_utc = offset || zone == output::time_zone::utc;
    const std::time_t seconds = in_utc ? timegm(&parts) - offset.value_or(0) : std::mktime(&parts);
    if (parts.tm_mday != day.day || parts.tm_mon != day.month - 1) // 31 April
        return {};
    return int64_t{seconds} * 1000 + time.ms;
}

std::optional<int64_t> parse_stream_time(std::string_view text) {
    constexpr size_t longest = 6;
    text_reader from(text);
    const auto first = from.digits(1, longest);
    const auto second = from.take(':') ? below(from.digits(2, 2), 60) : std::nullopt;
    if (!first || !second)
        return {};
    int64_t seconds = int64_t{*first} * 60 + *second;
    if (from.take(':')) {
        const auto third = below(from.digits(2, 2), 60);
        if (!third)
            return {};
        seconds = seconds * 60 + *third;
    }
    int ms = 0;
    if (!take_fraction(from, ms) || !from.at_end())
        return {};
    return seconds * 1000 + ms;
}

} // namespace kmr::program
