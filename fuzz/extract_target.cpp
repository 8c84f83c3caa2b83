// Streams, sound and containers out of a recording in memory: every frame is taken or counted as left out, an elementary
// stream is written from front to back and holds the data of the frames that were taken, memory does not grow with it.
//
// The first byte of an input says what is made, and how; the rest is the recording.
#include "convert/container.hpp"
#include "convert/elementary_stream.hpp"
#include "convert/extract.hpp"
#include "fuzz/memory_in_use.hpp"
#include "fuzz/seed_recordings.hpp"
#include "scan/judge.hpp"

#include <algorithm>
#include <cerrno>

namespace fuzz {
namespace {

namespace convert = kmr::convert;
namespace scan = kmr::scan;
using convert::extract_status;

enum option : uint8_t {
    keep_damaged = 1,
    strip_user_data = 2,
    second_half = 4,
    audio = 8,
    container = 16,
    matroska = 32,
    close_pauses = 64,
};

// A window, the buffer of an output, and what the scan keeps.
constexpr size_t most_memory = 8 << 20;

// Keeps what is written. It is full one day: hours of silence may have to be filled in.
class memory_sink final : public convert::byte_sink {
public:
    int write_at(uint64_t offset, input written) override {
        if (offset > largest || written.size() > largest - offset)
            return ENOSPC;
        in_order = in_order && offset == content.size();
        content.resize(std::max<size_t>(content.size(), offset + written.size()));
        std::ranges::copy(written, content.begin() + static_cast<std::ptrdiff_t>(offset));
        return 0;
    }

    static constexpr uint64_t largest = 1 << 24;
    bytes content = {};
    bool in_order = true;
};

scan::report judge(input file) {
    scan::memory_source source(file);
    return scan::judge(source);
}

convert::extract_options options_of(uint8_t choice, const scan::report& judged) {
    convert::extract_options options = {.keep_damaged = (choice & keep_damaged) != 0,
                                        .strip_user_data = (choice & strip_user_data) != 0};
    if ((choice & second_half) != 0)
        options.span.from = scan::place{.value = judged.duration_ms.value_or(0) / 2};
    return options;
}

void expect_counts(const convert::extracted& result, const convert::extract_options& options,
                   const scan::report& judged) {
    if (result.status != extract_status::done || options.span.from)
        return;
    const scan::frame_counts& frames = judged.frames;
    const uint64_t seen = result.frames + result.left.all_frames();
    expect(seen >= frames.total && seen <= frames.total + frames.damaged, "every frame is taken or left out");
    expect(result.left.of(convert::left_out::inserted) == frames.inserted, "inserted frames are left out");
    expect(options.keep_damaged || result.left.of(convert::left_out::encrypted) == frames.encrypted ||
               frames.encrypted > 0,
           "encrypted frames are left out where there are some");
}

void make_elementary(input file, uint8_t choice, const convert::extract_options& options,
                     const scan::report& judged) {
    using part = convert::elementary_stream::part;
    memory_sink sink;
    scan::memory_source source(file);
    const memory_in_use memory;
    convert::extracted result;
    {
        convert::elementary_stream stream(sink, (choice & audio) != 0 ? part::audio : part::video);
        result = convert::extract(source, options, stream);
    }
    expect(memory.peak() <= most_memory + 2 * sink.content.capacity(),
           "memory does not grow with the recording");
    expect(sink.in_order, "a stream is written from front to back");
    expect(sink.content.size() <= file.size(), "and is no longer than the recording");
    expect_counts(result, options, judged);
}

void make_container(input file, uint8_t choice, const convert::extract_options& options,
                    const scan::report& judged) {
    convert::container_options how;
    how.format = (choice & matroska) != 0 ? convert::container_format::mkv : convert::container_format::mp4;
    if ((choice & audio) != 0)
        how.sound = convert::sound_coding::alaw;
    if ((choice & close_pauses) != 0)
        how.longest_step_ms = 1000;
    memory_sink sink;
    scan::memory_source source(file);
    const auto output = convert::make_container(sink, how);
    if (output == nullptr)
        return; // the library that writes them is not there
    const convert::extracted result = convert::extract(source, options, *output);
    expect(result.end.why != convert::stop_reason::not_written || result.end.error == ENOSPC,
           "what cannot be written is told as it was");
    expect(result.status != extract_status::done || !sink.content.empty(), "a container holds something");
    expect_counts(result, options, judged);
}

} // namespace

void run(input data) {
    if (data.empty())
        return;
    const uint8_t choice = data.front();
    const input file = data.subspan(1);
    const scan::report judged = judge(file);
    const convert::extract_options options = options_of(choice, judged);
    if ((choice & container) != 0)
        make_container(file, choice, options, judged);
    else
        make_elementary(file, choice, options, judged);
}

std::vector<seed> seeds() {
    std::vector<seed> all;
    for (const seed& each : seed_recordings())
        for (const int choice : {0, int{container}, container | matroska | audio}) {
            bytes content = {static_cast<uint8_t>(choice)};
            content.insert(content.end(), each.content.begin(), each.content.end());
            all.push_back({each.name + "_" + std::to_string(choice), content});
        }
    return all;
}

} // namespace fuzz
