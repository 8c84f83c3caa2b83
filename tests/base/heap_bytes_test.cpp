#include "base/heap_bytes.hpp"

#include <cstdlib>
#include <gtest/gtest.h>
#include <numeric>

namespace {

using kmr::allocate_array;
using kmr::allocate_bytes;

TEST(HeapBytesTest, EveryElementCanBeWritten) {
    const auto numbers = allocate_array<uint32_t>(1000);
    ASSERT_NE(numbers, nullptr);
    std::iota(numbers.get(), numbers.get() + 1000, 1U);
    EXPECT_EQ(std::accumulate(numbers.get(), numbers.get() + 1000, 0U), 500500U);
}

TEST(HeapBytesTest, BytesAreAnArrayOfBytes) {
    const kmr::heap_bytes bytes = allocate_bytes(3);
    ASSERT_NE(bytes, nullptr);
    bytes[0] = 1;
    bytes[2] = 255;
    EXPECT_EQ(bytes[0] + bytes[2], 256);
}

// The products are 2^N, which a size_t of N bits takes for 0, and 2^N + 8: memory would be had, and be too small.
TEST(HeapBytesTest, ACountWhoseSizeWrapsGivesNull) {
    EXPECT_EQ(allocate_array<uint64_t>(SIZE_MAX / 8 + 1), nullptr);
    EXPECT_EQ(allocate_array<uint64_t>(SIZE_MAX / 8 + 2), nullptr);
    EXPECT_EQ(allocate_array<uint16_t>(SIZE_MAX), nullptr);
}

TEST(HeapBytesTest, ACallerInCMayFreeWhatIsReleased) {
    auto numbers = allocate_array<uint32_t>(4);
    ASSERT_NE(numbers, nullptr);
    std::free(numbers.release());
    EXPECT_EQ(numbers, nullptr);
}

} // namespace
