// The power goes at every moment of every operation that writes, and of what was not synced by then every part of 512
// bytes has reached the disk or has not, in every combination: what the recording then is, and what doing the same
// again makes of it. docs/durability.md shows the states that this finds.
#include "analyse/format/index_block.h"
#include "file_op/common/rec_status.h"
#include "file_op/file_copy.h"
#include "file_op/rebuild.h"
#include "file_op/tags.h"
#include "libvfs/vfs.h"
#include "tests/campaign/harness.hpp"
#include "tests/campaign/memory_module.hpp"
#include "tests/campaign/recordings.hpp"
#include "tests/campaign/services.hpp"

#include <algorithm>
#include <array>
#include <deque>
#include <string>
#include <vector>

namespace {

using campaign::expect;
using campaign::figure;
using memory_module::change;
using recording::bytes;
using recording::get_u32;
using recording::put_u32;

constexpr char path[] = "/mnt/r.kmr";
constexpr char other[] = "/mnt/other.kmr";
constexpr size_t sector = 512;
// Beyond this many parts the combinations are too many: then each one alone is missing, each one alone is there, and
// every beginning and every end.
constexpr size_t most_parts = 12;

// --- the recordings ---

// So that fields of the index lie on both sides of a border of 512 bytes: `shift` bytes more in the first frame.
bytes tagged(size_t shift) {
    std::vector<recording::frame> frames;
    for (uint32_t number = 1; number <= 5; ++number)
        frames.push_back({.number = number,
                          .time_stamp = 1000 * number,
                          .video = bytes(number == 1 ? 8 + shift : 8, 0xAA)});
    bytes file = recording::sound(frames, 100);
    const size_t block = file.size() - get_u32(file, file.size() - 4);
    std::copy_n("goal and more", 13, file.begin() + static_cast<std::ptrdiff_t>(block + 44 + 80 + 16));
    put_u32(file, block + 12, 1);
    return file;
}

size_t index_block(const bytes& file) {
    return file.size() - get_u32(file, file.size() - 4);
}

bytes without_last(bytes file, size_t count) {
    file.resize(file.size() - count);
    return file;
}

// --- the operations ---

void modify(int32_t operation, int32_t key, const char* text) {
    rec_TagModify(operation, path, &key, text);
}

enum class subject { tag, repair, copy, header };

struct operation {
    const char* name;
    subject of;
    void (*run)();
    bytes (*before)(size_t shift);
};

const operation operations[] = {
    {"tag added", subject::tag,
     [] { modify(REC_TAG_ADD, 103, "a new text that is long enough to be torn in two"); }, tagged},
    {"tag replaced", subject::tag,
     [] { modify(REC_TAG_ADD, 102, "another text, long enough to be torn in two"); }, tagged},
    {"tag changed", subject::tag,
     [] { modify(REC_TAG_CHANGE, 101, "another text, long enough to be torn in two"); }, tagged},
    {"tag removed", subject::tag, [] { modify(REC_TAG_REMOVE, 101, ""); }, tagged},
    {"repair of a sound recording", subject::repair, [] { rec_RecoverRecordSize(path, 100); }, tagged},
    {"repair without an index", subject::repair, [] { rec_RecoverRecordSize(path, 100); },
     [](size_t shift) {
         const bytes file = tagged(shift);
         return without_last(file, file.size() - index_block(file));
     }},
    {"repair of a torn index", subject::repair, [] { rec_RecoverRecordSize(path, 100); },
     [](size_t shift) { return without_last(tagged(shift), 100); }},
    {"repair of a torn last frame", subject::repair, [] { rec_RecoverRecordSize(path, 100); },
     [](size_t shift) {
         const bytes file = tagged(shift);
         return without_last(file, file.size() - index_block(file) + 3);
     }},
    {"repair with garbage behind the frames", subject::repair, [] { rec_RecoverRecordSize(path, 100); },
     [](size_t shift) {
         bytes file = tagged(shift);
         file.resize(index_block(file));
         file.insert(file.end(), 900, 0x5A);
         return file;
     }},
    {"rebuild with a picture size", subject::repair,
     [] { rec_MakeUpIframeIndex(path, 2560 << 16 | 1440, nullptr, 100); },
     [](size_t shift) { return without_last(tagged(shift), 100); }},
    {"segment copied", subject::copy, [] { rec_CopyFileSegment(other, 450, path, 88, 150); }, tagged},
    {"file header copied", subject::copy, [] { rec_DuplicateFileHead(other, path); }, tagged},
    {"numbers of frames written", subject::header,
     [] {
         vfs_file* const file = vfs_fopen(0, path, "w+");
         rec_WriteHeadFrmNum(file, 77, 1, 1);
         vfs_fclose(file);
     },
     tagged},
};

// --- what may be left ---

// The part of a change that reaches the disk or does not.
struct part {
    change::kind what;
    size_t offset; // of a cut: the new size
    bytes content;
};

std::vector<part> parts_of(const change& from) {
    if (from.what == change::kind::cut)
        return {{from.what, from.offset, {}}};
    std::vector<part> parts;
    for (size_t at = 0; at < from.content.size();) {
        const size_t border = ((from.offset + at) / sector + 1) * sector - from.offset;
        const size_t end = std::min<size_t>(border, from.content.size());
        parts.push_back({from.what, from.offset + at,
                         bytes(from.content.begin() + static_cast<std::ptrdiff_t>(at),
                               from.content.begin() + static_cast<std::ptrdiff_t>(end))});
        at = end;
    }
    return parts;
}

void apply(bytes& file, const part& of) {
    if (of.what == change::kind::cut) {
        file.resize(of.offset);
        return;
    }
    file.resize(std::max<size_t>(file.size(), of.offset + of.content.size()));
    std::copy(of.content.begin(), of.content.end(), file.begin() + static_cast<std::ptrdiff_t>(of.offset));
}

// Hands every file that may be left to `take`: `durable` with any of the parts.
template <typename Take>
void for_each_left(const bytes& durable, const std::vector<part>& parts, Take take) {
    const auto with = [&](const auto& is_there) {
        bytes file = durable;
        for (size_t i = 0; i < parts.size(); ++i)
            if (is_there(i))
                apply(file, parts[i]);
        take(file);
    };
    if (parts.size() <= most_parts) {
        for (size_t combination = 0; combination < size_t{1} << parts.size(); ++combination)
            with([&](size_t i) { return (combination >> i & 1) != 0; });
        return;
    }
    for (size_t n = 0; n <= parts.size(); ++n) {
        with([&](size_t i) { return i == n; });
        with([&](size_t i) { return i != n; });
        with([&](size_t i) { return i < n; });
        with([&](size_t i) { return i >= n; });
    }
}

// --- how they are judged ---

struct tag_states {
    figure before{"tags: as before"};
    figure after{"tags: as after"};
    figure text_torn{"tags: the text in part (count old or new)"};
    figure tag_alone{"tags: the new text, the count not yet"};
    figure count_alone{"tags: the count, the new text not yet"};
};
struct repair_states {
    figure before{"repair: as before"};
    figure after{"repair: as after"};
    figure cut{"repair: frames without an index"};
    figure index_begun{"repair: no index is found, a part of one is there"};
    figure index_lies{"repair: an index is found whose records are not all there"};
    figure not_cut{"repair: not cut, parts of the new index over the old end"};
    figure torn_frame_stands{"repair: of these, a torn frame that index bytes have made whole"};
};
struct other_states {
    figure before{"copy and header: as before"};
    figure after{"copy and header: as after"};
    figure between{"copy: a part of what was to be copied"};
};

struct all_states {
    tag_states tag;
    repair_states repair;
    other_states rest;
    figure states{"states of the disk"};
};

all_states& seen() {
    static all_states all;
    return all;
}

// An operation, what it was done to, and what an undisturbed run makes of that.
struct experiment {
    const operation& what;
    bytes before;
    bytes after;
    bytes durable; // when the power goes
};

void put_files(const bytes& recording) {
    memory_module::reset();
    memory_module::put(path, recording);
    memory_module::put(other, bytes(700, 0xEE));
}

const bytes& target_of(const operation& what) {
    return *memory_module::find(what.of == subject::copy ? other : path);
}

// What the operation makes of the recording when it is done once more.
bytes done_again(const operation& what, const bytes& left) {
    put_files(left);
    what.run();
    return *memory_module::find(path);
}

void judge_tag(const experiment& of, const bytes& left) {
    const size_t block = index_block(of.before);
    expect(left.size() == of.before.size() && index_block(left) == block, "the index is where it was");
    const auto count = [&](const bytes& file) { return get_u32(file, block + 12); };
    bytes with_old_count = left;
    put_u32(with_old_count, block + 12, count(of.before));
    bytes after_but_count = of.after;
    put_u32(after_but_count, block + 12, count(of.before));
    const bool count_is_new = count(left) != count(of.before);
    expect(!count_is_new || count(left) == count(of.after), "the count is the old or the new one");
    tag_states& states = seen().tag;
    if (left == of.before)
        states.before.add(1);
    else if (left == of.after)
        states.after.add(1);
    else if (with_old_count == of.before)
        states.count_alone.add(1);
    else if (left == after_but_count)
        states.tag_alone.add(1);
    else {
        states.text_torn.add(1);
        for (size_t at = 0; at < left.size(); ++at)
            expect(with_old_count[at] == of.before[at] || with_old_count[at] == after_but_count[at],
                   "a torn text is old and new text and nothing else");
    }
    // The text is what it should be after the same change once more; the count may stay one off.
    bytes again = done_again(of.what, left);
    const auto difference = static_cast<int64_t>(count(again)) - static_cast<int64_t>(count(of.after));
    expect(difference >= -1 && difference <= 1, "the count is one off at most");
    put_u32(again, block + 12, count(of.after));
    expect(again == of.after, "the same change, done again, sets the text");
}

void judge_repair(const experiment& of, const bytes& left) {
    repair_states& states = seen().repair;
    const size_t block = index_block(of.after);
    expect(left.size() >= block, "no frame is lost");
    expect(
        std::equal(left.begin() + 6, left.begin() + static_cast<std::ptrdiff_t>(block), of.after.begin() + 6),
        "no frame has changed");
    kmr_frame_header head;
    uint32_t found = 0;
    put_files(left);
    const bool has_index = rec_GetIFrameIndexInfo(path, &head, &found, nullptr, nullptr, nullptr) == 0;
    if (left == of.before)
        states.before.add(1);
    else if (left == of.after)
        states.after.add(1);
    else if (left.size() == block)
        states.cut.add(1);
    else if (left.size() > of.after.size() ||
             (left.size() == of.before.size() && left.size() != of.after.size()))
        states.not_cut.add(1);
    else if (has_index && found == block)
        states.index_lies.add(1);
    else
        states.index_begun.add(1);
    const bytes again = done_again(of.what, left);
    if (again == of.after)
        return;
    // A torn frame whose header is still there, because neither the cut nor the part of the index that was to stand in
    // its place has reached the disk, is whole again with the parts of the index behind it.
    const auto stands = [&](const bytes& file) {
        return block + KMR_FRAME_HEADER_SIZE <= file.size() && get_u32(file, block) == KMR_SYNC_WORD &&
               block + get_u32(file, block + 4) <= file.size();
    };
    const bool was_torn = block + KMR_FRAME_HEADER_SIZE <= of.before.size() && !stands(of.before);
    expect(was_torn && stands(left), "the same repair, done again, gives the repaired recording");
    states.torn_frame_stands.add(1);
    expect(std::equal(again.begin() + 6, again.begin() + static_cast<std::ptrdiff_t>(block),
                      of.after.begin() + 6),
           "no other frame has changed");
    expect(done_again(of.what, again) == again, "and a third repair changes nothing");
}

void judge_other(const experiment& of, const bytes& left) {
    other_states& states = seen().rest;
    if (left == of.before)
        states.before.add(1);
    else if (left == of.after)
        states.after.add(1);
    else
        states.between.add(1);
    expect(of.what.of == subject::copy || left == of.before || left == of.after,
           "the header is the old or the new one");
    for (size_t at = 0; at < left.size(); ++at) {
        const bool was = at < of.before.size() && left[at] == of.before[at];
        expect(was || left[at] == of.after[at], "every byte is the old or the new one");
    }
}

void judge(const experiment& of, const bytes& left) {
    seen().states.add(1);
    switch (of.what.of) {
    case subject::tag:
        return judge_tag(of, left);
    case subject::repair:
        return judge_repair(of, left);
    default:
        return judge_other(of, left);
    }
}

// --- the cases ---

constexpr size_t shifts = sector; // so that every field comes to lie across a border

class power_cases : public campaign::case_list {
public:
    power_cases() { seen(); }

