// Recordings with more places, more I-frames or more bytes than a repair or a copy is made for.
#include "mend/copy.hpp"
#include "mend/like_recorder.hpp"
#include "tests/mend/mended.hpp"

#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::changes;
using kmr::mend::copy_status;
using kmr::mend::new_index;
using kmr::mend::plan_status;

// So many frames with four bytes of video, the first or each an I-frame, with this behind every third.
bytes many_frames(size_t count, bool only_i, const bytes& behind) {
    bytes file = recording::file_header(static_cast<uint32_t>(count));
    bytes one = recording::frame_record({.kind = 0, .video = bytes(4, 0xAA)});
    file.reserve(file.size() + count * (one.size() + behind.size() / 3 + 1));
    for (size_t i = 0; i < count; ++i) {
        one[8] = i == 0 || only_i ? 0 : 1;
        recording::put_u32(one, 12, static_cast<uint32_t>(i + 1));
        recording::put_u32(one, 16, static_cast<uint32_t>(40 * (i + 1)));
        recording::append(file, one);
        if (i % 3 == 2)
            recording::append(file, behind);
    }
    return file;
}

TEST(LimitsTest, MorePlacesThanMemoryIsGivenToAreTooMuchDamage) {
    const bytes file = many_frames(3 * (changes::most_writes + 2), false, bytes(40, 0x5A));
    const auto plan = plan_of(file);
    EXPECT_EQ(plan.status, plan_status::too_damaged);
    EXPECT_TRUE(plan.planned.empty());
    kmr::scan::memory_source source(file);
    const auto copy = kmr::mend::plan_copy(source, {});
    EXPECT_EQ(copy.status, copy_status::too_damaged);
    EXPECT_EQ(copy.content, nullptr);
}

TEST(LimitsTest, MoreWrongStampsThanMemoryIsGivenToAreTooMuchDamage) {
    bytes file = many_frames(2 * (changes::most_writes + 2), false, {});
    for (size_t at = 88 + 36; at + 36 < file.size(); at += 72)
        recording::put_u32(file, at + 16, 0xF0000000U);
    EXPECT_EQ(plan_of(file).status, plan_status::too_damaged);
}

TEST(LimitsTest, MoreIFramesThanAnIndexIsMadeForAreTooMuchDamage) {
    const bytes file = many_frames(new_index::most_records + 1, true, {});
    EXPECT_EQ(plan_of(file).status, plan_status::too_damaged);
    kmr::scan::memory_source source(file);
    EXPECT_EQ(kmr::mend::plan_copy(source, {}).status, copy_status::too_damaged);
    EXPECT_EQ(kmr::mend::plan_like_recorder(source).status, plan_status::too_damaged);
}

constexpr uint64_t mib = 1048576;

// Frames of 1 MiB, every tenth an I-frame, made when they are asked for.
class long_source final : public kmr::scan::byte_source {
public:
    explicit long_source(uint64_t frames) : frames_(frames) {}

    uint64_t size() const override { return 88 + frames_ * mib; }

    kmr::scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        size_t count = 0;
        for (; count < into.size() && offset + count < size(); ++count)
            into[count] = at(offset + count);
        return {.count = count, .error = 0};
    }

private:
    uint8_t at(uint64_t offset) {
        if (offset < 88)
            return header_[static_cast<size_t>(offset)];
        const uint64_t place = (offset - 88) % mib;
        if (place >= 232)
            return 0xAA;
        if (const uint64_t frame = (offset - 88) / mib; frame != made_)
            make(frame);
        return frame_[static_cast<size_t>(place)];
    }

    void make(uint64_t frame) {
        made_ = frame;
        const auto number = static_cast<uint32_t>(frame + 1);
        const bool is_i = frame % 10 == 0;
        frame_ = recording::frame_record({.number = number,
                                          .time_stamp = 40 * number,
                                          .kind = is_i ? 0U : 1U,
                                          .video = is_i ? scan_test::i_video(200) : scan_test::p_video(200)});
        recording::put_u32(frame_, 4, static_cast<uint32_t>(mib));
        recording::put_u32(frame_, 20, static_cast<uint32_t>(mib - 32));
    }

    uint64_t frames_;
    uint64_t made_ = UINT64_MAX;
    bytes frame_ = {};
    bytes header_ = recording::file_header(static_cast<uint32_t>(frames_));
};

TEST(LimitsTest, BeyondFourGibibyteOnlyAPartIsCopied) {
    using kmr::mend::span_bound;
    long_source source(4100);
    EXPECT_EQ(kmr::mend::plan_copy(source, {}).status, copy_status::too_long);
    EXPECT_EQ(kmr::mend::plan_like_recorder(source).status, plan_status::no_way);
    const span_bound from = {span_bound::unit::frame_number, 4091};
    const span_bound to = {span_bound::unit::frame_number, 4096};
    const auto part = kmr::mend::plan_copy(source, {from, to});
    EXPECT_EQ(part.status, copy_status::ready);
    EXPECT_EQ(part.frames, 5U);
    EXPECT_EQ(part.content->size(), 88 + 5 * mib + 52 + 80);
}

} // namespace
