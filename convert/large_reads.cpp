#include "convert/large_reads.hpp"

#include <algorithm>

namespace kmr::convert {

large_reads::held large_reads::hold(uint64_t number) {
    for (size_t each = 0; each < pieces_.size(); ++each)
        if (pieces_[each].number == number) {
            latest_ = each;
            return {&pieces_[each], 0};
        }
    latest_ = 1 - latest_;
    piece& into = pieces_[latest_];
    into.number = UINT64_MAX;
    const uint64_t begin = number * piece_size;
    into.bytes.resize(static_cast<size_t>(std::min(piece_size, size() - begin)));
    const scan::read_result read = source_.read_at(begin, into.bytes);
    if (read.failed())
        return {nullptr, read.error};
    into.number = number;
    into.filled = read.count;
    return {&into, 0};
}

scan::read_result large_reads::read_at(uint64_t offset, std::span<uint8_t> into) {
    scan::read_result result;
    while (result.count < into.size() && offset + result.count < size()) {
        const uint64_t at = offset + result.count;
        const held from = hold(at / piece_size);
        if (from.bytes == nullptr)
            return {.count = 0, .error = from.error};
        const auto begin = static_cast<size_t>(at % piece_size);
        if (begin >= from.bytes->filled)
            break;
        const size_t count = std::min(into.size() - result.count, from.bytes->filled - begin);
        std::copy_n(from.bytes->bytes.data() + begin, count, into.data() + result.count);
        result.count += count;
    }
    return result;
}

large_reads::seen large_reads::view(uint64_t offset, size_t length) {
    if (length == 0 || offset >= size())
        return {};
    if (offset / piece_size == (offset + length - 1) / piece_size) {
        const held from = hold(offset / piece_size);
        if (from.bytes == nullptr)
            return {.bytes = {}, .error = from.error};
        const size_t begin = std::min(static_cast<size_t>(offset % piece_size), from.bytes->filled);
        return {.bytes =
                    std::span(from.bytes->bytes).subspan(begin, std::min(length, from.bytes->filled - begin)),
                .error = 0};
    }
    joined_.resize(length);
    const scan::read_result read = read_at(offset, joined_);
    return {.bytes = std::span(joined_).first(read.count), .error = read.error};
}

} // namespace kmr::convert
