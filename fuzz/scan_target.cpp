// The scan and the judgement of a recording in memory: events tile the file and hold its bytes, counts add up, work is
// linear, memory does not grow with the recording.
#include "fuzz/memory_in_use.hpp"
#include "fuzz/seed_recordings.hpp"
#include "scan/judge.hpp"
#include "scan/quick_look.hpp"
#include "scan/scanner.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <numeric>
#include <tuple>

namespace fuzz {
namespace {

namespace scan = kmr::scan;

// Counts what is read, and may fail or end early.
class watched_source final : public scan::byte_source {
public:
    explicit watched_source(input content) : inner_(content), content_(content) {}

    uint64_t size() const override { return inner_.size(); }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        if (offset + into.size() > fails_at)
            return {.count = 0, .error = EIO};
        const uint64_t there = ends_at - std::min(ends_at, offset);
        const scan::read_result result =
            inner_.read_at(offset, into.first(std::min<uint64_t>(there, into.size())));
        bytes_read += result.count;
        return result;
    }
    input content() const { return content_; }

    uint64_t bytes_read = 0;
    uint64_t fails_at = UINT64_MAX;
    uint64_t ends_at = UINT64_MAX;

private:
    scan::memory_source inner_;
    input content_;
};

// Each byte twice, the window once more around each header that is looked at.
uint64_t most_bytes_read(uint64_t size) {
    return 16 * size + uint64_t{65536} * 4;
}

// Window, findings and what waits for the next frame; no file needs more.
constexpr size_t most_memory = 1 << 20;

// --- events ---

class tiles {
public:
    explicit tiles(input file) : file_(file) {}

    void take(const scan::header_event& header) {
        expect(!began_ && header.length == std::min<size_t>(file_.size(), KMR_FILE_HEADER_SIZE),
               "the header comes first");
        const auto* const seen = reinterpret_cast<const uint8_t*>(&header.header);
        expect(std::equal(seen, seen + header.length, file_.begin()), "and is that of the file");
        began_ = true;
        at_ = header.length;
    }
    void take(const scan::frame_event& frame) {
        cover(frame.offset, frame.length);
        if (frame.header_whole)
            expect(std::memcmp(&frame.header, at(frame.offset), KMR_FRAME_HEADER_SIZE) == 0,
                   "a frame's header is that of the file");
        expect_payload(frame, frame.payload);
        expect_payload(frame, frame.long_payload);
        if (frame.is_whole())
            expect(frame.length == frame.header.FrameSize, "a whole frame has the length that it says");
    }
    void take(const scan::torn_event& region) { cover(region.offset, region.length); }
    void take(const scan::index_event& block) {
        cover(block.offset, block.length);
        expect(!has_index_, "there is one index");
        has_index_ = true;
    }
    void take(const scan::trailing_event& rest) {
        expect(has_index_, "bytes behind the index stand behind one");
        cover(rest.offset, rest.length);
    }
    void take(const scan::end_event& end) {
        expect(end.state == scan::end_state::complete && at_ == file_.size() && end.offset == file_.size(),
               "the whole file is covered");
    }

private:
    const uint8_t* at(uint64_t offset) const { return file_.data() + offset; }
    void cover(uint64_t offset, uint64_t length) {
        expect(offset == at_ && length > 0 && length <= file_.size() - offset, "events tile the file");
        at_ = offset + length;
    }
    void expect_payload(const scan::frame_event& frame, input payload) const {
        expect(payload.size() + KMR_FRAME_HEADER_SIZE <= frame.length || payload.empty(),
               "a payload lies within its frame");
        expect(std::equal(payload.begin(), payload.end(), at(frame.offset) + KMR_FRAME_HEADER_SIZE),
               "and holds the bytes of the file");
    }

