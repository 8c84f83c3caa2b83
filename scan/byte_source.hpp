// Where the bytes of a recording come from. Read-only; a source is used by one thread at a time, any number of
// sources by any number of threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kmr::scan {

struct read_result {
    size_t count = 0; // bytes that arrived; fewer than asked for: the source ends there
    int error = 0;    // errno of a read that failed, else 0; nothing counts as read then

    bool failed() const { return error != 0; }
};

// What has become of a source since it was opened.
enum class source_change : uint8_t {
    none,
    rewritten, // same size, another modification time
    grown,
    shrunk,
    unknown, // it cannot be asked any more
};

class byte_source {
public:
    byte_source() = default;
    byte_source(const byte_source&) = delete;
    byte_source& operator=(const byte_source&) = delete;
    virtual ~byte_source() = default;

    // Bytes at the moment of opening. What stands behind them later is never looked at.
    virtual uint64_t size() const = 0;

    // Reads from `offset` on until `into` is full or the source ends.
    virtual read_result read_at(uint64_t offset, std::span<uint8_t> into) = 0;

    virtual source_change change() const { return source_change::none; }
};

// Bytes that somebody else keeps for as long as the source lives.
class memory_source final : public byte_source {
public:
    explicit memory_source(std::span<const uint8_t> bytes) : bytes_(bytes) {}

    uint64_t size() const override { return bytes_.size(); }
    read_result read_at(uint64_t offset, std::span<uint8_t> into) override;

private:
    std::span<const uint8_t> bytes_;
};

} // namespace kmr::scan
