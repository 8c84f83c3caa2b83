// Is the payload what the header says? At most one finding a frame, and none in what cannot be looked into.
#pragma once

#include "scan/events.hpp"
#include "scan/finding_list.hpp"
#include "scan/payload.hpp"
#include "scan/user_data.hpp"

#include <vector>

namespace kmr::scan {

struct payload_outcome {
    payload_look look = {};
    user_data_look user_data = {};
    bool kind_is_wrong = false;    // a P header in front of an I-frame's picture
    bool kind_is_doubtful = false; // an I header in front of no I-frame's picture
};

class payload_checks {
public:
    explicit payload_checks(finding_list& findings) : findings_(findings) {}

    // An ordinary frame that is neither encrypted nor of MJPEG.
    payload_outcome take(const frame_event& frame, int64_t stream_ms);

    // Doubts about I headers count only if the recording has pictures of I-frames, wherever they were met.
    void finish();

    bool pictures_known() const { return pictures_known_; }
    video_codec codec() const { return codec_; }

private:
    bool judge(const frame_event& frame, payload_outcome& outcome, int64_t stream_ms);
    void doubt(const finding& found);
    finding on_frame(finding_code code, const frame_event& frame, int64_t stream_ms) const;

    finding_list& findings_;
    video_codec codec_ = video_codec::unknown;
    bool pictures_known_ = false;
    bool sets_known_ = false; // an I-frame had all of its parameter sets
    std::vector<finding> doubts_ = {};
    uint64_t further_doubts_ = 0; // beyond what may be listed
};

} // namespace kmr::scan
