// A repair of a recording in memory: what comes out has no error, keeps what was whole, shows nothing that was not there,
// leaves nothing to do a second time, and goes back to the last bit. Tags and copies of what came out.
#include "file_op/common/frame_check.h"
#include "fuzz/memory_in_use.hpp"
#include "fuzz/seed_recordings.hpp"
#include "mend/copy.hpp"
#include "mend/plan.hpp"
#include "mend/recording.hpp"
#include "mend/tags.hpp"
#include "tests/mend/model_disk.hpp"

#include <algorithm>
#include <cstring>

namespace fuzz {
namespace {

namespace mend = kmr::mend;
namespace scan = kmr::scan;
using mend::plan_status;

// Plans of two scans, of a file as it is and as it will be, each with its lists.
constexpr size_t most_memory = 8 << 20;

mend::repair_plan plan_of(input file) {
    scan::memory_source source(file);
    const memory_in_use memory;
    mend::repair_plan plan = mend::plan_repair(source);
    expect(memory.peak() <= most_memory, "a plan needs no more memory than its lists");
    return plan;
}

bytes content_of(scan::byte_source& source) {
    bytes content(source.size());
    expect(source.read_at(0, content).count == content.size(), "what was planned can be read");
    return content;
}

bytes with_changes(input file, const mend::changes& planned) {
    scan::memory_source source(file);
    mend::changed_source changed(source, planned);
    return content_of(changed);
}

// --- frames ---

struct frame_data {
    bool inserted = false;
    uint64_t offset = 0;
    uint32_t number = 0;
    bytes video = {};
    bytes audio = {};

    uint64_t end() const { return offset + KMR_FRAME_HEADER_SIZE + video.size() + audio.size(); }
};

class frame_collector final : public scan::observer {
public:
    explicit frame_collector(input file) : file_(file) {}

    void on_frame(const scan::seen_frame& seen) override {
        if (!seen.frame.is_whole())
            return;
        const kmr_frame_header& header = seen.frame.header;
        const input whole = file_.subspan(seen.frame.offset, seen.frame.length);
        frame_data frame = {.inserted = seen.frame.kind == scan::frame_class::inserted,
                            .offset = seen.frame.offset,
                            .number = header.FrameNo};
        if (!frame.inserted) {
            const input payload = whole.subspan(KMR_FRAME_HEADER_SIZE);
            const size_t video = std::min<size_t>(header.VideoSize, payload.size());
            frame.video.assign(payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(video));
            frame.audio.assign(payload.begin() + static_cast<std::ptrdiff_t>(video), payload.end());
        }
        frames.push_back(std::move(frame));
    }

