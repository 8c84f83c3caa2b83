#include "tools/compose/civil_time.hpp"

#include "tools/compose/text_values.hpp"
#include "tools/compose/usage_error.hpp"

#include <algorithm>
#include <cctype>
#include <chrono>

namespace compose {
namespace {

std::chrono::year_month_day date_of(const civil_time& time) {
    return {std::chrono::year(time.year), std::chrono::month(time.month), std::chrono::day(time.day)};
}

bool has_form(const std::string& text) {
    const std::string form = "dddd-dd-dd dd:dd:dd";
    return std::equal(text.begin(), text.end(), form.begin(), form.end(), [](char got, char wanted) {
        return wanted == 'd' ? std::isdigit(static_cast<unsigned char>(got)) != 0 : got == wanted;
    });
}

} // namespace

civil_time parse_civil_time(const std::string& text) {
    if (has_form(text)) {
        const auto number = [&](size_t at, size_t length) { return parse_u16(text.substr(at, length)); };
        const civil_time time = {number(0, 4),  number(5, 2),  number(8, 2),
                                 number(11, 2), number(14, 2), number(17, 2)};
        if (date_of(time).ok() && time.hour < 24 && time.minute < 60 && time.second < 60)
            return time;
    }
    throw usage_error("'" + text + "' is not a time of the form YYYY-MM-DD hh:mm:ss");
}

uint32_t seconds_since_1970(const civil_time& time) {
    using namespace std::chrono;
    const auto since = sys_days(date_of(time)).time_since_epoch() + hours(time.hour) + minutes(time.minute) +
                       seconds(time.second);
    return static_cast<uint32_t>(duration_cast<seconds>(since).count());
}

} // namespace compose
