// Somebody else changes a recording, its way back or its name while it is mended.
#include "tests/mend/meddled_disk.hpp"
#include "tests/mend/on_disk.hpp"

#include <cerrno>
#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::mend_status;
using kmr::mend::recording;
using kmr::mend::undo_situation;

class MeddlingTest : public ::testing::Test {
protected:
    MeddlingTest() { disk_.put(path, damaged_, old_dates); }

    // Of a change that was broken off in the middle.
    void interrupt() {
        for (int nth = 1; situation_on(disk_) != undo_situation::interrupted; ++nth) {
            disk_.put(path, damaged_, old_dates);
            disk_.fail(nth, EIO, true);
            repair_on(disk_);
            disk_.heal();
            ASSERT_LT(nth, 1000);
        }
    }

    bytes damaged_ = damaged_recording();
    bytes other_ = bytes(damaged_.size(), 7);
    model_disk disk_;
};

TEST_F(MeddlingTest, AFileThatTakesThePlaceWhileItIsOpenedIsNotTouched) {
    meddled_disk meddled(disk_);
    meddled.before(2, [&] { disk_.put(path, other_); });
    EXPECT_EQ(repair_on(meddled).status, mend_status::changed_meanwhile);
    EXPECT_EQ(disk_.content(path), other_);
}

// At whatever call: what was written by somebody else stays, or the change was complete before.
TEST_F(MeddlingTest, AFileThatTakesThePlaceLaterIsNotTouchedEither) {
    for (int nth = 3;; ++nth) {
        const auto disk = disk_.copy();
        meddled_disk meddled(*disk);
        meddled.before(nth, [&] { disk->put(path, other_); });
        repair_on(meddled);
        if (meddled.calls < nth)
            break;
        EXPECT_EQ(disk->content(path), other_) << nth;
    }
}

TEST_F(MeddlingTest, ARecordingThatGrowsBetweenPlanAndChangeIsLeft) {
    for (const bool keep_undo : {true, false}) {
        auto opening = recording::open(disk_, path, true);
        const auto plan = kmr::mend::plan_repair(opening.opened->source());
        auto writing = disk_.open(path, kmr::mend::open_mode::change);
        ASSERT_EQ(writing.file->write_at(disk_.content(path).size(), bytes{1, 2, 3}), 0);
        const bytes grown = disk_.content(path);
        EXPECT_EQ(opening.opened->source().change(), kmr::scan::source_change::grown);
        EXPECT_EQ(opening.opened->apply(plan.planned, keep_undo).status, mend_status::changed_meanwhile);
        ASSERT_EQ(writing.file->truncate(50), 0);
        EXPECT_EQ(opening.opened->source().change(), kmr::scan::source_change::shrunk);
        EXPECT_EQ(opening.opened->apply(plan.planned, keep_undo).status, mend_status::changed_meanwhile);
        EXPECT_EQ(disk_.content(path), cut(grown, 50));
        EXPECT_FALSE(disk_.has(undo_path));
        disk_.put(path, damaged_, old_dates);
    }
}

TEST_F(MeddlingTest, ARecordingThatIsRewrittenBetweenPlanAndChangeIsLeft) {
    auto opening = recording::open(disk_, path, true);
    const auto plan = kmr::mend::plan_repair(opening.opened->source());
    auto writing = disk_.open(path, kmr::mend::open_mode::change);
    ASSERT_EQ(writing.file->write_at(0, bytes{1}), 0);
    const bytes rewritten = disk_.content(path);
    EXPECT_EQ(opening.opened->apply(plan.planned).status, mend_status::changed_meanwhile);
    EXPECT_EQ(disk_.content(path), rewritten);
}

TEST_F(MeddlingTest, ASourceTellsWhatBecameOfIt) {
    using kmr::scan::source_change;
    auto opening = recording::open(disk_, path, true);
    EXPECT_EQ(opening.opened->source().change(), source_change::none);
    EXPECT_TRUE(same_dates(opening.opened->dates(), old_dates));
    auto writing = disk_.open(path, kmr::mend::open_mode::change);
    ASSERT_EQ(writing.file->write_at(0, bytes{1}), 0);
    EXPECT_EQ(opening.opened->source().change(), source_change::rewritten);
    kmr::mend::open_file_source timeless(*writing.file, 5);
    EXPECT_EQ(timeless.change(), source_change::none) << "nobody told it what the file was";
}

TEST_F(MeddlingTest, AChangeOfAnotherSizeIsNotThisRecordings) {
    auto opening = recording::open(disk_, path, true);
    kmr::mend::changes other(opening.opened->size() + 1);
    other.write_bytes(0, bytes{1});
    EXPECT_EQ(opening.opened->apply(other).status, mend_status::changed_meanwhile);
    EXPECT_EQ(disk_.content(path), damaged_);
}

TEST_F(MeddlingTest, NothingIsChangedOnTopOfAnInterruptedChange) {
    interrupt();
    const bytes between = disk_.content(path);
    {
        auto opening = recording::open(disk_, path, true);
        kmr::mend::changes more(opening.opened->size());
        more.write_bytes(0, bytes{1});
        EXPECT_EQ(opening.opened->apply(more).status, mend_status::interrupted);
    }
    EXPECT_EQ(disk_.content(path), between);
    EXPECT_EQ(undo_on(disk_).status, mend_status::done);
    EXPECT_EQ(disk_.content(path), damaged_);
}

// No step of the change, nor of taking it back, makes it so short or so long.
TEST_F(MeddlingTest, AnInterruptedChangeOfAnotherLengthIsNotTakenBack) {
    interrupt();
    for (const size_t length : {size_t{50}, size_t{100'000}}) {
        const auto disk = disk_.copy();
        auto writing = disk->open(path, kmr::mend::open_mode::change);
        ASSERT_EQ(writing.file->truncate(length), 0);
        writing.file.reset();
        EXPECT_EQ(undo_on(*disk).status, mend_status::changed_since) << length;
        EXPECT_EQ(disk->content(path).size(), length);
    }
}

// --- the way back, written into ---

class WayBackTest : public MeddlingTest {
protected:
    WayBackTest() {
        disk_.put(path, bytes(3000, 9), old_dates);
        auto opening = recording::open(disk_, path, true);
        kmr::mend::changes two(3000);
        two.write_bytes(100, bytes(16, 1));
        two.write_bytes(1000, bytes(16, 2));
        EXPECT_EQ(opening.opened->apply(two).status, mend_status::done);
    }

    // Sets a number of a place; places are 32 bytes long here and follow the head of 112.
    void set(size_t place, size_t at, uint64_t value) {
        bytes undo = disk_.content(undo_path);
        for (size_t i = 0; i < 8; ++i)
            undo.at(112 + 32 * place + at + i) = static_cast<uint8_t>(value >> (8 * i));
        disk_.put(undo_path, undo);
    }
    void expect_torn() {
        EXPECT_EQ(situation_on(disk_), undo_situation::torn);
        EXPECT_EQ(undo_on(disk_).status, mend_status::undo_torn);
    }
};

TEST_F(WayBackTest, WithAPlaceBehindTheLastOffsetIsTorn) {
    set(1, 0, uint64_t{INT64_MAX});
    expect_torn();
}

TEST_F(WayBackTest, WithPlacesOutOfOrderIsTorn) {
    set(1, 0, 99);
    expect_torn();
    set(1, 0, 110);
    expect_torn();
}

TEST_F(WayBackTest, WithAPlaceBehindTheRecordingIsTorn) {
    set(1, 0, 2990);
    expect_torn();
}

} // namespace
