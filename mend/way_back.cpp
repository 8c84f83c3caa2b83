#include "mend/way_back.hpp"

#include "mend/undo_layout.hpp"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <vector>

namespace kmr::mend {
namespace {

constexpr size_t block = 65536;

int unlink_if_there(disk& on, const std::string& path) {
    const int error = on.unlink(path);
    return error == ENOENT ? 0 : error;
}

int write_old(way_back& way, open_file& recording) {
    int error = for_each_place(*way.file, way.head, [&](const old_place& place) {
        if (!place.bytes.empty())
            return recording.write_at(place.offset, place.bytes);
        const std::vector<uint8_t> zeros(static_cast<size_t>(std::min<uint64_t>(block, place.length)));
        int failed = 0;
        for (uint64_t at = 0; at < place.length && failed == 0; at += zeros.size())
            failed = recording.write_at(place.offset + at,
                                        std::span(zeros).first(static_cast<size_t>(
                                            std::min<uint64_t>(zeros.size(), place.length - at))));
        return failed;
    });
    if (error == 0)
        error = recording.truncate(way.head.old_size);
    return error;
}

} // namespace

way_back way_back_keeper::find(open_mode mode) {
    way_back way;
    const std::string path = undo_path_of(recording_);
    file_facts facts;
    const int looked = disk_.look(path, facts);
    if (looked == ENOENT)
        return way;
    way.situation = undo_situation::unreadable;
    way.error = looked;
    if (looked != 0)
        return way;
    if (facts.kind != file_kind::regular) {
        way.situation = undo_situation::no_file;
        return way;
    }
    opened file = disk_.open(path, mode);
    way.error = file.error;
    if (file.error == 0)
        way.error = file.file->look(facts);
    if (way.error != 0)
        return way;
    way.file = std::move(file.file);
    const checked_undo checked = check_undo(*way.file, facts.size);
    way.head = checked.head;
    way.error = checked.error;
    if (checked.what == undo_check::torn)
        way.situation = undo_situation::torn;
    if (checked.what == undo_check::sound)
        way.situation = checked.head.state == undo_state::changed ? undo_situation::complete
                                                                  : undo_situation::interrupted;
    return way;
}

// --- written ---

int way_back_keeper::put_in_place() {
    const int error = disk_.rename(undo_draft_of(recording_), undo_path_of(recording_));
    return error != 0 ? error : disk_.sync_folder(recording_);
}

int way_back_keeper::fill_draft(const changes& planned, scan::byte_source& source, const file_dates& dates,
                                way_back& older) {
    const std::string draft = undo_draft_of(recording_);
    if (const int error = unlink_if_there(disk_, draft))
        return error;
    opened file = disk_.open(draft, open_mode::make_private);
    if (file.error != 0)
        return file.error;
    if (const int error = write_undo(*file.file, source, planned, dates, older.file.get(),
                                     older.file ? older.head.length : 0))
        return error;
    return file.file->sync();
}

int way_back_keeper::write(const changes& planned, scan::byte_source& source, const file_dates& dates,
                           way_back& older) {
    const std::string draft = undo_draft_of(recording_);
    const std::string name = undo_path_of(recording_);
    int error = or_no_memory([&] { return fill_draft(planned, source, dates, older); });
    if (error == 0)
        error = disk_.rename(draft, name);
    if (error != 0) {
        unlink_if_there(disk_, draft);
        return error;
    }
    error = disk_.sync_folder(recording_);
    if (error != 0)
        forget();
    return error;
}

void way_back_keeper::forget() {
    or_no_memory([&] {
        way_back own = find(open_mode::change);
        return own.situation == undo_situation::interrupted ? drop(own) : 0;
    });
}

// --- followed ---

int way_back_keeper::draw_older_out(way_back& way) {
    const std::string draft = undo_draft_of(recording_);
    if (const int error = unlink_if_there(disk_, draft))
        return error;
    opened older = disk_.open(draft, open_mode::make_private);
    if (older.error != 0)
        return older.error;
    std::vector<uint8_t> buffer(block);
    for (uint64_t at = 0; at < way.head.older_length;) {
        const uint64_t rest = way.head.older_length - at;
        const std::span part(buffer.data(), static_cast<size_t>(std::min<uint64_t>(block, rest)));
        const scan::read_result read = way.file->read_at(way.head.older_offset + at, part);
        if (read.failed() || read.count != part.size())
            return read.failed() ? read.error : EIO;
        if (const int error = older.file->write_at(at, part))
            return error;
        at += part.size();
    }
    return older.file->sync();
}

// The undo file of the change before takes its place, if there was one.
int way_back_keeper::drop(way_back& way) {
    if (way.head.older_length == 0) {
        const int error = unlink_if_there(disk_, undo_path_of(recording_));
        return error != 0 ? error : disk_.sync_folder(recording_);
    }
    if (const int error = draw_older_out(way)) {
        unlink_if_there(disk_, undo_draft_of(recording_)); // where there is no room it would take some
        return error;
    }
    return put_in_place();
}

int way_back_keeper::follow(way_back& way, open_file& recording) {
    int error = way.head.state == undo_state::undoing ? 0 : mark_undo(*way.file, undo_state::undoing);
    if (error == 0)
        error = write_old(way, recording);
    if (error == 0)
        error = recording.sync();
    if (error == 0)
        error = recording.set_dates(way.head.dates);
    if (error == 0)
        error = recording.sync();
    return error != 0 ? error : drop(way);
}

// Nothing is taken back before the undo file says so. Its path may lead to an older one already.
bool still_says_changed(open_file& undo) {
    undo_layout::head_bytes bytes = {};
    const scan::read_result read = undo.read_at(0, bytes);
    const auto head =
        read.failed() || read.count != bytes.size() ? std::nullopt : undo_layout::unpacked(bytes);
    return head && head->state == undo_state::changed;
}

} // namespace kmr::mend
