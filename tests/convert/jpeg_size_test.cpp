#include "convert/jpeg_size.hpp"

#include <gtest/gtest.h>
#include <vector>

namespace {

using kmr::convert::jpeg_size;
using kmr::scan::picture_size;
using bytes = std::vector<uint8_t>;

// A start, a comment of one byte, 240 rows of 320.
const bytes small = {0xFF, 0xD8, 0xFF, 0xFE, 0, 3, 'x', 0xFF, 0xC0, 0, 17, 8, 0, 240, 1, 64, 3};

bytes with(size_t at, uint8_t value) {
    bytes changed = small;
    changed[at] = value;
    return changed;
}

TEST(JpegSizeTest, IsThatOfTheFrame) {
    EXPECT_EQ(jpeg_size(small), (picture_size{320, 240}));
    EXPECT_EQ(jpeg_size(with(8, 0xC2)), (picture_size{320, 240})); // progressive
    bytes filled = small;
    filled.insert(filled.begin() + 2, {0xFF, 0xFF});
    EXPECT_EQ(jpeg_size(filled), (picture_size{320, 240}));
}

TEST(JpegSizeTest, IsUnknownWhereNothingTellsIt) {
    EXPECT_EQ(jpeg_size({}), picture_size{});
    EXPECT_EQ(jpeg_size(with(2, 0)), picture_size{});    // no segment
    EXPECT_EQ(jpeg_size(with(3, 0xDA)), picture_size{}); // the picture has begun
    EXPECT_EQ(jpeg_size(with(4, 0xFF)), picture_size{}); // a segment that goes over the end
    for (const uint8_t other : bytes{0xC4, 0xC8, 0xCC, 0xDB})
        EXPECT_EQ(jpeg_size(with(8, other)), picture_size{});
    for (size_t length = 0; length < 16; ++length)
        EXPECT_EQ(jpeg_size(std::span(small).first(length)), picture_size{});
}

} // namespace
