#include "scan/payload_checks.hpp"

#include <algorithm>

namespace kmr::scan {
namespace {

// What waits for its first picture is bounded, also where every finding is wanted.
constexpr size_t most_doubts = 65536;

} // namespace

finding payload_checks::on_frame(finding_code code, const frame_event& frame, int64_t stream_ms) const {
    return {.code = code,
            .offset = frame.offset,
            .length = frame.length,
            .frame = frame.header.FrameNo,
            .time_ms = stream_ms};
}

void payload_checks::doubt(const finding& found) {
    if (pictures_known_)
        findings_.add(found);
    else if (doubts_.size() < std::min(most_doubts, findings_.most_per_code()))
        doubts_.push_back(found);
    else
        ++further_doubts_;
}

// Whether there was something to say, or to doubt.
bool payload_checks::judge(const frame_event& frame, payload_outcome& outcome, int64_t stream_ms) {
    const payload_look& look = outcome.look;
    const bool i_header = kmr_is_i_frame(&frame.header) != 0;
    if (!look.starts_with_unit) {
        findings_.add(on_frame(finding_code::video_start_missing, frame, stream_ms));
        return true;
    }
    outcome.kind_is_wrong = !i_header && look.starts_picture();
    outcome.kind_is_doubtful = i_header && !look.has_any_set() && !look.has_random_access && !look.cut;
    if (outcome.kind_is_wrong) {
        findings_.add(on_frame(finding_code::kind_wrong, frame, stream_ms));
        return true;
    }
    if (outcome.kind_is_doubtful) {
        doubt(on_frame(finding_code::kind_wrong, frame, stream_ms));
        return pictures_known_;
    }
    if (i_header && sets_known_ && !look.has_all_sets() && !look.cut) {
        findings_.add(on_frame(finding_code::i_frame_incomplete, frame, stream_ms));
        return true;
    }
    return false;
}

payload_outcome payload_checks::take(const frame_event& frame, int64_t stream_ms) {
    payload_outcome outcome;
    if (frame.header.VideoSize == 0)
        return outcome;
    outcome.user_data = look_at_user_data(frame.long_payload);
    outcome.look = look_at(frame.long_payload, frame.header.VideoSize, outcome.user_data, codec_);
    if (codec_ == video_codec::unknown)
        codec_ = outcome.look.codec;
    if (!judge(frame, outcome, stream_ms) && outcome.user_data.broken) {
        finding found = on_frame(finding_code::user_data_broken, frame, stream_ms);
        found.offset += KMR_FRAME_HEADER_SIZE;
        found.length = frame.header.VideoSize;
        findings_.add(found);
    }
    const bool i_header = kmr_is_i_frame(&frame.header) != 0;
    pictures_known_ = pictures_known_ || outcome.look.has_random_access || outcome.look.has_any_set();
    sets_known_ = sets_known_ || (i_header && outcome.look.has_all_sets());
    return outcome;
}

void payload_checks::finish() {
    if (!pictures_known_)
        return;
    for (const finding& found : doubts_)
        findings_.add(found);
    for (; further_doubts_ > 0; --further_doubts_)
        findings_.add({.code = finding_code::kind_wrong});
}

} // namespace kmr::scan
