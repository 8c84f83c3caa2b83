#include "mend/new_file.hpp"

#include <algorithm>
#include <cerrno>
#include <vector>

namespace kmr::mend {
namespace {

constexpr size_t block = 65536;

outcome from_error(int error) {
    return {.status = error == 0 ? mend_status::done : mend_status::failed, .error = error};
}

int fill(draft& file, scan::byte_source& content) {
    std::vector<uint8_t> buffer(block);
    for (uint64_t at = 0; at < content.size();) {
        const std::span part(buffer.data(),
                             static_cast<size_t>(std::min<uint64_t>(block, content.size() - at)));
        const scan::read_result read = content.read_at(at, part);
        if (read.failed() || read.count != part.size())
            return read.failed() ? read.error : EIO;
        if (const int error = file.write_at(at, part))
            return error;
        at += part.size();
    }
    return file.sync();
}

} // namespace

draft::draft(disk& on, const std::string& path, bool replace, const file_facts* never)
    : disk_(on), path_(path), name_(draft_path_of(path)), replace_(replace), never_(never) {}

draft::~draft() {
    if (made_)
        disk_.unlink(name_);
}

// Whether a new file may get this name.
outcome draft::is_free() const {
    file_facts there;
    const int looked = disk_.look(path_, there);
    if (looked != 0)
        return from_error(looked == ENOENT ? 0 : looked);
    if (there.kind != file_kind::regular)
        return {.status = there.kind == file_kind::link ? mend_status::is_a_link : mend_status::not_a_file,
                .error = 0};
    const bool must_stay = never_ != nullptr && there.is_same_file(*never_);
    return from_error(!replace_ || must_stay ? EEXIST : 0);
}

// What somebody left behind goes, but neither what somebody is writing nor the file that must never go.
outcome draft::clear() {
    file_facts there;
    const int looked = disk_.look(name_, there);
    if (looked != 0)
        return from_error(looked == ENOENT ? 0 : looked);
    if (never_ != nullptr && there.is_same_file(*never_))
        return from_error(EEXIST);
    if (there.kind == file_kind::regular) {
        const opened left = disk_.open(name_, open_mode::read);
        if (left.error == 0 && left.file->lock() == EWOULDBLOCK)
            return {.status = mend_status::locked, .error = 0};
    }
    return from_error(disk_.unlink(name_));
}

outcome draft::make() {
    if (const outcome named = is_free(); !named.is_done())
        return named;
    if (const outcome cleared = clear(); !cleared.is_done())
        return cleared;
    opened file = disk_.open(name_, open_mode::make);
    if (file.error != 0)
        return from_error(file.error);
    file_ = std::move(file.file);
    made_ = true;
    file_->lock(); // tells others that somebody writes it; where nothing can be locked they are not told
    return {};
}

outcome draft::put_in_place() {
    if (const outcome named = is_free(); !named.is_done())
        return named; // somebody else may have made one meanwhile
    const int error = disk_.rename(name_, path_);
    made_ = made_ && error != 0;
    return from_error(error);
}

std::string draft_path_of(const std::string& path) {
    return path + ".kmr-new";
}

outcome write_new_file(disk& on, const std::string& path, scan::byte_source& content, bool replace,
                       const file_facts* never) {
    draft file(on, path, replace, never);
    outcome result = file.make();
    if (result.is_done())
        result = from_error(fill(file, content));
    if (result.is_done())
        result = file.put_in_place();
    if (!result.is_done())
        return result;
    const int error = on.sync_folder(path);
    if (error != 0 && !replace)
        on.unlink(path);
    return from_error(error);
}

} // namespace kmr::mend
