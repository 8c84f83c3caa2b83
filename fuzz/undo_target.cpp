// An undo file that anybody may have made, beside a recording: it is refused and nothing is written, or the recording gets
// the length that the file says and keeps every byte that the file does not name.
//
// The first byte of an input is odd where the checksum is to be the right one, as a forger could make it.
#include "fuzz/memory_in_use.hpp"
#include "fuzz/target.hpp"
#include "mend/plan.hpp"
#include "mend/recording.hpp"
#include "mend/tags.hpp"
#include "tests/campaign/recordings.hpp"
#include "tests/mend/model_disk.hpp"

#include <algorithm>
#include <memory>
#include <string_view>

namespace fuzz {
namespace {

namespace mend = kmr::mend;

constexpr size_t head_size = 112;
constexpr size_t state_offset = 16;
constexpr size_t old_size_offset = 32;
constexpr size_t older_offset = 72;
constexpr size_t sum_offset = 104;

// The buffers of a change, and the recording itself in the memory that stands for a disk.
constexpr size_t most_memory = 4 << 20;

constexpr char path[] = "recording";
const mend::file_dates dates = {{1'400'000'000, 7}, {1'400'000'001, 9}};

uint64_t u64_at(input file, size_t offset) {
    uint64_t value = 0;
    for (size_t i = 8; i-- > 0;)
        value = value << 8 | file[offset + i];
    return value;
}

void seal(bytes& undo_file) {
    mend::checksum sum;
    bytes head(undo_file.begin(), undo_file.begin() + sum_offset);
    std::fill_n(head.begin() + state_offset, 8, uint8_t{0});
    sum.add(head);
    sum.add(input(undo_file).subspan(head_size));
    for (size_t i = 0; i < 8; ++i)
        undo_file[sum_offset + i] = static_cast<uint8_t>(sum.value() >> (8 * i));
}

// A recording in want of a repair, of each kind that an undo file has places for: covers, a cut, a new index.
const bytes& damaged_recording() {
    static const bytes damaged = [] {
        bytes file = recordings::all().front().content;
        std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(file.size() / 2), 40, uint8_t{0x5A});
        file.resize(file.size() - 30);
        return file;
    }();
    return damaged;
}

std::unique_ptr<mend_test::model_disk> repaired_disk() {
    auto disk = std::make_unique<mend_test::model_disk>();
    disk->put(path, damaged_recording(), dates);
    auto opening = mend::recording::open(*disk, path, true);
    const mend::repair_plan plan = mend::plan_repair(opening.opened->source());
    expect(plan.status == mend::plan_status::ready && opening.opened->apply(plan.planned).is_done(),
           "the recording is repaired");
    return disk;
}

// The repaired recording, and the undo file of that repair.
const mend_test::model_disk& repaired() {
    static const std::unique_ptr<mend_test::model_disk> disk = repaired_disk();
    return *disk;
}

// Which bytes of a recording the places of an undo file name, as its layout is described.
std::vector<bool> named_places(input undo_file, uint64_t largest) {
    constexpr uint64_t zeros = uint64_t{1} << 63;
    std::vector<bool> named(largest);
    const uint64_t end = std::min<uint64_t>(u64_at(undo_file, older_offset), undo_file.size());
    for (size_t at = head_size; at + 16 <= end;) {
        const uint64_t offset = u64_at(undo_file, at);
        const uint64_t length = u64_at(undo_file, at + 8) & ~zeros;
        const bool has_bytes = (u64_at(undo_file, at + 8) & zeros) == 0;
        for (uint64_t i = offset; i < offset + length && i < largest; ++i)
            named[i] = true;
        at += 16 + (has_bytes ? length : 0);
    }
    return named;
}

void expect_only_named_changed(const bytes& before, const bytes& after, input undo_file) {
    const uint64_t common = std::min(before.size(), after.size());
    const std::vector<bool> named = named_places(undo_file, common);
    for (size_t i = 0; i < common; ++i)
        expect(named[i] || before[i] == after[i], "only places that the file names change");
}

void undo_with(const bytes& undo_file) {
    mend_test::model_disk disk;
    const bytes& before = repaired().content(path);
    disk.put(path, before, repaired().dates(path));
    disk.put(mend::undo_path_of(path), undo_file);
    const int calls = disk.changing_calls;
    const memory_in_use memory;
    mend::mend_status status = mend::mend_status::done;
    {
        auto opening = mend::recording::open(disk, path, true);
        status = opening.opened->undo().status;
    }
    expect(memory.peak() <= most_memory, "taking back needs no more memory than its buffers");
    if (status != mend::mend_status::done) {
        expect(disk.changing_calls == calls && disk.content(path) == before,
               "what is refused writes nothing");
        return;
    }
    expect(disk.content(path).size() == u64_at(undo_file, old_size_offset), "the length is that of before");
    expect_only_named_changed(before, disk.content(path), undo_file);
}

} // namespace

void run(input data) {
    if (data.empty())
        return;
    bytes undo_file(data.begin() + 1, data.end());
    if ((data.front() & 1) != 0 && undo_file.size() >= head_size)
        seal(undo_file);
    undo_with(undo_file);
}

std::vector<seed> seeds() {
    const bytes& undo_file = repaired().content(mend::undo_path_of(path));
    std::vector<seed> all;
    for (const std::string_view state : {"changed.", "changing", "undoing."})
        for (const bool sealed : {false, true}) {
            bytes content = {sealed ? uint8_t{1} : uint8_t{0}};
            content.insert(content.end(), undo_file.begin(), undo_file.end());
            std::copy(state.begin(), state.end(), content.begin() + 1 + state_offset);
            all.push_back({std::string(state.substr(0, 7)) + (sealed ? "_sealed" : ""), content});
        }
    return all;
}

} // namespace fuzz
