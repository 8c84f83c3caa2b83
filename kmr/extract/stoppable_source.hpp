// A recording that is read while the user may end the program.
#pragma once

#include "kmr/new_file/noted_signals.hpp"
#include "scan/byte_source.hpp"

#include <cerrno>

namespace kmr::program {

// Ends where the program is to end.
class stoppable_source final : public scan::byte_source {
public:
    explicit stoppable_source(scan::byte_source& source) : source_(source) {}
    uint64_t size() const override { return source_.size(); }
    scan::source_change change() const override { return source_.change(); }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        if (noted_signals::any())
            return {.count = 0, .error = EINTR};
        return source_.read_at(offset, into);
    }

private:
    scan::byte_source& source_;
};

} // namespace kmr::program
