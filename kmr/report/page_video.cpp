#include "kmr/report/page_video.hpp"

#include "convert/container.hpp"
#include "convert/extract.hpp"
#include "kmr/extract/extract_words.hpp"
#include "kmr/extract/stoppable_source.hpp"
#include "kmr/output/json.hpp"
#include "kmr/page/page_text.hpp"
#include "kmr/report/base64.hpp"
#include "kmr/report/nameless_file.hpp"
#include "kmr/report/shown_runs.hpp"
#include "kmr/show_output.hpp"
#include "kmr/told_source.hpp"

#include <vector>

namespace kmr::program {
namespace {

constexpr uint64_t mib = uint64_t{1} << 20;

// Browsers bound the length of one text, so the video stands in several; whole groups of three bytes in each.
constexpr uint64_t block_size = 12 * mib;
constexpr uint64_t read_size = uint64_t{48} * 1024;
static_assert(block_size % 3 == 0 && read_size % 3 == 0);

uint64_t blocks_of(const nameless_file& video) {
    return (video.size() + block_size - 1) / block_size;
}

std::string why_none(const convert::extracted& result, const nameless_file& video, uint64_t most_mib) {
    if (result.status != convert::extract_status::done)
        return why_no_stream(result) + (way_out_of(result).empty() ? "" : " (kmr extract makes .mkv)");
    if (result.judged.changed)
        return "the recording was changed while it was read";
    if (!video.is_too_large())
        return {};
    const std::string needed = std::to_string((video.size() + mib - 1) / mib);
    return "it takes " + needed + " MiB, more than " + std::to_string(most_mib) + " (--video=" + needed +
           " lets it in)";
}

void append_facts(std::string& to, const convert::extracted& result, const noted_stream& stream,
                  const nameless_file& video) {
    std::string json;
    output::json_writer facts(json);
    facts.begin_object().member("type", "video/mp4").member("codec", word_for(result.codec));
    facts.member("frames", result.frames).member("left_out", words_for(result));
    facts.member("blocks", blocks_of(video)).key("runs").begin_array();
    for (const shown_run& each : stream.runs())
        facts.begin_array().value(each.offset).value(each.frames).value(each.at_ms).end_array();
    facts.end_array().end_object();
    begin_block(to, "video-facts");
    append_to_block(to, json);
    end_block(to);
}

// 0 or an errno value.
int append_bytes(page_file& to, nameless_file& video, uint64_t begin, uint64_t end) {
    std::vector<uint8_t> piece(read_size);
    for (uint64_t at = begin; at < end && to.is_wanted(); at += piece.size()) {
        piece.resize(static_cast<size_t>(std::min(end - at, read_size)));
        const scan::read_result read = video.read_at(at, piece);
        if (read.failed() || read.count != piece.size()) // uncovered: a disk that forgets what it was given
            return EIO;                                  // uncovered: as above
        append_base64(to.buffer(), piece);
        to.keep_small();
    }
    return 0;
}

int append_blocks(page_file& to, nameless_file& video) {
    for (uint64_t block = 0; block < blocks_of(video); ++block) {
        const uint64_t begin = block * block_size;
        begin_block(to.buffer(), "video-bytes-" + std::to_string(block), "text/plain");
        const int error = append_bytes(to, video, begin, std::min(begin + block_size, video.size()));
        if (error != 0)   // uncovered: as above
            return error; // uncovered: as above
        end_block(to.buffer());
    }
    return 0;
}

} // namespace

page_video append_video(page_file& to, mend::disk& on, const std::string& name, uint64_t most_mib,
                        scan::byte_source& recording, output::messages& err) {
    if (!convert::has_containers())
        return {.why_not = "libavformat, which makes it, is not there"};
    nameless_file video(most_mib * mib);
    if (const int error = video.make(on, name))
        return {.error = error};
    noted_stream stream(convert::make_container(video, {}));
    told_source told(recording, err);
    stoppable_source stoppable(told);
    const convert::extracted result = convert::extract(stoppable, {}, stream);
    told.be_quiet();
    if (result.end.why == convert::stop_reason::not_written)
        return {.error = result.end.error};
    if (std::string why = why_none(result, video, most_mib); !why.empty())
        return {.why_not = std::move(why)};
    append_facts(to.buffer(), result, stream, video);
    return {.left_out = words_for(result),
            .is_whole = result.left.seen_frames() == 0 && result.left.torn_bytes == 0,
            .error = append_blocks(to, video)};
}

} // namespace kmr::program
