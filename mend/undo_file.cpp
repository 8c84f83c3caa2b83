#include "mend/undo_file.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

namespace kmr::mend {
namespace {

// Layout: docs/mend.md.
constexpr uint8_t magic[8] = {'K', 'M', 'R', '-', 'U', 'N', 'D', 'O'};
constexpr uint32_t version = 1;
constexpr size_t head_size = 112;
constexpr size_t place_size = 16;
constexpr uint64_t zeros_flag = uint64_t{1} << 63;
constexpr size_t block = 65536;
constexpr size_t zero_unit = 512; // shorter runs of zeros are stored as they are

constexpr size_t state_offset = 16;
constexpr size_t sum_offset = 104;

// Far from each other: no single wrong byte makes one of the other.
constexpr uint64_t state_words[] = {0x676E69676E616863, 0x2E6465676E616863, 0x2E676E696F646E75};

constexpr uint64_t most_offset = std::numeric_limits<int64_t>::max();

template <typename Number>
void put(std::span<uint8_t> to, size_t offset, Number value) {
    for (size_t i = 0; i < sizeof value; ++i)
        to[offset + i] = static_cast<uint8_t>(static_cast<uint64_t>(value) >> (8 * i));
}

template <typename Number>
Number get(std::span<const uint8_t> from, size_t offset) {
    uint64_t value = 0;
    for (size_t i = 0; i < sizeof(Number); ++i)
        value |= uint64_t{from[offset + i]} << (8 * i);
    return static_cast<Number>(value);
}

using head_bytes = std::array<uint8_t, head_size>;

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

// The checksum covers everything but itself and the state, which changes on the way.
void add_head(checksum& sum, head_bytes bytes) {
    put(bytes, state_offset, uint64_t{0});
    sum.add(std::span(bytes).first(sum_offset));
}

bool all_zero(std::span<const uint8_t> bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](uint8_t each) { return each == 0; });
}

// --- what stands where a change writes ---

struct place_range {
    uint64_t begin = 0;
    uint64_t end = 0;
};

// Calls `take` for each range of the old file that a change overwrites or cuts off, in order.
template <typename Take>
int for_each_range(const changes& planned, Take take) {
    const uint64_t cut = std::min(planned.new_size(), planned.old_size());
    for (const planned_write& write : planned.writes()) {
        const uint64_t end = std::min(write.end(), cut);
        if (write.offset < end)
            if (const int error = take(place_range{write.offset, end}))
                return error;
    }
    return cut < planned.old_size() ? take(place_range{cut, planned.old_size()}) : 0;
}

// Cuts ranges into places: stretches of zeros, whatever their length, and up to one block of anything else.
class place_maker {
public:
    using sink = std::function<int(const old_place&)>;
    place_maker(scan::byte_source& source, sink take)
        : source_(source), take_(std::move(take)), buffer_(block) {}

    int add(place_range range) {
        while (range.begin < range.end) {
            const std::span part(buffer_.data(),
                                 static_cast<size_t>(std::min<uint64_t>(block, range.end - range.begin)));
            const scan::read_result read = source_.read_at(range.begin, part);
            if (read.failed() || read.count != part.size())
                return read.failed() ? read.error : EIO;
            if (const int error = add_part(range.begin, part))
                return error;
            range.begin += part.size();
        }
        return flush_zeros();
    }

private:
    int add_part(uint64_t offset, std::span<const uint8_t> part) {
        for (size_t at = 0; at < part.size();) {
            const size_t begin = at;
            const bool zeros = is_zero_unit(part, at);
            while (at < part.size() && is_zero_unit(part, at) == zeros)
                at = std::min(at + zero_unit, part.size());
            const auto run = part.subspan(begin, at - begin);
            if (zeros) {
                if (zeros_.length == 0)
                    zeros_.offset = offset + begin;
                zeros_.length += run.size();
                continue;
            }
            int error = flush_zeros();
            if (error == 0)
                error = take_({.offset = offset + begin, .length = run.size(), .bytes = run});
            if (error != 0)
                return error;
        }
        return 0;
    }

    static bool is_zero_unit(std::span<const uint8_t> part, size_t at) {
        const auto unit = part.subspan(at, std::min(zero_unit, part.size() - at));
        return unit.size() == zero_unit && all_zero(unit);
    }

    int flush_zeros() {
        const old_place zeros = std::exchange(zeros_, {});
        return zeros.length == 0 ? 0 : take_(zeros);
    }

    scan::byte_source& source_;
    sink take_;
    std::vector<uint8_t> buffer_;
    old_place zeros_ = {};
};

