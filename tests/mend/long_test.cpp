// Recordings beyond 4 GiB, whose bytes are made when they are asked for.
#include "tests/mend/mended.hpp"

#include <algorithm>
#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::plan_status;

constexpr uint64_t mib = 1048576;

// A header, so many frames of 1 MiB, every tenth an I-frame, and a tail. Headers named as damaged are not there.
class long_source final : public kmr::scan::byte_source {
public:
    long_source(uint64_t frames, bytes tail) : frames_(frames), tail_(std::move(tail)) {
        header_ = recording::file_header(static_cast<uint32_t>(frames));
    }

    std::vector<uint64_t> damaged = {};

    uint64_t size() const override { return 88 + frames_ * mib + tail_.size(); }

    kmr::scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        size_t count = 0;
        while (count < into.size() && offset + count < size()) {
            const uint64_t at = offset + count;
            const bytes& piece = piece_at(at);
            const uint64_t skipped = at - begin_;
            const size_t part = std::min<size_t>(into.size() - count, piece.size() - skipped);
            std::copy_n(piece.begin() + static_cast<std::ptrdiff_t>(skipped), part,
                        into.begin() + static_cast<std::ptrdiff_t>(count));
            count += part;
        }
        return {.count = count, .error = 0};
    }

private:
    const bytes& piece_at(uint64_t at) {
        begin_ = 0;
        if (at < 88)
            return header_;
        begin_ = 88 + frames_ * mib;
        if (at >= begin_)
            return tail_;
        const uint64_t frame = (at - 88) / mib;
        begin_ = 88 + frame * mib;
        if (made_ != frame + 1)
            make(frame);
        return frame_;
    }

    void make(uint64_t frame) {
        const auto number = static_cast<uint32_t>(frame + 1);
        const bool is_i = frame % 10 == 0;
        frame_ = recording::frame_record({.number = number,
                                          .time_stamp = 40 * number,
                                          .kind = is_i ? 0U : 1U,
                                          .video = is_i ? scan_test::i_video(100) : scan_test::p_video(100)});
        frame_.resize(mib, 0xAA);
        recording::put_u32(frame_, 4, static_cast<uint32_t>(mib));
        recording::put_u32(frame_, 20, static_cast<uint32_t>(mib - 32));
        if (std::find(damaged.begin(), damaged.end(), frame) != damaged.end())
            overwrite(frame_, 0, 32);
        made_ = frame + 1;
    }

    uint64_t frames_;
    bytes tail_;
    bytes header_;
    bytes frame_ = {};
    uint64_t begin_ = 0;
    uint64_t made_ = 0;
};

TEST(LongTest, BeyondFourGibibyteDamageIsCoveredAndNoIndexIsWritten) {
    long_source source(4100, bytes(500, 0x11));
    source.damaged = {7, 4096};
    const auto plan = kmr::mend::plan_repair(source);
    EXPECT_EQ(plan.status, plan_status::ready);
    EXPECT_TRUE(plan.beyond_4_gib);
    EXPECT_FALSE(plan.index_rewritten);
    EXPECT_EQ(plan.frames_kept, 4098U);
    EXPECT_THAT(told(plan), testing::ElementsAre("cover @" + std::to_string(88 + 7 * mib) + " +1048576",
                                                 "cover @" + std::to_string(88 + 4096 * mib) + " +1048576",
                                                 "cut @" + std::to_string(88 + 4100 * mib) + " +500"));
    EXPECT_EQ(plan.planned.new_size(), 88 + 4100 * mib);
    EXPECT_EQ(plan.bytes_rewritten, 32U + 32 + 8);
    kmr::mend::changed_source mended(source, plan.planned);
    EXPECT_EQ(kmr::mend::plan_repair(mended).status, plan_status::nothing_to_do);
}

TEST(LongTest, OneRegionInAGibibyteWritesAFewBytes) {
    long_source source(1024, {});
    source.damaged = {500};
    const auto plan = kmr::mend::plan_repair(source);
    EXPECT_EQ(plan.frames_kept, 1023U);
    EXPECT_EQ(plan.index_records, 102U); // of 103, and the 51st is lost
    EXPECT_EQ(plan.bytes_rewritten, 32U + 8 + 52 + 102 * 80);
}

} // namespace
