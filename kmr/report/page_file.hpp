// A page on its way to the disk.
#pragma once

#include "kmr/new_file/noted_signals.hpp"
#include "mend/new_file.hpp"

#include <string>

namespace kmr::program {

// In large pieces. The first error stays, and nothing is written behind it.
class page_file {
public:
    explicit page_file(mend::draft& into) : into_(into) {}

    // To append to; `keep_small` must follow.
    std::string& buffer() { return buffer_; }
    void keep_small() {
        constexpr size_t piece = 65536;
        if (buffer_.size() >= piece)
            flush();
    }

    int finish() {
        flush();
        if (error_ == 0)
            error_ = into_.sync();
        return error_;
    }

    // Whether it is any use to go on.
    bool is_wanted() const { return error_ == 0 && !noted_signals::any(); }

private:
    void flush() {
        if (error_ == 0)
            error_ =
                into_.write_at(written_, {reinterpret_cast<const uint8_t*>(buffer_.data()), buffer_.size()});
        written_ += buffer_.size();
        buffer_.clear();
    }

    mend::draft& into_;
    std::string buffer_ = {};
    uint64_t written_ = 0;
    int error_ = 0;
};

} // namespace kmr::program