    std::vector<frame_data> frames = {};

private:
    input file_;
};

struct judged_file {
    scan::report report = {};
    std::vector<frame_data> frames = {};
};

judged_file judge(input file) {
    scan::memory_source source(file);
    frame_collector collector(file);
    judged_file judged;
    judged.report = scan::judge(source, {}, &collector);
    judged.frames = std::move(collector.frames);
    return judged;
}

// A frame may have taken in bytes: zeros, between its video and its audio.
bool is_same_frame(const frame_data& before, const frame_data& after) {
    return !after.inserted && before.number == after.number && before.video.size() <= after.video.size() &&
           std::equal(before.video.begin(), before.video.end(), after.video.begin()) &&
           std::all_of(after.video.begin() + static_cast<std::ptrdiff_t>(before.video.size()),
                       after.video.end(), [](uint8_t byte) { return byte == 0; }) &&
           before.audio == after.audio;
}

// Those of `before` that are not among `after`, in order.
std::vector<frame_data> frames_lost(const std::vector<frame_data>& before,
                                    const std::vector<frame_data>& after) {
    std::vector<frame_data> lost;
    auto from = after.begin();
    for (const frame_data& each : before) {
        if (each.inserted)
            continue;
        const auto kept = std::find_if(from, after.end(),
                                       [&](const frame_data& other) { return is_same_frame(each, other); });
        if (kept == after.end())
            lost.push_back(each);
        else
            from = kept + 1;
    }
    return lost;
}

// One that reaches over others stands where it is told that bytes are covered.
bool is_told(const mend::repair_plan& plan, const frame_data& lost) {
    return std::any_of(plan.regions.begin(), plan.regions.end(), [&](const mend::region& done) {
        return lost.offset >= done.offset && lost.offset - done.offset < done.length;
    });
}

// Once stamps are set right, frames may count that stood there for an older recording's.
bool lies_within_another(const std::vector<frame_data>& after, const frame_data& lost) {
    return std::any_of(after.begin(), after.end(), [&](const frame_data& other) {
        return lost.offset > other.offset && lost.offset < other.end();
    });
}

// How many headers look like that of an index, wherever they stand.
size_t index_headers(input file) {
    size_t count = 0;
    for (size_t at = 0; at + KMR_FRAME_HEADER_SIZE <= file.size(); ++at) {
        kmr_frame_header header = {};
        std::memcpy(&header, file.data() + at, sizeof header);
        count += rec_ValidFrame(&header, 0) == KMR_FRAME_INDEX ? 1 : 0;
    }
    return count;
}

bool has_error(const scan::report& judged) {
    return std::any_of(judged.findings.begin(), judged.findings.end(), [](const scan::finding& each) {
        return scan::kind_of(each.code).level == scan::severity::error;
    });
}

// Where frames stand that were not found whole before: a header was there already, or has moved there.
void expect_no_invented_frame(input damaged, const mend::repair_plan& plan, const judged_file& after) {
    constexpr uint8_t sync[] = {0, 0, 0, 2};
    for (const frame_data& each : after.frames) {
        const bool stood_there = each.offset + sizeof sync <= damaged.size() &&
                                 std::equal(std::begin(sync), std::end(sync),
                                            damaged.begin() + static_cast<std::ptrdiff_t>(each.offset));
        const bool moved =
            std::any_of(plan.regions.begin(), plan.regions.end(), [](const mend::region& done) {
                return done.action == mend::region_action::move_frame;
            });
        expect(each.inserted || stood_there || (moved && each.offset == KMR_FILE_HEADER_SIZE),
               "a frame stands where one stood");
    }
}

// --- the repair ---

void expect_mended(input damaged, const mend::repair_plan& plan, const bytes& mended) {
    const judged_file before = judge(damaged);
    const judged_file after = judge(mended);
    // With the first frame covered the others may look as if they were coded otherwise, and I-frames and P-frames change;
    // with a file header made anew stamps are held against its frame rate.
    const bool same_coding = before.report.codec == after.report.codec;
    const bool same_rate = before.report.header.state == scan::header_state::valid;
    expect(!same_coding || (!has_error(after.report) && plan.errors_left == 0), "no error stays");
    expect(!same_coding || !same_rate || plan_of(mended).status == plan_status::nothing_to_do,
           "nothing is left to do");
    expect(after.report.frames.total == plan.frames_kept + plan.covers, "frames are as many as were told");
    for (const frame_data& each : frames_lost(before.frames, after.frames))
        expect(is_told(plan, each) || lies_within_another(after.frames, each),
               "data of whole frames is kept, or it is told which goes");
    expect_no_invented_frame(damaged, plan, after);
    expect(after.report.index.records == plan.index_records, "records are as many as were told");
    expect(after.report.tags.size() == std::min<uint64_t>(plan.tags_kept, 64), "and so are tags");
}

constexpr char path[] = "recording";

mend::outcome changed_on(mend::disk& disk, const mend::changes& planned) {
    auto opening = mend::recording::open(disk, path, true);
    expect(opening.result.is_done(), "a recording opens");
    return opening.opened->apply(planned);
}

mend::outcome undone_on(mend::disk& disk) {
    auto opening = mend::recording::open(disk, path, true);
    expect(opening.result.is_done(), "a changed recording opens");
    return opening.opened->undo();
}

void expect_taken_back(input before, const mend::changes& planned, const bytes& after) {
    const mend::file_dates dates = {{1'400'000'000, 7}, {1'400'000'001, 9}};
    mend_test::model_disk disk;
    disk.put(path, bytes(before.begin(), before.end()), dates);
    expect(changed_on(disk, planned).is_done() && disk.content(path) == after, "what is planned is written");
    expect(undone_on(disk).is_done() && std::ranges::equal(disk.content(path), before), "and goes back");
    expect(mend::same_moment(disk.dates(path).modified, dates.modified), "with its date");
    expect(disk.names().size() == 1, "and nothing stays beside it");
}

// --- tags and copies of a recording without errors ---

std::vector<std::string> tags_of(input file) {
    scan::memory_source source(file);
    std::vector<std::string> tags;
    const mend::tag_list list =
        mend::list_tags(source, [&](const scan::tag& each) { tags.push_back(each.text); });
    expect(list.status == mend::tag_status::ready || tags.empty(), "tags are those of an index");
    return tags;
}

void expect_taggable(const bytes& file) {
    scan::memory_source source(file);
    const mend::tag_plan added = mend::plan_tag(source, mend::record_number{0}, "new");
    if (added.status != mend::tag_status::ready || added.planned.empty()) // it is there already
        return;
    const bytes tagged = with_changes(file, added.planned);
    const std::vector<std::string> tags = tags_of(tagged);
    expect(tags.size() == added.tags_after && tags.front() == "new", "a tag is there, and counted");
    expect_taken_back(file, added.planned, tagged);

    scan::memory_source with_tag(tagged);
    const mend::tag_plan removed = mend::plan_tag_removal(with_tag, mend::record_number{0});
    expect(removed.status == mend::tag_status::ready && removed.before == "new", "and can be removed");
    expect(tags_of(with_changes(tagged, removed.planned)).size() + 1 == tags.size(), "and is gone then");
}

void expect_copied(const bytes& file, const judged_file& judged) {
    if (judged.frames.empty() || !judged.report.duration_ms)
        return;
    const int64_t middle = *judged.report.duration_ms / 2;
    const mend::span second_half = {
        .from = mend::span_bound{.in = mend::span_bound::unit::stream_ms, .value = middle}, .to = {}};
    scan::memory_source source(file);
    const mend::copy_plan plan = mend::plan_copy(source, second_half);
    if (plan.status != mend::copy_status::ready)
        return;
    const bytes copy = content_of(*plan.content);
    const judged_file copied = judge(copy);
    expect(!has_error(copied.report), "a copy has no error");
    expect(copied.report.frames.i + copied.report.frames.p == plan.frames,
           "with as many frames as were told");
    expect(frames_lost(copied.frames, judged.frames).empty(), "which are those of the recording");
}

} // namespace

void run(input data) {
    const mend::repair_plan plan = plan_of(data);
    const bool is_recording = plan.before.judged != scan::verdict::not_a_recording;
    expect(is_recording || plan.status == plan_status::not_a_recording,
           "what is no recording is not repaired");
    if (!is_recording || plan.status == plan_status::no_picture_size)
        return;
    if (plan.status == plan_status::no_way) {
        expect(index_headers(data) > 1,
               "there is a way, unless bytes that stay would be taken for the index");
        return;
    }
    expect(plan.status == plan_status::ready || plan.status == plan_status::nothing_to_do,
           "a recording is mended");
    const bytes after = with_changes(data, plan.planned);
    if (plan.status == plan_status::ready) {
        expect_mended(data, plan, after);
        expect_taken_back(data, plan.planned, after);
    }
    expect_taggable(after);
    expect_copied(after, judge(after));
}

std::vector<seed> seeds() {
    return seed_recordings();
}

} // namespace fuzz
