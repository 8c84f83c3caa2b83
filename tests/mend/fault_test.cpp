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

    void expect_all_undone(model_disk& disk) {
        while (undo_on(disk).status == mend_status::done) {
        }
        EXPECT_EQ(disk.content(path), damaged_);
        EXPECT_TRUE(same_dates(disk.dates(path), old_dates));
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

// The recording was repaired before, so the older undo file goes along.
TEST_F(FaultTest, OfEveryCallWhileATagIsSet) {
    ASSERT_EQ(repair_on(disk_).status, mend_status::done);
    const auto whole = disk_.copy();
    ASSERT_EQ(tag_on(*whole).status, mend_status::done);
    const bytes tagged = whole->content(path);
    for (const bool lasts : {false, true})
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE(nth);
            const auto disk = disk_.copy();
            disk->fail(nth, EIO, lasts);
            const auto told = tag_on(*disk);
            if (!disk->has_failed()) {
                EXPECT_GT(nth, 30);
                break;
            }
            disk->heal();
            const bool is_before = disk->content(path) == repaired_;
            const bool is_after = disk->content(path) == tagged;
            EXPECT_EQ(told.status == mend_status::done, is_after && told.error == 0);
            EXPECT_TRUE(is_before || told.status != mend_status::failed);
            EXPECT_TRUE(is_before || is_after || situation_on(*disk) == undo_situation::interrupted);
            expect_all_undone(*disk);
            if (HasFailure())
                return;
        }
}

// Without an undo file a change that fails stays half done, but no index counts a tag that is not there.
TEST_F(FaultTest, NeverLeavesACountInFrontOfItsTag) {
    disk_.put(path, repaired_, old_dates);
    const auto whole = disk_.copy();
    ASSERT_EQ(tag_on(*whole, false).status, mend_status::done);
    const bytes tagged = whole->content(path);
    std::vector<size_t> changed;
    for (size_t i = 0; i < tagged.size(); ++i)
        if (tagged[i] != repaired_[i])
            changed.push_back(i);
    ASSERT_EQ(changed.size(), 5U); // the count, and "here"
    bytes without_count = tagged;
    without_count[changed.front()] = repaired_[changed.front()];
    size_t half_done = 0;
    for (int nth = 1;; ++nth) {
        SCOPED_TRACE(nth);
        const auto disk = disk_.copy();
        disk->fail(nth, EIO, true);
        const auto told = tag_on(*disk, false);
        if (!disk->has_failed())
            break;
        const bytes& found = disk->content(path);
        EXPECT_NE(told.status, mend_status::done);
        EXPECT_TRUE(found == repaired_ || found == without_count || found == tagged);
        half_done += found == without_count ? 1 : 0;
    }
    EXPECT_EQ(half_done, 1U);
}

TEST_F(FaultTest, OfADiskThatIsFullWhileATagIsSet) {
    ASSERT_EQ(repair_on(disk_).status, mend_status::done);
    const auto whole = disk_.copy();
    ASSERT_EQ(tag_on(*whole).status, mend_status::done);
    for (uint64_t room = disk_.used(); room < whole->used(); room += 3) {
        SCOPED_TRACE(room);
        const auto disk = disk_.copy();
        disk->set_room(room);
        const auto told = tag_on(*disk);
        EXPECT_EQ(told.status, mend_status::failed);
        EXPECT_EQ(told.error, ENOSPC);
        EXPECT_EQ(disk->content(path), repaired_);
        EXPECT_EQ(disk->names(), disk_.names());
    }
}

TEST_F(FaultTest, OfEveryCallDuringACopy) {
    disk_.put(path, mended(damaged_), old_dates);
    for (const bool replace : {false, true})
        for (const bool lasts : {false, true})
            for (int nth = 1;; ++nth) {
                SCOPED_TRACE(nth);
                const auto disk = disk_.copy();
                if (replace)
                    disk->put(copy_path, {1, 2, 3});
                disk->put(copy_path + ".kmr-new", {9}); // left behind by another one
                disk->fail(nth, EIO, lasts);
                const auto told = copy_on(*disk, replace);
                if (!disk->has_failed()) {
                    EXPECT_EQ(told.status, mend_status::done);
                    EXPECT_GT(nth, 12);
                    break;
                }
                disk->heal();
                EXPECT_EQ(disk->content(path), disk_.content(path));
                EXPECT_TRUE(same_dates(disk->dates(path), old_dates));
                if (!disk->has(copy_path))
                    EXPECT_EQ(told.status, mend_status::failed);
                else if (replace && disk->content(copy_path) == bytes{1, 2, 3})
                    EXPECT_EQ(told.status, mend_status::failed);
                else
                    EXPECT_EQ(scan_test::judge(disk->content(copy_path)).frames.total, 5U);
                disk->set_room(UINT64_MAX);
                EXPECT_EQ(copy_on(*disk, true).status, mend_status::done); // the next one gets there
                EXPECT_FALSE(disk->has(copy_path + ".kmr-new"));
                if (HasFailure())
                    return;
            }
}

TEST_F(FaultTest, OfADiskThatIsFullAtAnyStepOfACopy) {
    disk_.put(path, mended(damaged_), old_dates);
    const auto whole = disk_.copy();
    ASSERT_EQ(copy_on(*whole).status, mend_status::done);
    for (uint64_t room = disk_.used(); room < whole->used(); room += 7) {
        SCOPED_TRACE(room);
        const auto disk = disk_.copy();
        disk->set_room(room);
        const auto told = copy_on(*disk);
        EXPECT_EQ(told.status, mend_status::failed);
        EXPECT_EQ(told.error, ENOSPC);
        EXPECT_EQ(disk->names(), disk_.names());
    }
}

} // namespace