uint64_t stored_size(const old_place& place) {
    return place_size + place.bytes.size();
}

// Behind the head: places first, then the older file.
class undo_writer {
public:
    explicit undo_writer(open_file& into) : into_(into) { buffer_.reserve(block); }

    int put_place(const old_place& place) {
        std::array<uint8_t, place_size> entry = {};
        put(entry, 0, place.offset);
        put(entry, 8, place.length | (place.bytes.empty() ? zeros_flag : 0));
        const int error = put_bytes(entry);
        return error != 0 ? error : put_bytes(place.bytes);
    }

    int put_bytes(std::span<const uint8_t> bytes) {
        sum_.add(bytes);
        while (!bytes.empty()) {
            const size_t taken = std::min(bytes.size(), block - buffer_.size());
            buffer_.insert(buffer_.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(taken));
            bytes = bytes.subspan(taken);
            if (buffer_.size() == block)
                if (const int error = flush())
                    return error;
        }
        return 0;
    }

    int flush() {
        const int error = buffer_.empty() ? 0 : into_.write_at(at_, buffer_);
        at_ += buffer_.size();
        buffer_.clear();
        return error;
    }

    checksum& sum() { return sum_; }

private:
    open_file& into_;
    uint64_t at_ = head_size;
    std::vector<uint8_t> buffer_ = {};
    checksum sum_ = {};
};

int copy_older(undo_writer& into, open_file& older, uint64_t length) {
    std::vector<uint8_t> buffer(block);
    for (uint64_t at = 0; at < length;) {
        const std::span part(buffer.data(), static_cast<size_t>(std::min<uint64_t>(block, length - at)));
        const scan::read_result read = older.read_at(at, part);
        if (read.failed() || read.count != part.size())
            return read.failed() ? read.error : EIO;
        if (const int error = into.put_bytes(part))
            return error;
        at += part.size();
    }
    return 0;
}

// Changed places as they stand in `recording`: the same ranges, as far as it goes, and what is new behind its old end.
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

content_check sum_of_planned(scan::byte_source& source, const changes& planned) {
    changed_source after(source, planned);
    checksum sum;
    int error = for_each_range(planned, [&](place_range range) {
        range.end = std::min(range.end, planned.new_size());
        return range.begin < range.end ? sum_range(after, range, sum) : 0;
    });
    if (error == 0 && planned.new_size() > planned.old_size())
        error = sum_range(after, {planned.old_size(), planned.new_size()}, sum);
    return {.value = sum.value(), .error = error};
}

int fill_head(undo_head& head, scan::byte_source& source, const changes& planned) {
    const undo_size size = undo_size_of(source, planned);
    if (size.error != 0)
        return size.error;
    const content_check content = sum_of_planned(source, planned);
    head.older_offset = size.bytes;
    head.length = size.bytes + head.older_length;
    head.old_size = planned.old_size();
    head.new_size = planned.new_size();
    head.new_content = content.value;
    return content.error;
}

// --- reading it ---

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
    return tail == head.old_size || head.new_size >= head.old_size ? 0 : EBADMSG;
}

checked_undo refused(int error) {
    const bool torn = error == EBADMSG;
    return {.what = torn ? undo_check::torn : undo_check::unreadable, .error = torn ? 0 : error, .head = {}};
}

} // namespace

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

undo_size undo_size_of(scan::byte_source& source, const changes& planned) {
    undo_size size = {.bytes = head_size, .error = 0};
    place_maker places(source, [&](const old_place& place) {
        size.bytes += stored_size(place);
        return 0;
    });
    size.error = for_each_range(planned, [&](place_range range) { return places.add(range); });
    return size;
}

int write_undo(open_file& into, scan::byte_source& source, const changes& planned, const file_dates& dates,
               open_file* older, uint64_t older_length) {
    undo_head head;
    head.dates = dates;
    head.older_length = older != nullptr ? older_length : 0;
    if (const int error = fill_head(head, source, planned))
        return error;
    head_bytes bytes = packed(head);
    undo_writer writer(into);
    add_head(writer.sum(), bytes);
    place_maker places(source, [&](const old_place& place) { return writer.put_place(place); });
    int error = for_each_range(planned, [&](place_range range) { return places.add(range); });
    if (error == 0 && older != nullptr)
        error = copy_older(writer, *older, older_length);
    if (error == 0)
        error = writer.flush();
    put(bytes, sum_offset, writer.sum().value());
    return error != 0 ? error : into.write_at(0, bytes);
}

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
