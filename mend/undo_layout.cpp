#include "mend/undo_layout.hpp"

#include <algorithm>
#include <cerrno>
#include <vector>

namespace kmr::mend {
namespace undo_layout {

head_bytes packed(const undo_head& head) {
    head_bytes bytes = {};
    std::copy(std::begin(magic), std::end(magic), bytes.begin());
    put(bytes, 8, version);
    put(bytes, 12, static_cast<uint32_t>(head_size));
    put(bytes, state_offset, state_words[static_cast<size_t>(head.state)]);
    put(bytes, 24, head.length);
    put(bytes, 32, head.old_size);
    put(bytes, 40, head.new_size);
    put(bytes, 48, static_cast<int64_t>(head.dates.accessed.tv_sec));
    put(bytes, 56, static_cast<int64_t>(head.dates.modified.tv_sec));
    put(bytes, 64, static_cast<uint32_t>(head.dates.accessed.tv_nsec));
    put(bytes, 68, static_cast<uint32_t>(head.dates.modified.tv_nsec));
    put(bytes, 72, head.older_offset);
    put(bytes, 80, head.older_length);
    put(bytes, 88, head.new_content);
    return bytes; // 96: reserved, 104: the checksum
}

std::optional<undo_head> unpacked(const head_bytes& bytes) {
    const uint64_t word = get<uint64_t>(bytes, state_offset);
    const auto state = std::find(std::begin(state_words), std::end(state_words), word);
    if (!std::equal(std::begin(magic), std::end(magic), bytes.begin()) ||
        get<uint32_t>(bytes, 8) != version || get<uint32_t>(bytes, 12) != head_size ||
        state == std::end(state_words))
        return {};
    undo_head head;
    head.state = static_cast<undo_state>(state - std::begin(state_words));
    head.length = get<uint64_t>(bytes, 24);
    head.old_size = get<uint64_t>(bytes, 32);
    head.new_size = get<uint64_t>(bytes, 40);
    head.dates.accessed.tv_sec = static_cast<time_t>(get<int64_t>(bytes, 48));
    head.dates.modified.tv_sec = static_cast<time_t>(get<int64_t>(bytes, 56));
    head.dates.accessed.tv_nsec = static_cast<long>(get<uint32_t>(bytes, 64));
    head.dates.modified.tv_nsec = static_cast<long>(get<uint32_t>(bytes, 68));
    head.older_offset = get<uint64_t>(bytes, 72);
    head.older_length = get<uint64_t>(bytes, 80);
    head.new_content = get<uint64_t>(bytes, 88);
    return head;
}

void add_head(checksum& sum, head_bytes bytes) {
    put(bytes, state_offset, uint64_t{0});
    sum.add(std::span(bytes).first(sum_offset));
}

int sum_range(scan::byte_source& recording, place_range range, checksum& sum) {
    std::vector<uint8_t> buffer(static_cast<size_t>(std::min<uint64_t>(block, range.end - range.begin)));
    while (range.begin < range.end) {
        const std::span part(buffer.data(),
                             static_cast<size_t>(std::min<uint64_t>(buffer.size(), range.end - range.begin)));
        const scan::read_result read = recording.read_at(range.begin, part);
        if (read.failed() || read.count != part.size())
            return read.failed() ? read.error : EIO;
        sum.add(part);
        range.begin += part.size();
    }
    return 0;
}

} // namespace undo_layout

std::string undo_path_of(const std::string& recording) {
    return recording + ".kmr-undo";
}

std::string undo_draft_of(const std::string& recording) {
    return recording + ".kmr-undo-new";
}

void checksum::add(std::span<const uint8_t> bytes) {
    for (const uint8_t each : bytes)
        value_ = (value_ ^ each) * 0x100000001B3;
}

} // namespace kmr::mend
