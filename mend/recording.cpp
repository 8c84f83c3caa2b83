#include "mend/recording.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

namespace kmr::mend {
namespace {

constexpr size_t block = 65536;

outcome failure(int error) {
    return {.status = mend_status::failed, .error = error};
}

outcome from_situation(undo_situation situation, int error) {
    switch (situation) { // uncovered: every value has its case
    case undo_situation::torn:
        return {.status = mend_status::undo_torn, .error = 0};
    case undo_situation::no_file:
        return {.status = mend_status::undo_is_no_file, .error = 0};
    case undo_situation::unreadable:
        return failure(error);
    case undo_situation::none:
    case undo_situation::complete:
    case undo_situation::interrupted:
        break;
    }
    return {};
}

// Bytes that are read before any of them is written; an index goes in blocks.
size_t longest_group(const changes& planned) {
    uint64_t longest = 0;
    uint64_t group = 0;
    for (const planned_write& write : planned.writes()) {
        const bool is_index = write.what == planned_write::content::index;
        group += is_index ? std::min<uint64_t>(block, write.length) : write.length;
        longest = std::max(longest, group);
        if (!write.joined)
            group = 0;
    }
    return static_cast<size_t>(longest);
}

} // namespace

recording::recording(disk& on, std::string path, std::unique_ptr<open_file> file, const file_facts& facts)
    : disk_(on), path_(std::move(path)), ways_(disk_, path_), file_(std::move(file)), facts_(facts),
      source_(*file_, facts_) {}

recording::opening recording::open(disk& on, const std::string& path, bool for_change) {
    file_facts named;
    if (const int error = on.look(path, named))
        return {.opened = nullptr, .result = failure(error)};
    if (named.kind == file_kind::link)
        return {.opened = nullptr, .result = {.status = mend_status::is_a_link, .error = 0}};
    if (named.kind != file_kind::regular)
        return {.opened = nullptr, .result = {.status = mend_status::not_a_file, .error = 0}};
    opened file = on.open(path, for_change ? open_mode::change : open_mode::read);
    if (file.error != 0)
        return {.opened = nullptr, .result = failure(file.error)};
    const int lock_error = for_change ? file.file->lock() : 0;
    if (lock_error == EWOULDBLOCK)
        return {.opened = nullptr, .result = {.status = mend_status::locked, .error = 0}};
    if (lock_error != 0)
        return {.opened = nullptr, .result = failure(lock_error)};
    file_facts facts;
    if (const int error = file.file->look(facts))
        return {.opened = nullptr, .result = failure(error)};
    if (!facts.is_same_file(named) || facts.kind != file_kind::regular)
        return {.opened = nullptr, .result = {.status = mend_status::changed_meanwhile, .error = 0}};
    return {.opened = std::unique_ptr<recording>(new recording(on, path, std::move(file.file), facts)),
            .result = {}};
}

undo_situation recording::look_for_undo() {
    return ways_.find(open_mode::read).situation;
}

// --- changing ---

bool recording::is_unchanged() {
    file_facts now;
    file_facts named;
    return file_->look(now) == 0 && disk_.look(path_, named) == 0 && named.is_same_file(facts_) &&
           now.size == facts_.size && same_moment(now.dates.modified, facts_.dates.modified);
}

outcome recording::apply(const changes& planned, bool keep_undo) {
    way_back older = ways_.find(open_mode::read);
    if (older.situation == undo_situation::interrupted)
        return {.status = mend_status::interrupted, .error = 0};
    if (const outcome bad = from_situation(older.situation, older.error); !bad.is_done())
        return bad;
    if (planned.empty())
        return {};
    if (planned.old_size() != facts_.size || !is_unchanged())
        return {.status = mend_status::changed_meanwhile, .error = 0};
    std::vector<uint8_t> buffer(longest_group(planned)); // all the memory that the writing itself takes
    if (keep_undo)
        if (const int error = ways_.write(planned, source_, facts_.dates, older))
            return failure(error);
    return change(planned, keep_undo, buffer);
}

outcome recording::change(const changes& planned, bool keep_undo, std::span<uint8_t> buffer) {
    if (!is_unchanged()) {
        if (keep_undo)
            ways_.forget();
        return {.status = mend_status::changed_meanwhile, .error = 0};
    }
    int error = write_all(planned, buffer);
    if (error == 0)
        error = finish_change(planned);
    way_back own;
    if (keep_undo) {
        const int looked = or_no_memory([&] {
            own = ways_.find(open_mode::change);
            return own.file ? 0 : std::max(own.error, EIO);
        });
        if (error == 0)
            error = looked != 0 ? looked : mark_undo(*own.file, undo_state::changed);
    }
    if (error == 0) {
        become(planned.new_size());
        return {};
    }
    const bool taken_back = own.situation == undo_situation::interrupted &&
                            or_no_memory([&] { return ways_.follow(own, *file_); }) == 0;
    return {.status = taken_back ? mend_status::failed : mend_status::interrupted, .error = error};
}

int recording::finish_change(const changes& planned) {
    int error = planned.new_size() < planned.old_size() ? file_->truncate(planned.new_size()) : 0;
    if (error == 0)
        error = file_->sync();
    if (error == 0)
        error = file_->set_dates(facts_.dates);
    return error != 0 ? error : file_->sync();
}

int recording::write_all(const changes& planned, std::span<uint8_t> buffer) {
    int error = write_all_of(planned, false, buffer);
    if (error == 0)
        error = write_all_of(planned, true, buffer);
    return error;
}

int recording::write_all_of(const changes& planned, bool those_put_off, std::span<uint8_t> buffer) {
    const auto& writes = planned.writes();
    for (size_t first = 0; first < writes.size();) {
        size_t last = first;
        while (writes[last].joined && last + 1 < writes.size())
            ++last;
        if (writes[first].put_off != those_put_off) {
            first = last + 1;
            continue;
        }
        const bool long_one = writes[first].what == planned_write::content::index;
        const int error = long_one ? write_index_block(planned, writes[first], buffer)
                                   : write_group(planned, first, last, buffer);
        if (error != 0)
            return error;
        first = last + 1;
    }
    return 0;
}

// All of them together are no longer than a frame, which is 1 MiB.
int recording::write_group(const changes& planned, size_t first, size_t last, std::span<uint8_t> buffer) {
    size_t at = 0;
    for (size_t i = first; i <= last; ++i) {
        const planned_write& write = planned.writes()[i];
        const auto length = static_cast<size_t>(write.length);
        if (const int error = planned.content_of(write, 0, source_, buffer.subspan(at, length)))
            return error;
        at += length;
    }
    at = 0;
    for (size_t i = first; i <= last; ++i) {
        const planned_write& write = planned.writes()[i];
        const auto length = static_cast<size_t>(write.length);
        if (const int error = file_->write_at(write.offset, buffer.subspan(at, length)))
            return error;
        at += length;
    }
    return 0;
}

int recording::write_index_block(const changes& planned, const planned_write& write,
                                 std::span<uint8_t> buffer) {
    for (uint64_t at = 0; at < write.length;) {
        const auto part =
            buffer.first(static_cast<size_t>(std::min<uint64_t>(buffer.size(), write.length - at)));
        int error = planned.content_of(write, at, source_, part);
        if (error == 0)
            error = file_->write_at(write.offset + at, part);
        if (error != 0)
            return error;
        at += part.size();
    }
    return 0;
}

// What was opened is now what it has become; the dates are the same.
void recording::become(uint64_t size) {
    facts_.size = size;
    source_.become(facts_);
}

// --- taking back ---

outcome recording::check_unchanged_since(way_back& way) {
    file_facts now;
    if (const int error = file_->look(now))
        return failure(error);
    const outcome changed = {.status = mend_status::changed_since, .error = 0};
    const undo_head& head = way.head;
    if (way.situation == undo_situation::interrupted) {
        const bool between = now.size >= std::min(head.old_size, head.new_size) &&
                             now.size <= std::max(head.old_size, head.new_size);
        return between ? outcome{} : changed;
    }
    if (now.size != head.new_size || !same_moment(now.dates.modified, head.dates.modified))
        return changed;
    const content_check content = sum_of_changed(*way.file, head, *file_);
    if (content.error != 0)
        return failure(content.error);
    return content.value == head.new_content ? outcome{} : changed;
}

outcome recording::undo() {
    way_back way = ways_.find(open_mode::change);
    if (way.situation == undo_situation::none)
        return {.status = mend_status::nothing_to_undo, .error = 0};
    if (const outcome bad = from_situation(way.situation, way.error); !bad.is_done())
        return bad;
    if (const outcome checked = check_unchanged_since(way); !checked.is_done())
        return checked;
    if (const int error = or_no_memory([&] { return ways_.follow(way, *file_); }))
        return {.status = still_says_changed(*way.file) ? mend_status::failed : mend_status::interrupted,
                .error = error};
    facts_.dates = way.head.dates;
    become(way.head.old_size);
    return {};
}

} // namespace kmr::mend
