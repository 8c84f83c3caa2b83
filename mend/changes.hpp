// What is to be written into a file, before anything is: places with what will stand there, and the new length. A value.
#pragma once

#include "mend/new_index.hpp"
#include "scan/byte_source.hpp"

#include <cstdint>
#include <span>
#include <vector>

namespace kmr::mend {

struct planned_write {
    enum class content : uint8_t {
        bytes,  // `from` is a place among the kept bytes
        zeros,  //
        source, // `from` is a place in the file as it is now: the bytes move
        index,  // the new index; `from` is a place in it
    };
    uint64_t offset = 0;
    uint64_t length = 0;
    uint64_t from = 0;
    content what = content::bytes;
    // It and the next one are to be read before either is written: one takes bytes from the other's place.
    bool joined = false;
    bool put_off = false; // until all others are written: it counts what they are

    uint64_t end() const { return offset + length; }
};

class changes {
public:
    explicit changes(uint64_t size = 0) : old_size_(size), new_size_(size) {}

    uint64_t old_size() const { return old_size_; }
    uint64_t new_size() const { return new_size_; }
    void set_new_size(uint64_t size) { new_size_ = size; }

    // By offset, disjoint, none behind the new size.
    const std::vector<planned_write>& writes() const { return writes_; }
    bool empty() const { return writes_.empty() && new_size_ == old_size_; }
    uint64_t bytes_written() const;

    // False when there are too many: memory is bounded whatever a recording holds.
    bool write_bytes(uint64_t offset, std::span<const uint8_t> bytes);
    bool write_last(uint64_t offset, std::span<const uint8_t> bytes);
    bool write_zeros(uint64_t offset, uint64_t length);
    bool move_bytes(uint64_t offset, uint64_t from, uint64_t length);
    bool write_index(uint64_t offset, new_index index);
    // False where the other writes more than an index, or one of another place or length.
    bool take_index_of(changes& other);
    void join(size_t first); // the writes from `first` on, up to the last one

    // Writes may come in any order until here.
    void sort();

    // A part of what a write writes. `source` is the file as it was. errno; EIO where the source is too short.
    int content_of(const planned_write& write, uint64_t at, scan::byte_source& source,
                   std::span<uint8_t> into) const;

    static constexpr size_t most_writes = 262144;

private:
    bool add(const planned_write& write);

    uint64_t old_size_;
    uint64_t new_size_;
    std::vector<planned_write> writes_ = {};
    std::vector<uint8_t> bytes_ = {};
    new_index index_ = {};
};

// The file as it will be.
class changed_source final : public scan::byte_source {
public:
    changed_source(scan::byte_source& source, const changes& with) : source_(source), with_(with) {}

    uint64_t size() const override { return with_.new_size(); }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override;

private:
    scan::byte_source& source_;
    const changes& with_;
};

} // namespace kmr::mend