    input file_;
    uint64_t at_ = 0;
    bool began_ = false;
    bool has_index_ = false;
};

void expect_tiled(input file) {
    watched_source source(file);
    tiles covered(file);
    {
        const memory_in_use memory;
        scan::scanner events(source);
        for (bool ended = false; !ended;) {
            const scan::event seen = events.next();
            std::visit([&](const auto& each) { covered.take(each); }, seen);
            ended = std::holds_alternative<scan::end_event>(seen);
        }
        expect(std::holds_alternative<scan::end_event>(events.next()), "the end is repeated");
        expect(memory.peak() <= most_memory, "a scan needs no more memory than its window");
    }
    expect(source.bytes_read <= most_bytes_read(file.size()), "the work of a scan is linear");
}

// --- the judgement ---

bool has_error(const scan::report& judged) {
    return std::any_of(judged.findings.begin(), judged.findings.end(), [](const scan::finding& each) {
        return scan::kind_of(each.code).level == scan::severity::error;
    });
}

void expect_findings(const scan::report& judged, uint64_t size) {
    expect(std::is_sorted(judged.findings.begin(), judged.findings.end(),
                          [](const auto& a, const auto& b) {
                              return std::tie(a.offset, a.code) < std::tie(b.offset, b.code);
                          }),
           "findings stand in order");
    std::array<uint64_t, scan::finding_code_count> listed = {};
    for (const scan::finding& each : judged.findings) {
        expect(each.offset <= size && each.length <= size - each.offset, "a finding lies within the file");
        expect(!scan::message_of(each).empty(), "and can be told");
        ++listed[static_cast<size_t>(each.code)];
    }
    uint64_t left_out = 0;
    for (size_t code = 0; code < listed.size(); ++code) {
        expect(listed[code] == std::min<uint64_t>(judged.found[code], scan::judge_options{}.most_per_code),
               "of each code so many are listed as fit");
        left_out += judged.found[code] - listed[code];
    }
    expect(left_out == judged.findings_left_out, "the others are counted");
}

void expect_report(const scan::report& judged, uint64_t size) {
    expect(judged.ended == scan::end_state::complete && judged.size == size, "the file is judged to its end");
    expect_findings(judged, size);
    const scan::frame_counts& frames = judged.frames;
    expect(frames.total == frames.i + frames.p + frames.inserted && frames.encrypted <= frames.i + frames.p,
           "the counts of frames add up");
    expect(judged.repair.frames_kept == frames.total, "a repair keeps every whole frame");
    expect(judged.repair.bytes_kept + judged.repair.bytes_lost <= size, "and no more bytes than there are");
    expect(judged.judged != scan::verdict::unreadable, "what can be read is judged");
    expect(judged.judged != scan::verdict::sound || (!has_error(judged) && judged.index.present),
           "sound is what has an index and no error");
    expect(!has_error(judged) || judged.judged == scan::verdict::damaged ||
               judged.judged == scan::verdict::not_a_recording,
           "an error makes a recording damaged");
}

// Sees what the judge sees.
class counting_observer final : public scan::observer {
public:
    void on_frame(const scan::seen_frame& seen) override {
        frames += seen.frame.is_whole() ? 1 : 0;
        expect(offset < seen.frame.offset, "frames are seen in the order of the file");
        offset = seen.frame.offset;
    }
    uint64_t frames = 0;
    uint64_t offset = 0;
};

scan::report judged_within_bounds(input file) {
    watched_source source(file);
    counting_observer watching;
    scan::report judged;
    {
        const memory_in_use memory;
        judged = scan::judge(source, {}, &watching);
        expect(memory.peak() <= 2 * most_memory, "a judgement needs no more memory than its lists");
    }
    // A second time where an index turns up that nobody named.
    expect(source.bytes_read <= 2 * most_bytes_read(file.size()), "the work of a judgement is linear");
    if (judged.judged != scan::verdict::not_a_recording)
        expect(watching.frames == judged.frames.total, "every whole frame is seen and counted");
    return judged;
}

void expect_same(const scan::report& a, const scan::report& b) {
    expect(a.judged == b.judged && a.found == b.found && a.frames.total == b.frames.total &&
               a.start_ms == b.start_ms && a.duration_ms == b.duration_ms,
           "the same bytes give the same judgement");
}

// --- sources that fail ---

void judge_failing(input file, uint64_t where) {
    watched_source failing(file);
    failing.fails_at = where;
    const scan::report unread = scan::judge(failing);
    expect(unread.ended != scan::end_state::read_failed ||
               (unread.judged == scan::verdict::unreadable && unread.error == EIO),
           "what cannot be read is unreadable");
    watched_source ending(file);
    ending.ends_at = where;
    const scan::report shrunk = scan::judge(ending);
    expect(shrunk.ended != scan::end_state::shrunk || shrunk.judged == scan::verdict::unreadable,
           "what ends early is unreadable");
}

// --- more of the same ---

// The frames over and over: what waits must not pile up.
bytes repeated(input file, size_t largest) {
    bytes all(file.begin(), file.end());
    if (file.size() <= KMR_FILE_HEADER_SIZE)
        return all;
    const input frames = file.subspan(KMR_FILE_HEADER_SIZE);
    while (all.size() < largest)
        all.insert(all.end(), frames.begin(), frames.end());
    return all;
}

} // namespace

void run(input data) {
    expect_tiled(data);
    const scan::report judged = judged_within_bounds(data);
    expect_report(judged, data.size());
    expect_same(judged, judged_within_bounds(data));
    scan::memory_source source(data);
    scan::look_quickly(source);
    const uint64_t mixed = std::accumulate(data.begin(), data.end(), uint64_t{0},
                                           [](uint64_t sum, uint8_t byte) { return sum * 31 + byte; });
    judge_failing(data, data.empty() ? 0 : mixed % data.size());
    if (mixed % 64 != 0)
        return;
    const bytes large = repeated(data, 100'000);
    expect_tiled(large);
    expect_report(judged_within_bounds(large), large.size());
}

std::vector<seed> seeds() {
    return seed_recordings();
}

} // namespace fuzz
