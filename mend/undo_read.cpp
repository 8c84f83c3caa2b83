// Reading an undo file, which may be anybody's.
#include "mend/undo_layout.hpp"

#include <algorithm>
#include <cerrno>
#include <vector>

namespace kmr::mend {
namespace {

using namespace undo_layout;

class undo_reader {
public:
    undo_reader(open_file& file, uint64_t end) : file_(file), end_(end), buffer_(block) {}

    uint64_t at() const { return at_; }

    // 1: there, 0: it ends; else minus errno.
    int next(old_place& place) {
        if (at_ == end_)
            return 0;
        std::array<uint8_t, place_size> entry = {};
        if (end_ - at_ < entry.size())
            return -EBADMSG;
        if (const int error = read(entry))
            return -error;
        const uint64_t length = get<uint64_t>(entry, 8);
        place = {.offset = get<uint64_t>(entry, 0), .length = length & ~zeros_flag};
        if (place.length == 0 || place.length > most_offset || place.offset > most_offset - place.length)
            return -EBADMSG;
        if ((length & zeros_flag) != 0)
            return 1;
        if (place.length > block || place.length > end_ - at_)
            return -EBADMSG;
        const std::span part(buffer_.data(), static_cast<size_t>(place.length));
        if (const int error = read(part))
            return -error;
        place.bytes = part;
        return 1;
    }

    checksum& sum() { return sum_; }

    int read(std::span<uint8_t> into) {
        const scan::read_result result = file_.read_at(at_, into);
        if (result.failed() || result.count != into.size())
            return result.failed() ? result.error : EBADMSG;
        sum_.add(into);
        at_ += into.size();
        return 0;
    }

private:
    open_file& file_;
    uint64_t at_ = head_size;
    uint64_t end_;
    std::vector<uint8_t> buffer_;
    checksum sum_ = {};
};

bool is_plausible(const undo_head& head, uint64_t length) {
    return head.length == length && head.old_size <= most_offset && head.new_size <= most_offset &&
           head.older_offset >= head_size && head.older_offset <= length &&
           head.older_length == length - head.older_offset && head.dates.accessed.tv_nsec < 1'000'000'000 &&
           head.dates.modified.tv_nsec < 1'000'000'000;
}

// Places rise, none lies outside of the old file, and what is cut off is there to the last byte.
int check_places(undo_reader& reader, const undo_head& head) {
    uint64_t behind = 0;
    uint64_t tail = std::min(head.new_size, head.old_size);
    old_place place;
    int more = 0;
    while ((more = reader.next(place)) > 0) {
        const uint64_t end = place.offset + place.length;
        if (place.offset < behind || end > head.old_size)
            return EBADMSG;
        if (place.offset <= tail && end > tail)
            tail = end;
        behind = end;
    }
    if (more < 0)
        return -more;
    return tail == head.old_size ? 0 : EBADMSG;
}

checked_undo refused(int error) {
    const bool torn = error == EBADMSG;
    return {.what = torn ? undo_check::torn : undo_check::unreadable, .error = torn ? 0 : error, .head = {}};
}

} // namespace

checked_undo check_undo(open_file& file, uint64_t length) {
    head_bytes bytes = {};
    const scan::read_result read = file.read_at(0, bytes);
    if (read.failed() || read.count != bytes.size())
        return refused(read.failed() ? read.error : EBADMSG);
    const auto head = unpacked(bytes);
    if (!head || !is_plausible(*head, length))
        return refused(EBADMSG);
    undo_reader reader(file, head->older_offset);
    add_head(reader.sum(), bytes);
    if (const int error = check_places(reader, *head))
        return refused(error);
    std::vector<uint8_t> buffer(block);
    while (reader.at() < length) {
        const size_t part = static_cast<size_t>(std::min<uint64_t>(block, length - reader.at()));
        if (const int error = reader.read(std::span(buffer).first(part)))
            return refused(error);
    }
    if (reader.sum().value() != get<uint64_t>(bytes, sum_offset))
        return refused(EBADMSG);
    return {.what = undo_check::sound, .error = 0, .head = *head};
}

int for_each_place(open_file& file, const undo_head& head, const std::function<int(const old_place&)>& take) {
    undo_reader reader(file, head.older_offset);
    old_place place;
    int more = 0;
    while ((more = reader.next(place)) > 0)
        if (const int error = take(place))
            return error;
    return -more;
}

int mark_undo(open_file& file, undo_state state) {
    std::array<uint8_t, 8> word = {};
    put(word, 0, state_words[static_cast<size_t>(state)]);
    const int error = file.write_at(state_offset, word);
    return error != 0 ? error : file.sync();
}

content_check sum_of_changed(open_file& undo, const undo_head& head, open_file& recording) {
    open_file_source source(recording, head.new_size);
    checksum sum;
    int error = for_each_place(undo, head, [&](const old_place& place) {
        const uint64_t end = std::min(place.offset + place.length, head.new_size);
        return place.offset < end ? sum_range(source, {place.offset, end}, sum) : 0;
    });
    if (error == 0 && head.new_size > head.old_size)
        error = sum_range(source, {head.old_size, head.new_size}, sum);
    return {.value = sum.value(), .error = error};
}

} // namespace kmr::mend
