#include "kmr/stream_place.hpp"

#include "kmr/start_time.hpp"

namespace kmr::program {

bool stream_places::take(const std::optional<frame_place>& named, std::optional<scan::place>& into) {
    using unit = scan::place::unit;
    if (!named)
        return true;
    if (named->in == frame_place::unit::number && named->value > int64_t{UINT32_MAX}) {
        with_.err.say(std::to_string(named->value), "no frame has such a number");
        return false;
    }
    into = scan::place{unit::stream_ms, named->value};
    if (named->in == frame_place::unit::number)
        into->in = unit::frame_number;
    if (named->in != frame_place::unit::wall_time)
        return true;
    if (!start_ms_)
        start_ms_ = start_of(source_, with_);
    if (!start_ms_) {
        with_.err.say(path_, "nothing tells when it was recorded; name a stream time or a frame number");
        return false;
    }
    into->value -= *start_ms_;
    return true;
}

} // namespace kmr::program
