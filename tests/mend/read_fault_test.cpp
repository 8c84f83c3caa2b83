// Plans from recordings whose reading fails, or ends early, at each place.
#include "mend/copy.hpp"
#include "mend/like_recorder.hpp"
#include "mend/tags.hpp"
#include "tests/mend/on_disk.hpp"

#include <cerrno>
#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::copy_status;
using kmr::mend::plan_status;
using kmr::mend::tag_status;

// Its nth read fails; the ones behind it are as good as those before.
class failing_source final : public kmr::scan::byte_source {
public:
    failing_source(const bytes& of, int nth, int error) : whole_(of), nth_(nth), error_(error) {}
    uint64_t size() const override { return whole_.size(); }
    kmr::scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        if (++calls == nth_)
            return {.count = 0, .error = error_};
        return whole_.read_at(offset, into);
    }
    bool has_failed() const { return calls >= nth_; }
    void fail_next() { nth_ = calls + 1; }
    int calls = 0;

private:
    kmr::scan::memory_source whole_;
    int nth_;
    int error_;
};

class ReadFaultTest : public ::testing::TestWithParam<int> {
protected:
    // For each read that `plan` does. It hands back whether it said that the recording cannot be read.
    template <typename Plan>
    void expect_refused(const bytes& file, Plan plan) {
        for (int nth = 1;; ++nth) {
            failing_source source(file, nth, GetParam());
            const bool refused = plan(source);
            EXPECT_EQ(refused, source.has_failed()) << nth;
            if (!source.has_failed())
                break;
        }
    }
    // A source that gives nothing, and no error, has become shorter.
    bool comes_short() const { return GetParam() == 0; }
};

INSTANTIATE_TEST_SUITE_P(All, ReadFaultTest, ::testing::Values(EIO, 0));

TEST_P(ReadFaultTest, OfARepair) {
    const bytes moved = inserted(scan_test::recording_of(scan_test::sound_frames(10)), 88, 7);
    // P7, at 776, reaches over the others to stray bytes in front of the index, and P3 has a wrong stamp.
    bytes looked_at_again = inserted(scan_test::recording_of(scan_test::sound_frames(10)), 1160, 50);
    recording::put_u32(looked_at_again, 776 + 4, 1160 - 776);
    recording::put_u32(looked_at_again, 776 + 20, 1160 - 776 - 32);
    recording::put_u32(looked_at_again, 336 + 16, 0);
    for (const bytes& file : {damaged_recording(), moved, looked_at_again})
        expect_refused(file, [&](failing_source& source) {
            const auto plan = kmr::mend::plan_repair(source);
            // What came short may have been asked for once more: then the plan is the right one.
            if (comes_short() && source.has_failed() && plan.status == plan_status::ready)
                return with_changes(file, plan.planned) == mended(file);
            return plan.status == plan_status::unreadable ||
                   (comes_short() && plan.status != plan_status::ready);
        });
}

TEST_P(ReadFaultTest, OfARepairLikeTheRecorders) {
    expect_refused(damaged_recording(), [&](failing_source& source) {
        const auto plan = kmr::mend::plan_like_recorder(source);
        return plan.status == plan_status::unreadable || (comes_short() && plan.status != plan_status::ready);
    });
}

TEST_P(ReadFaultTest, OfACopy) {
    expect_refused(scan_test::recording_of(scan_test::sound_frames(10)), [&](failing_source& source) {
        const auto plan = kmr::mend::plan_copy(source, {});
        EXPECT_EQ(plan.content == nullptr, plan.status != copy_status::ready);
        return plan.status == copy_status::unreadable || (comes_short() && plan.status != copy_status::ready);
    });
}

TEST_P(ReadFaultTest, OfTheCopyItself) {
    const bytes file = scan_test::recording_of(scan_test::sound_frames(10));
    failing_source source(file, 1000, GetParam());
    const auto plan = kmr::mend::plan_copy(source, {});
    ASSERT_EQ(plan.status, copy_status::ready);
    bytes part(100);
    EXPECT_EQ(plan.content->read_at(plan.content->size(), part).count, 0U);
    EXPECT_EQ(plan.content->read_at(0, part).count, part.size());
    source.fail_next();
    EXPECT_EQ(plan.content->read_at(200, part).error, EIO);
}

TEST_P(ReadFaultTest, OfATag) {
    const bytes file = scan_test::recording_of(scan_test::sound_frames(10));
    for (int nth = 1;; ++nth) {
        failing_source source(file, nth, GetParam());
        const auto plan = kmr::mend::plan_tag(source, kmr::mend::record_number{1}, "door");
        if (!source.has_failed()) {
            EXPECT_EQ(plan.status, tag_status::ready);
            break;
        }
        EXPECT_NE(plan.status, tag_status::ready) << nth;
        if (plan.status == tag_status::unreadable) {
            EXPECT_EQ(plan.error, EIO);
        }
        EXPECT_TRUE(plan.planned.empty());
    }
}

// No text that is none gets as far as the recording.
TEST(TagTextTest, IsLookedAtBeforeAnythingIsRead) {
    const bytes file = damaged_recording();
    failing_source source(file, 1, EIO);
    using kmr::mend::record_number;
    EXPECT_EQ(kmr::mend::plan_tag(source, record_number{0}, "").status, tag_status::empty_text);
    EXPECT_EQ(kmr::mend::plan_tag_change(source, {0}, "a\nb").status,
              tag_status::text_with_control_characters);
    EXPECT_EQ(kmr::mend::plan_tag_change(source, {0}, std::string(64, 'a')).status,
              tag_status::text_too_long);
    EXPECT_EQ(source.calls, 0);
}

// The same text once more changes nothing.
TEST(TagTextTest, ThatStandsThereAlreadyIsNoChange) {
    const auto all = scan_test::sound_frames(10);
    auto index = scan_test::records_for(all);
    index[1].tag = "door";
    const bytes file = scan_test::recording_of(all, index);
    kmr::scan::memory_source source(file);
    const auto plan = kmr::mend::plan_tag_change(source, {1}, "door");
    EXPECT_EQ(plan.status, tag_status::ready);
    EXPECT_EQ(plan.before, "door");
    EXPECT_TRUE(plan.planned.empty());
}

} // namespace
