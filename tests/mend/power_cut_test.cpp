// The power goes before and after every call that changes the disk, with every fate of what was not synced. Afterwards
// undo gives the very recording back, and a repair gives the very repair.
#include "tests/mend/on_disk.hpp"

#include <algorithm>
#include <functional>
#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::mend_status;
using kmr::mend::undo_situation;

using operation = std::function<kmr::mend::outcome(kmr::mend::disk&)>;
using check = std::function<void(const model_disk&)>;

// Calls `then` with every disk that a power cut during `what` may leave behind. How many there were.
size_t for_every_power_cut(const model_disk& before, const operation& what, const check& then) {
    const auto whole = before.copy();
    EXPECT_EQ(what(*whole).status, mend_status::done);
    size_t found = 0;
    for (int call = 1; call <= whole->changing_calls; ++call)
        for (const bool after : {false, true}) {
            const auto disk = before.copy();
            disk->cut_power(call, after);
            EXPECT_THROW(what(*disk), power_cut);
            for (const unsynced fate : all_fates)
                for (const bool folder_kept : {false, true}) {
                    SCOPED_TRACE("call " + std::to_string(call) + (after ? " after" : " before") + " fate " +
                                 std::to_string(static_cast<int>(fate)) +
                                 (folder_kept ? " kept" : " dropped"));
                    then(*disk->after_power_cut(fate, folder_kept));
                    ++found;
                    if (testing::Test::HasFailure())
                        return found;
                }
        }
    return found;
}

// Undo until nothing is left leads to the first of these states, and every one on the way is among them.
void expect_undone_to(const model_disk& found, const std::vector<bytes>& states) {
    const auto disk = found.copy();
    for (int i = 0; i < 4; ++i) {
        const auto undone = undo_on(*disk);
        if (undone.status == mend_status::nothing_to_undo)
            break;
        ASSERT_EQ(undone.status, mend_status::done);
        EXPECT_NE(std::find(states.begin(), states.end(), disk->content(path)), states.end());
    }
    EXPECT_EQ(disk->content(path), states.front());
    EXPECT_TRUE(same_dates(disk->dates(path), old_dates));
    EXPECT_FALSE(disk->has(undo_path));
}

// Where no undo file says that it is under way, the recording is in one of its states.
void expect_whole_unless_interrupted(const model_disk& found, const std::vector<bytes>& states) {
    const auto disk = found.copy();
    const undo_situation situation = situation_on(*disk);
    EXPECT_TRUE(situation == undo_situation::none || situation == undo_situation::complete ||
                situation == undo_situation::interrupted);
    const bool whole = std::find(states.begin(), states.end(), disk->content(path)) != states.end();
    EXPECT_TRUE(whole || situation == undo_situation::interrupted);
}

void expect_repaired_to(const model_disk& found, const bytes& repaired) {
    const auto disk = found.copy();
    EXPECT_EQ(repair_on(*disk).status, mend_status::done);
    EXPECT_EQ(disk->content(path), repaired);
    EXPECT_TRUE(same_dates(disk->dates(path), old_dates));
}

struct kind_of_damage {
    const char* name;
    bytes file;
};

std::vector<kind_of_damage> damages() {
    const bytes sound = scan_test::recording_of(scan_test::sound_frames(10));
    bytes headless = sound;
    overwrite(headless, 0, 40);
    bytes longer = sound;
    longer.resize(4000);
    return {{"middle and end", damaged_recording()},
            {"few bytes in front", inserted(sound, 88, 7)},
            {"few bytes between", inserted(sound, 336, 9)},
            {"cut", cut(sound, 1000)},
            {"zeros behind", longer},
            {"no header", headless}};
}

TEST(PowerCutTest, DuringARepair) {
    for (const auto& each : damages()) {
        SCOPED_TRACE(each.name);
        const bytes repaired = mended(each.file);
        model_disk disk;
        disk.put(path, each.file, old_dates);
        const size_t found = for_every_power_cut(
            disk, [](auto& on) { return repair_on(on); },
            [&](const model_disk& left) {
                expect_whole_unless_interrupted(left, {each.file, repaired});
                expect_undone_to(left, {each.file});
                expect_repaired_to(left, repaired);
            });
        EXPECT_GT(found, 200U);
    }
}

TEST(PowerCutTest, DuringAnUndo) {
    for (const auto& each : damages()) {
        SCOPED_TRACE(each.name);
        const bytes repaired = mended(each.file);
        model_disk disk;
        disk.put(path, each.file, old_dates);
        ASSERT_EQ(repair_on(disk).status, mend_status::done);
        for_every_power_cut(disk, undo_on, [&](const model_disk& left) {
            expect_whole_unless_interrupted(left, {each.file, repaired});
            expect_undone_to(left, {each.file});
            expect_repaired_to(left, repaired);
        });
    }
}

