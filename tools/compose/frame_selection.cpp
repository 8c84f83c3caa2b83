#include "tools/compose/frame_selection.hpp"

#include "tools/compose/text_values.hpp"
#include "tools/compose/usage_error.hpp"

#include <limits>

namespace compose {
namespace {

constexpr uint64_t no_end = std::numeric_limits<uint64_t>::max();

frame_selection parse_range(const std::string& text) {
    const size_t dash = text.find('-');
    const uint64_t first = parse_u32(text.substr(0, dash));
    const uint64_t last = dash == std::string::npos ? first : parse_u32(text.substr(dash + 1));
    if (last < first)
        throw usage_error("'" + text + "' ends before it begins");
    return {frame_selection::kind::range, first, last};
}

} // namespace

bool frame_selection::holds(uint64_t frame, bool i_frame) const {
    switch (of) { // uncovered: every value has its case
    case kind::i_frames:
        return i_frame;
    case kind::p_frames:
        return !i_frame;
    case kind::every:
        return frame % first == 0;
    case kind::range:
        return first <= frame && frame <= last;
    }
    return false;
}

frame_selection parse_frame_selection(const std::string& text) {
    using kind = frame_selection::kind;
    const std::string every = "every:";
    if (text == "all")
        return {kind::range, 0, no_end};
    if (text == "i-frames")
        return {kind::i_frames, 0, 0};
    if (text == "p-frames")
        return {kind::p_frames, 0, 0};
    if (!text.starts_with(every))
        return parse_range(text);
    const uint64_t step = parse_u32(text.substr(every.size()));
    if (step == 0)
        throw usage_error("'" + text + "' selects no frame");
    return {kind::every, step, 0};
}

} // namespace compose
