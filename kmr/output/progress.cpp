#include "kmr/output/progress.hpp"

#include "kmr/output/numbers.hpp"

#include <cmath>

namespace kmr::output {
namespace {

using std::chrono::duration;
using std::chrono::milliseconds;

constexpr milliseconds silent_for{1000};
constexpr milliseconds between_two{200};
constexpr double tenths = 10;

struct byte_unit {
    double bytes;
    std::string_view name;
};

const byte_unit& unit_for(double bytes) {
    static constexpr byte_unit units[] = {{1e9, "GB"}, {1e6, "MB"}, {1e3, "kB"}, {1, "B"}};
    for (const byte_unit& each : units)
        if (bytes >= each.bytes)
            return each;
    return units[3];
}

void append_tenths(std::string& to, double value) {
    const auto all = static_cast<uint64_t>(std::llround(value * tenths));
    append_number(to, all / 10);
    append_number(to += '.', all % 10);
}

void append_minutes(std::string& to, double seconds) {
    const auto all = static_cast<uint64_t>(std::llround(seconds));
    append_number(to, all / 60);
    append_digits(to += ':', all % 60, 2);
}

} // namespace

std::string progress_line(const work_done& done, const work_done& all, double seconds) {
    std::string line = "files ";
    append_number(line, done.files);
    append_number(line += " of ", all.files);
    const auto bytes = static_cast<double>(done.bytes);
    const auto bytes_of_all = static_cast<double>(all.bytes);
    const byte_unit& unit = unit_for(bytes_of_all);
    append_tenths(line += ", ", bytes / unit.bytes);
    append_tenths(line += " of ", bytes_of_all / unit.bytes);
    line.append(" ").append(unit.name);
    const double rate = seconds > 0 ? bytes / seconds : 0;
    if (rate < 1)
        return line;
    const byte_unit& rate_unit = unit_for(rate);
    append_tenths(line += ", ", rate / rate_unit.bytes);
    line.append(" ").append(rate_unit.name).append("/s, ");
    append_minutes(line, bytes < bytes_of_all ? (bytes_of_all - bytes) / rate : 0);
    return line += " left";
}

void progress::show(const work_done& done) {
    const auto now = steady::now();
    if (now - begun_ < silent_for || now - shown_ < between_two)
        return;
    shown_ = now;
    on_.show_progress(progress_line(done, all_, duration<double>(now - begun_).count()));
}

} // namespace kmr::output
