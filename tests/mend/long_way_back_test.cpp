// Changes whose way back takes many blocks, one on top of another, with every call failing and every read coming short.
#include "tests/mend/meddled_disk.hpp"
#include "tests/mend/on_disk.hpp"

#include <cerrno>
#include <functional>
#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::mend_status;
using kmr::mend::outcome;
using kmr::mend::undo_situation;

constexpr size_t size = 140'000;

// No run of zeros but a long one in the middle, and a short one at the end of the first block.
bytes noise() {
    bytes made(size);
    for (size_t i = 0; i < made.size(); ++i)
        made[i] = static_cast<uint8_t>(i % 255 + 1);
    std::fill_n(made.begin() + 66'000, 70'000, uint8_t{0});
    std::fill_n(made.begin() + 65'500, 36, uint8_t{0});
    return made;
}

class LongWayBackTest : public ::testing::Test {
protected:
    LongWayBackTest() { disk_.put(path, original_, old_dates); }

    static outcome change_first(kmr::mend::disk& on) { return overwrite_on(on, 0, bytes(135'000, 0x11)); }
    static outcome change_second(kmr::mend::disk& on) { return overwrite_on(on, 10, bytes(70'000, 0x22)); }
    static outcome shorten(kmr::mend::disk& on) {
        auto opening = kmr::mend::recording::open(on, path, true);
        if (!opening.result.is_done())
            return opening.result;
        kmr::mend::changes change(opening.opened->size());
        change.set_new_size(20);
        EXPECT_FALSE(change.empty());
        return opening.opened->apply(change);
    }

    // However it ended: a file that is told to be changed is, one that failed is as it was, and the way back leads to
    // what stood there first.
    void expect_a_way_back(model_disk& disk, const outcome& told, const bytes& before, const bytes& after) {
        if (told.status == mend_status::done) {
            EXPECT_EQ(disk.content(path), after);
        } else if (told.status == mend_status::failed) {
            EXPECT_EQ(disk.content(path), before);
        } else {
            EXPECT_TRUE(situation_on(disk) == undo_situation::interrupted || disk.content(path) == before ||
                        disk.content(path) == after);
        }
        while (undo_on(disk).status == mend_status::done) {
        }
        EXPECT_EQ(disk.content(path), original_);
        EXPECT_FALSE(disk.has(undo_path));
        EXPECT_TRUE(same_dates(disk.dates(path), old_dates));
    }

    using work = std::function<outcome(kmr::mend::disk&)>;

    void fail_every_call(const work& what, const bytes& before, const bytes& after) {
        for (const bool lasts : {false, true})
            for (int nth = 1;; ++nth) {
                SCOPED_TRACE(nth);
                const auto disk = disk_.copy();
                disk->fail(nth, EIO, lasts);
                const outcome told = what(*disk);
                if (!disk->has_failed())
                    break;
                disk->heal();
                expect_a_way_back(*disk, told, before, after);
                if (HasFailure())
                    return;
            }
    }

    void shorten_every_read(const work& what, const bytes& before, const bytes& after) {
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE(nth);
            const auto disk = disk_.copy();
            meddled_disk cut(*disk);
            cut.shorten_read(nth);
            const outcome told = what(cut);
            if (cut.reads < nth)
                break;
            if (told.status == mend_status::undo_torn) {
                EXPECT_EQ(disk->content(path), before);
                continue;
            }
            expect_a_way_back(*disk, told, before, after);
            if (HasFailure())
                return;
        }
    }

    bytes original_ = noise();
    model_disk disk_;
};

TEST_F(LongWayBackTest, OfOneChange) {
    const auto whole = disk_.copy();
    ASSERT_EQ(change_first(*whole).status, mend_status::done);
    fail_every_call(change_first, original_, whole->content(path));
    shorten_every_read(change_first, original_, whole->content(path));
}

TEST_F(LongWayBackTest, OfAChangeOnTopOfAnother) {
    ASSERT_EQ(change_first(disk_).status, mend_status::done);
    const bytes before = disk_.content(path);
    const auto whole = disk_.copy();
    ASSERT_EQ(change_second(*whole).status, mend_status::done);
    fail_every_call(change_second, before, whole->content(path));
    shorten_every_read(change_second, before, whole->content(path));
}

TEST_F(LongWayBackTest, WhileTheLaterOfTwoIsTakenBack) {
    ASSERT_EQ(change_first(disk_).status, mend_status::done);
    const bytes after = disk_.content(path);
    ASSERT_EQ(change_second(disk_).status, mend_status::done);
    const bytes before = disk_.content(path);
    fail_every_call(undo_on, before, after);
    shorten_every_read(undo_on, before, after);
}

TEST_F(LongWayBackTest, OfWhatIsCutOff) {
    const auto whole = disk_.copy();
    ASSERT_EQ(shorten(*whole).status, mend_status::done);
    EXPECT_EQ(whole->content(path), cut(original_, 20));
    fail_every_call(shorten, original_, whole->content(path));
    disk_.put(path, original_, old_dates);
    ASSERT_EQ(shorten(disk_).status, mend_status::done);
    fail_every_call(undo_on, disk_.content(path), original_);
}

// A frame that moves over bytes in front of it is read before any of it is written.
TEST_F(LongWayBackTest, OfAFrameThatMoves) {
    original_ = inserted(scan_test::recording_of(scan_test::sound_frames(10)), 88, 7);
    disk_.put(path, original_, old_dates);
    const auto repair = [](kmr::mend::disk& on) { return repair_on(on); };
    fail_every_call(repair, original_, mended(original_));
}

// Without a way back only the beginning can be as it was.
TEST_F(LongWayBackTest, IsNotThereWhereItIsNotWanted) {
    for (int nth = 1;; ++nth) {
        model_disk disk;
        disk.put(path, damaged_recording(), old_dates);
        disk.fail(nth, EIO, false);
        const outcome told = repair_on(disk, false);
        EXPECT_FALSE(disk.has(undo_path));
        if (!disk.has_failed()) {
            EXPECT_EQ(disk.content(path), mended(damaged_recording()));
            break;
        }
        if (told.status == mend_status::done) {
            EXPECT_EQ(disk.content(path), mended(damaged_recording()));
        }
        if (told.status == mend_status::failed) {
            EXPECT_EQ(disk.content(path), damaged_recording());
        }
    }
}

} // namespace
