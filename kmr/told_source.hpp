// A recording whose frames are taken elsewhere: on a terminal it is told how far they have come.
#pragma once

#include "kmr/output/progress.hpp"
#include "scan/byte_source.hpp"

#include <optional>

namespace kmr::program {

class told_source final : public scan::byte_source {
public:
    told_source(scan::byte_source& source, output::messages& err) : source_(source) {
        if (err.on_terminal())
            progress_.emplace(err, output::work_done{1, source.size()});
    }
    void be_quiet() { progress_.reset(); }

    uint64_t size() const override { return source_.size(); }
    bool has_grown() const { return source_.change() == scan::source_change::grown; }
    // What a recorder writes on behind what was there changes no frame of it.
    scan::source_change change() const override {
        const scan::source_change what = source_.change();
        return what == scan::source_change::grown ? scan::source_change::none : what;
    }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        if (progress_)
            progress_->show({0, offset});
        return source_.read_at(offset, into);
    }

private:
    scan::byte_source& source_;
    std::optional<output::progress> progress_ = {};
};

} // namespace kmr::program
