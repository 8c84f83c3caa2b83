// Follows a scan through a file, also where it searches long for the next frame and nothing happens.
#pragma once

#include "kmr/output/progress.hpp"
#include "scan/judge.hpp"

#include <algorithm>
#include <cerrno>

namespace kmr::program {

class scan_follower : public scan::observer {
public:
    // The scan has come so far; offsets do not fall. False ends it.
    virtual bool reached(uint64_t offset) = 0;

    bool go_on(uint64_t offset) final {
        position_ = std::max(position_, offset);
        return reached(position_);
    }

    // Reads far ahead are of the index.
    bool reads(uint64_t offset) {
        constexpr uint64_t near = 16 << 20;
        return go_on(offset <= position_ + near ? offset : position_);
    }

private:
    uint64_t position_ = 0;
};

// A source whose reads somebody follows.
class followed_source final : public scan::byte_source {
public:
    followed_source(scan::byte_source& source, scan_follower& by) : source_(source), by_(by) {}

    uint64_t size() const override { return source_.size(); }
    scan::source_change change() const override { return source_.change(); }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        if (!by_.reads(offset))
            return {.count = 0, .error = ECANCELED};
        return source_.read_at(offset, into);
    }

private:
    scan::byte_source& source_;
    scan_follower& by_;
};

// Tells on a terminal how far one file has been read.
class file_progress : public scan_follower {
public:
    file_progress(output::messages& on, uint64_t bytes)
        : shown_(on.on_terminal()), progress_(on, {1, bytes}) {}

    bool reached(uint64_t offset) override {
        if (shown_)
            progress_.show({0, offset});
        return true;
    }

private:
    bool shown_;
    output::progress progress_;
};

} // namespace kmr::program