TEST(PowerCutTest, DuringASecondChangeAndWhileItIsTakenBack) {
    const bytes damaged = damaged_recording();
    const bytes repaired = mended(damaged);
    model_disk disk;
    disk.put(path, damaged, old_dates);
    ASSERT_EQ(repair_on(disk).status, mend_status::done);
    const auto change = [](kmr::mend::disk& on) { return overwrite_on(on, 500, bytes(100, 3)); };
    bytes changed = repaired;
    overwrite(changed, 500, 100, 3);
    for_every_power_cut(disk, change, [&](const model_disk& left) {
        expect_whole_unless_interrupted(left, {repaired, changed});
        expect_undone_to(left, {damaged, repaired});
    });
    ASSERT_EQ(change(disk).status, mend_status::done);
    for_every_power_cut(disk, undo_on, [&](const model_disk& left) {
        expect_whole_unless_interrupted(left, {repaired, changed, damaged});
        expect_undone_to(left, {damaged, repaired, changed});
    });
}

TEST(PowerCutTest, DuringTheTakingBackOfAnInterruptedRepair) {
    const bytes damaged = damaged_recording();
    model_disk disk;
    disk.put(path, damaged, old_dates);
    const auto whole = disk.copy();
    ASSERT_EQ(repair_on(*whole).status, mend_status::done);
    for (int call = 1; call <= whole->changing_calls; ++call) {
        const auto first = disk.copy();
        first->cut_power(call, true);
        EXPECT_THROW(repair_on(*first), power_cut);
        const auto found = first->after_power_cut(unsynced::even_sectors, true);
        const auto again = found->copy();
        if (situation_on(*again) != undo_situation::interrupted)
            continue;
        for_every_power_cut(
            *found, [](auto& on) { return repair_on(on); },
            [&](const model_disk& left) {
                expect_undone_to(left, {damaged});
                expect_repaired_to(left, mended(damaged));
            });
    }
}

// Alone, and on top of a repair, whose undo file goes along.
TEST(PowerCutTest, WhileATagIsSetAndTakenBack) {
    for (const bool repaired_before : {false, true}) {
        SCOPED_TRACE(repaired_before);
        const bytes damaged = damaged_recording();
        const bytes first = repaired_before ? damaged : mended(damaged);
        model_disk disk;
        disk.put(path, first, old_dates);
        if (repaired_before) {
            ASSERT_EQ(repair_on(disk).status, mend_status::done);
        }
        const bytes before = disk.content(path);
        const auto whole = disk.copy();
        ASSERT_EQ(tag_on(*whole).status, mend_status::done);
        const bytes tagged = whole->content(path);
        ASSERT_NE(tagged, before);
        const size_t found = for_every_power_cut(
            disk, [](auto& on) { return tag_on(on); },
            [&](const model_disk& left) {
                expect_whole_unless_interrupted(left, {before, tagged});
                expect_undone_to(left, {first, before, tagged});
            });
        EXPECT_GT(found, 200U);
        for_every_power_cut(*whole, undo_on, [&](const model_disk& left) {
            expect_whole_unless_interrupted(left, {first, before, tagged});
            expect_undone_to(left, {first, before, tagged});
        });
    }
}

TEST(PowerCutTest, DuringACopy) {
    const bytes sound = mended(damaged_recording());
    for (const bool replace : {false, true}) {
        SCOPED_TRACE(replace);
        model_disk disk;
        disk.put(path, sound, old_dates);
        if (replace)
            disk.put(copy_path, {1, 2, 3});
        disk.put(copy_path + ".kmr-new", {9}); // left behind by another one
        const auto whole = disk.copy();
        ASSERT_EQ(copy_on(*whole, replace).status, mend_status::done);
        const bytes copied = whole->content(copy_path);
        const size_t found = for_every_power_cut(
            disk, [&](auto& on) { return copy_on(on, replace); },
            [&](const model_disk& left) {
                EXPECT_EQ(left.content(path), sound);
                EXPECT_TRUE(same_dates(left.dates(path), old_dates));
                EXPECT_TRUE(replace || !left.has(copy_path) || left.content(copy_path) == copied);
                EXPECT_TRUE(!replace || left.content(copy_path) == copied ||
                            left.content(copy_path) == (bytes{1, 2, 3}));
                const auto again = left.copy();
                EXPECT_EQ(copy_on(*again, true).status, mend_status::done);
                EXPECT_EQ(again->content(copy_path), copied);
                EXPECT_FALSE(again->has(copy_path + ".kmr-new"));
            });
        EXPECT_GT(found, 50U);
    }
}

} // namespace
