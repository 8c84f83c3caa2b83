#include "kmr/extract/extract_words.hpp"

#include "kmr/extract/output_kinds.hpp"
#include "kmr/judged_file.hpp"

namespace kmr::program {
namespace {

using convert::left_out;

struct cause_words {
    left_out why;
    std::string_view words;
};

constexpr cause_words causes[] = {
    {left_out::damaged, "damaged"},
    {left_out::encrypted, "encrypted"},
    {left_out::behind_damage, "behind damage up to the next I-frame"},
    {left_out::behind_missing, "behind missing ones up to the next I-frame"},
    {left_out::behind_encrypted, "behind encrypted ones up to the next I-frame"},
    {left_out::before_start, "in front of the first I-frame"},
    {left_out::inserted, "inserted"},
};

std::string counted(uint64_t count, std::string_view what) {
    return std::to_string(count).append(" ").append(what).append(count == 1 ? "" : "s");
}

std::string words_of_end(const convert::extracted& result) {
    using enum convert::stop_reason;
    const convert::stream_end& end = result.end;
    const std::string frame = std::to_string(end.number);
    switch (end.why) { // uncovered: every value has its case
    case none:
    case not_written:
        break;
    case other_coding:
        return "the video is " + std::string(words_for(result.codec));
    case unknown_coding:
        return "nothing tells how the video is coded";
    case no_sets:
        return "the video has no parameter sets, and without them no container can hold it";
    case no_picture_size:
        return "nothing tells the size of the picture";
    case sets_changed:
        return "the video's parameter sets change at frame " + frame + ", which .mp4 cannot hold";
    case size_changed:
        return "the size of the picture changes at frame " + frame + ", which .mp4 cannot hold";
    case long_pause:
        return "more than 24 days without a picture end at frame " + frame + ", which .mp4 cannot hold";
    case no_sound_format:
        return "its file header tells no rate or no channels of the sound";
    case long_silence:
        return "more than ten hours without sound end at frame " + frame;
    case container:
        return end.words;
    }
    return {};
}

std::string why_unreadable(const convert::extracted& result) {
    const int error = result.end.error;
    const std::string why = error != 0 ? words_of(error) : problem_of(result.judged);
    return why.empty() ? "became shorter while it was read" : why;
}

} // namespace

std::string words_for(const convert::extracted& result) {
    std::string words;
    if (const uint64_t frames = result.left.all_frames()) {
        words = "left out " + std::to_string(frames) + " of " + counted(frames + result.frames, "frame");
        std::string_view before = ": ";
        for (const cause_words& each : causes)
            if (const uint64_t count = result.left.of(each.why)) {
                words.append(before).append(std::to_string(count)).append(" ").append(each.words);
                before = ", ";
            }
    }
    if (result.left.torn_bytes != 0) {
        words.append(words.empty() ? "left out " : "; ");
        words += counted(result.left.torn_bytes, "byte") + " that " +
                 (result.left.torn_bytes == 1 ? "is" : "are") + " no frame";
    }
    return words;
}

std::string why_no_stream(const convert::extracted& result) {
    using enum convert::extract_status;
    switch (result.status) { // uncovered: every value has its case
    case done:
        break;
    case unreadable:
        return why_unreadable(result);
    case not_a_recording:
        return "not a recording";
    case stopped:
        return words_of_end(result);
    case nothing_left:
        return "nothing is left that could be written";
    }
    return {};
}

std::string way_out_of(const convert::extracted& result) {
    using enum convert::stop_reason;
    const std::string there = ", or begin there (--from " + std::to_string(result.end.number) + ")";
    switch (result.end.why) {
    case other_coding: {
        const std::string_view suffix = suffix_for(result.codec);
        return suffix.empty() ? "" : ": name a file that ends with " + std::string(suffix);
    }
    case sets_changed:
    case size_changed:
        return ": use .mkv" + there;
    case long_pause:
        return ": use .mkv or --close-pauses" + there;
    case long_silence:
        return ": use --close-pauses" + there;
    default:
        return {};
    }
}

} // namespace kmr::program
