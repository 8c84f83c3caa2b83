// Times as text: ISO 8601 with the offset from UTC, and stream time.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kmr::output {

enum class time_zone : uint8_t { local, utc };

// "2015-01-02T03:04:05.000+01:00" from milliseconds since 1970 UTC. Neighbouring times are cheap: the zone is asked
// only where the second changes. One for each thread.
class clock {
public:
    explicit clock(time_zone zone) : zone_(zone) {}

    // Valid until the next one.
    std::string_view iso_text(int64_t ms);

    std::string iso(int64_t ms) { return std::string(iso_text(ms)); }
    std::optional<std::string> iso(const std::optional<int64_t>& ms) {
        return ms ? std::optional(iso(*ms)) : std::nullopt;
    }
    void append_iso(std::string& to, int64_t ms) { to += iso_text(ms); }

private:
    void move_to(int64_t second);

    time_zone zone_;
    int64_t second_ = INT64_MIN;
    std::string text_ = {};
    size_t ms_at_ = 0; // where the three digits of milliseconds stand in it
};

// "0:00:02.960", negative ones with a minus in front.
void append_stream_time(std::string& to, int64_t ms);
std::string stream_time(int64_t ms);

} // namespace kmr::output
