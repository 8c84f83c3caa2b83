// Writing an undo file.
#include "mend/undo_layout.hpp"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <utility>
#include <vector>

namespace kmr::mend {
namespace {

using namespace undo_layout;

bool all_zero(std::span<const uint8_t> bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](uint8_t each) { return each == 0; });
}

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

} // namespace

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

} // namespace kmr::mend
