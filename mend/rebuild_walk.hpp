// Whether the recorder's own rebuild comes to the end of a recording: it cuts where the stamp of one frame, inserted
// ones among them, may not follow that of the frame before.
#pragma once

#include "file_op/common/frame_check.h"

#include <cstdint>
#include <optional>

namespace kmr::mend {

class rebuild_walk {
public:
    void step_to(uint32_t stamp) {
        stops_ = stops_ || (last_ && rec_CheckFrameTm(stamp, *last_) == 0);
        last_ = stamp;
    }
    bool stops() const { return stops_; }

private:
    std::optional<uint32_t> last_ = {};
    bool stops_ = false;
};

} // namespace kmr::mend
