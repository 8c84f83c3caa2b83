// A part of a recording, copied into memory.
#pragma once

#include "mend/copy.hpp"
#include "tests/mend/mended.hpp"

#include <gmock/gmock.h>

namespace mend_test {

struct copied {
    kmr::mend::copy_plan plan;
    bytes file;
};

// Whatever there is to be had, with the right size and count in its header.
inline copied copy_of(const bytes& file, const kmr::mend::span& of) {
    kmr::scan::memory_source source(file);
    copied result = {.plan = kmr::mend::plan_copy(source, of), .file = {}};
    if (result.plan.content) {
        result.file.resize(result.plan.content->size());
        EXPECT_EQ(result.plan.content->read_at(0, result.file).count, result.file.size());
        EXPECT_EQ(recording::get_u32(result.file, 80), result.file.size());
        EXPECT_EQ(recording::get_u32(result.file, 84), result.plan.frames);
        result.plan.content.reset(); // its source ends here
    }
    return result;
}

inline std::vector<uint32_t> numbers_in(const bytes& file) {
    std::vector<uint32_t> numbers;
    for (const auto& each : frames_by_number(file))
        numbers.push_back(each.first);
    return numbers;
}

inline kmr::mend::span_bound number(int64_t value) {
    return {kmr::mend::span_bound::unit::frame_number, value};
}

} // namespace mend_test