    size_t size() const override { return std::size(operations) * shifts; }

    std::string describe(size_t number) const override {
        return std::string(operations[number % std::size(operations)].name) + ", " +
               std::to_string(number / std::size(operations)) + " bytes further";
    }

    void run(size_t number) override {
        services::start_layer();
        const operation& what = operations[number % std::size(operations)];
        const bytes recording = what.before(number / std::size(operations));
        put_files(recording);
        const bytes before = target_of(what);
        memory_module::write_down(true);
        what.run();
        const std::vector<change> changes = memory_module::changes();
        const bytes after = target_of(what);
        expect(before != after, "the operation changes something");
        cut_everywhere({what, before, after, before}, changes);
        expect(*memory_module::find(what.of == subject::copy ? path : other) != bytes{},
               "the other file is there");
    }

private:
    static void cut_everywhere(experiment of, const std::vector<change>& changes) {
        std::vector<part> unsynced;
        judge(of, of.durable);
        for (const change& each : changes) {
            if (each.what == change::kind::sync) {
                for (const part& one : unsynced)
                    apply(of.durable, one);
                unsynced.clear();
                expect(of.durable == of.after, "what is synced is the whole of it");
                continue;
            }
            for (const part& one : parts_of(each))
                unsynced.push_back(one);
            for_each_left(of.durable, unsynced, [&](const bytes& left) { judge(of, left); });
        }
    }
};

} // namespace

int main(int argc, char** argv) {
    power_cases cases;
    return campaign::run(argc, argv, cases);
}
