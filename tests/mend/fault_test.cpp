// Every call fails, once and for good, and the disk is full at every step.
#include "tests/mend/on_disk.hpp"

#include <cerrno>
#include <functional>
#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::mend_status;
using kmr::mend::undo_situation;

class FaultTest : public ::testing::Test {
protected:
    FaultTest() { disk_.put(path, damaged_, old_dates); }

    // What was told holds, and when the disk works again the recording is reached either way.
    void expect_told_truly(model_disk& disk, kmr::mend::outcome told, const bytes& before,
                           const bytes& after) {
        disk.heal();
        disk.set_room(UINT64_MAX);
        const undo_situation situation = situation_on(disk);
        const bool is_before = disk.content(path) == before;
        const bool is_after = disk.content(path) == after;
        EXPECT_TRUE(told.status != mend_status::done || is_after);
        EXPECT_TRUE(told.status == mend_status::done || told.status == mend_status::interrupted || is_before);
        EXPECT_TRUE(situation == undo_situation::interrupted || is_before || is_after);
        const auto other = disk.copy();
        EXPECT_EQ(repair_on(*other).status, mend_status::done);
        EXPECT_EQ(other->content(path), repaired_);
        while (undo_on(disk).status == mend_status::done) {
        }
        EXPECT_EQ(disk.content(path), damaged_);
        EXPECT_FALSE(disk.has(undo_path));
    }

    bytes damaged_ = damaged_recording();
    bytes repaired_ = mended(damaged_);
    model_disk disk_;
};

TEST_F(FaultTest, OfEveryCallDuringARepair) {
    for (const bool lasts : {false, true})
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE(nth);
            const auto disk = disk_.copy();
            disk->fail(nth, EIO, lasts);
            const auto told = repair_on(*disk);
            const bool met = disk->has_failed();
            if (!met) {
                EXPECT_GT(nth, 30);
                break;
            }
            expect_told_truly(*disk, told, damaged_, repaired_);
            if (HasFailure())
                return;
        }
}

TEST_F(FaultTest, OfEveryCallDuringAnUndo) {
    ASSERT_EQ(repair_on(disk_).status, mend_status::done);
    for (const bool lasts : {false, true})
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE(nth);
            const auto disk = disk_.copy();
            disk->fail(nth, EIO, lasts);
            const auto told = undo_on(*disk);
            if (!disk->has_failed()) {
                EXPECT_GT(nth, 20);
                break;
            }
            expect_told_truly(*disk, told, repaired_, damaged_);
            if (HasFailure())
                return;
        }
}

TEST_F(FaultTest, OfADiskThatIsFullAtAnyStep) {
    const uint64_t used = disk_.used();
    const auto whole = disk_.copy();
    ASSERT_EQ(repair_on(*whole).status, mend_status::done);
    const uint64_t wanted = whole->used();
    for (uint64_t room = used; room < wanted; room += 7) {
        SCOPED_TRACE(room);
        const auto disk = disk_.copy();
        disk->set_room(room);
        const auto told = repair_on(*disk);
        EXPECT_EQ(told.status, mend_status::failed);
        EXPECT_EQ(told.error, ENOSPC);
        EXPECT_EQ(disk->content(path), damaged_);
        EXPECT_FALSE(disk->has(path + ".kmr-undo-new"));
        expect_told_truly(*disk, told, damaged_, repaired_);
    }
}

} // namespace
