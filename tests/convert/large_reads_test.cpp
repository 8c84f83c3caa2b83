#include "convert/large_reads.hpp"

#include <algorithm>
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numeric>

namespace {

using kmr::convert::large_reads;
namespace scan = kmr::scan;

// Three pieces of a MiB and 10 bytes.
class LargeReadsTest : public testing::Test,
                       public scan::byte_source { // the source itself, to see what is asked
protected:
    static constexpr uint64_t mib = 1 << 20;

    LargeReadsTest() : content_(3 * mib + 10) {
        for (size_t i = 0; i < content_.size(); ++i)
            content_[i] = static_cast<uint8_t>(i * 7 + i / 251);
    }

    uint64_t size() const override { return content_.size() + missing_; }
    scan::source_change change() const override { return scan::source_change::grown; }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        asked_.push_back(offset);
        if (error_ != 0)
            return {.count = 0, .error = error_};
        return scan::memory_source(content_).read_at(offset, into);
    }

    void expect_view(uint64_t offset, size_t length, size_t there) {
        const large_reads::seen seen = reads_.view(offset, length);
        EXPECT_EQ(seen.error, 0);
        ASSERT_EQ(seen.bytes.size(), there);
        EXPECT_TRUE(std::equal(seen.bytes.begin(), seen.bytes.end(),
                               content_.begin() + static_cast<std::ptrdiff_t>(offset)));
    }

    std::vector<uint8_t> content_;
    uint64_t missing_ = 0;
    int error_ = 0;
    std::vector<uint64_t> asked_;
    large_reads reads_ = large_reads(*this);
};

TEST_F(LargeReadsTest, ReadsEveryPieceOnce) {
    for (uint64_t at = 0; at + 1000 <= 3 * mib; at += 1000) {
        uint8_t start[100] = {};
        EXPECT_EQ(reads_.read_at(at + 900, start).count, 100U); // a look ahead
        expect_view(at, 1000, 1000);
    }
    EXPECT_THAT(asked_, testing::ElementsAre(0, mib, 2 * mib));
}

TEST_F(LargeReadsTest, GivesWhatIsThere) {
    expect_view(3 * mib, 10, 10);
    expect_view(3 * mib + 4, 100, 6);
    expect_view(3 * mib - 5, 100, 15);
    EXPECT_TRUE(reads_.view(3 * mib + 10, 5).bytes.empty());
    EXPECT_TRUE(reads_.view(5, 0).bytes.empty());
    std::vector<uint8_t> all(4 * mib);
    EXPECT_EQ(reads_.read_at(0, all).count, 3 * mib + 10);
    all.resize(3 * mib + 10);
    EXPECT_EQ(all, content_);
    EXPECT_EQ(reads_.change(), scan::source_change::grown);
}

TEST_F(LargeReadsTest, ASourceThatBecameShorterGivesLess) {
    missing_ = mib; // its size said more than there is
    uint8_t some[20] = {};
    EXPECT_EQ(reads_.read_at(3 * mib, some).count, 10U);
    expect_view(3 * mib + 2, 20, 8);
    EXPECT_TRUE(reads_.view(3 * mib + 500, 20).bytes.empty());
    EXPECT_TRUE(reads_.view(4 * mib + 1, 5).bytes.empty());
}

TEST_F(LargeReadsTest, ErrorsAreToldAndForgotten) {
    error_ = EIO;
    uint8_t some[20] = {};
    EXPECT_EQ(reads_.read_at(5, some).error, EIO);
    EXPECT_EQ(reads_.view(5, 5).error, EIO);
    EXPECT_EQ(reads_.view(mib - 5, 10).error, EIO);
    error_ = 0;
    expect_view(mib - 5, 10, 10);
}

} // namespace
