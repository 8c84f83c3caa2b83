#include "mend/undo_file.hpp"
#include "tests/mend/on_disk.hpp"

#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::mend_status;
using kmr::mend::undo_situation;
using ::testing::ElementsAre;

class UndoTest : public ::testing::Test {
protected:
    UndoTest() { disk_.put(path, damaged_, old_dates); }

    void expect_refused(const bytes& undo_file, mend_status why = mend_status::undo_torn) {
        const bytes before = disk_.content(path);
        disk_.put(undo_path, undo_file);
        const auto dates = disk_.dates(path);
        const int calls = disk_.changing_calls;
        EXPECT_EQ(undo_on(disk_).status, why);
        EXPECT_EQ(disk_.changing_calls, calls);
        EXPECT_EQ(disk_.content(path), before);
        EXPECT_TRUE(same_dates(disk_.dates(path), dates));
    }

    bytes damaged_ = damaged_recording();
    bytes mended_ = mended(damaged_);
    model_disk disk_;
};

TEST_F(UndoTest, ARepairLeavesItsWayBackAndTheDates) {
    EXPECT_EQ(repair_on(disk_).status, mend_status::done);
    EXPECT_EQ(disk_.content(path), mended_);
    EXPECT_TRUE(same_dates(disk_.dates(path), old_dates));
    EXPECT_THAT(disk_.names(), ElementsAre(path, undo_path));
    EXPECT_EQ(situation_on(disk_), undo_situation::complete);
}

TEST_F(UndoTest, GivesTheFileBackBitForBit) {
    ASSERT_EQ(repair_on(disk_).status, mend_status::done);
    EXPECT_EQ(undo_on(disk_).status, mend_status::done);
    EXPECT_EQ(disk_.content(path), damaged_);
    EXPECT_TRUE(same_dates(disk_.dates(path), old_dates));
    EXPECT_THAT(disk_.names(), ElementsAre(path));
    EXPECT_EQ(undo_on(disk_).status, mend_status::nothing_to_undo);
}

TEST_F(UndoTest, GivesEveryKindOfDamageBack) {
    const bytes sound = scan_test::recording_of(scan_test::sound_frames(10));
    std::vector<bytes> files = {inserted(sound, 88, 7), inserted(sound, 336, 9),
                                inserted(sound, 240, 70000, 0)};
    for (size_t size = 89; size < sound.size(); size += 13)
        files.push_back(cut(sound, size));
    bytes headless = sound;
    overwrite(headless, 0, 88);
    files.push_back(headless);
    for (const bytes& file : files) {
        SCOPED_TRACE(file.size());
        model_disk disk;
        disk.put(path, file, old_dates);
        ASSERT_EQ(repair_on(disk).status, mend_status::done);
        EXPECT_EQ(disk.content(path), mended(file));
        ASSERT_EQ(undo_on(disk).status, mend_status::done);
        EXPECT_EQ(disk.content(path), file);
    }
}

TEST_F(UndoTest, NothingToDoWritesNothing) {
    ASSERT_EQ(repair_on(disk_).status, mend_status::done);
    const int calls = disk_.changing_calls;
    EXPECT_EQ(repair_on(disk_).status, mend_status::done);
    EXPECT_EQ(disk_.changing_calls, calls);
}

TEST_F(UndoTest, LaterChangesAreTakenBackOneByOne) {
    ASSERT_EQ(repair_on(disk_).status, mend_status::done);
    ASSERT_EQ(overwrite_on(disk_, 30, {1, 2, 3}).status, mend_status::done);
    const bytes second = disk_.content(path);
    ASSERT_EQ(overwrite_on(disk_, 31, {4, 5, 6, 7}).status, mend_status::done);
    EXPECT_EQ(undo_on(disk_).status, mend_status::done);
    EXPECT_EQ(disk_.content(path), second);
    EXPECT_EQ(undo_on(disk_).status, mend_status::done);
    EXPECT_EQ(disk_.content(path), mended_);
    EXPECT_EQ(undo_on(disk_).status, mend_status::done);
    EXPECT_EQ(disk_.content(path), damaged_);
    EXPECT_THAT(disk_.names(), ElementsAre(path));
}

TEST_F(UndoTest, WithoutAWayBackThereIsNone) {
    EXPECT_EQ(repair_on(disk_, false).status, mend_status::done);
    EXPECT_EQ(disk_.content(path), mended_);
    EXPECT_THAT(disk_.names(), ElementsAre(path));
    EXPECT_EQ(undo_on(disk_).status, mend_status::nothing_to_undo);
}

TEST_F(UndoTest, RefusesWhereTheRecordingHasChangedSince) {
    ASSERT_EQ(repair_on(disk_).status, mend_status::done);
    const bytes undo_file = disk_.content(undo_path);
    bytes other = mended_;
    other.push_back(0);
    disk_.put(path, other, old_dates);
    expect_refused(undo_file, mend_status::changed_since); // by its size
    disk_.put(path, mended_, {old_dates.accessed, {1'400'000'111, 23}});
    expect_refused(undo_file, mend_status::changed_since); // by its time
    for (const size_t place : {80U, 432U, 463U, 776U, 1160U, 1371U}) {
        other = mended_;
        other[place] ^= 1;
        disk_.put(path, other, old_dates);
        expect_refused(undo_file, mend_status::changed_since); // by what stands there
    }
}

TEST_F(UndoTest, EveryWrongByteOfAnUndoFileIsNoticed) {
    ASSERT_EQ(repair_on(disk_).status, mend_status::done);
    const bytes undo_file = disk_.content(undo_path);
    for (size_t i = 0; i < undo_file.size(); ++i)
        for (const int flip : {0x01, 0x80, 0xFF}) {
            SCOPED_TRACE(i);
            bytes wrong = undo_file;
            wrong[i] = static_cast<uint8_t>(wrong[i] ^ flip);
            expect_refused(wrong);
        }
}

TEST_F(UndoTest, EveryOtherLengthOfAnUndoFileIsNoticed) {
    ASSERT_EQ(repair_on(disk_).status, mend_status::done);
    const bytes undo_file = disk_.content(undo_path);
    for (size_t size = 0; size < undo_file.size(); ++size)
        expect_refused(cut(undo_file, size));
    bytes longer = undo_file;
    longer.push_back(0);
    expect_refused(longer);
}

// The checksum as anybody could compute it who forges an undo file.
void seal(bytes& undo_file) {
    kmr::mend::checksum sum;
    bytes head = cut(undo_file, 104);
    std::fill_n(head.begin() + 16, 8, uint8_t{0});
    sum.add(head);
    sum.add(std::span(undo_file).subspan(112));
    for (size_t i = 0; i < 8; ++i)
        undo_file[104 + i] = static_cast<uint8_t>(sum.value() >> (8 * i));
}

void put_u64(bytes& to, size_t offset, uint64_t value) {
    recording::put_u32(to, offset, static_cast<uint32_t>(value));
    recording::put_u32(to, offset + 4, static_cast<uint32_t>(value >> 32));
}

TEST_F(UndoTest, AForgedUndoFileReachesNothingOutsideOfTheRecording) {
    ASSERT_EQ(repair_on(disk_).status, mend_status::done);
    const bytes undo_file = disk_.content(undo_path);
    bytes same = undo_file;
    seal(same);
    ASSERT_EQ(same, undo_file) << "the test seals as the library does";
    struct forgery {
        size_t offset;
        uint64_t value;
    };
    const uint64_t most = UINT64_MAX;
    for (const forgery& each :
         std::initializer_list<forgery>{{112, damaged_.size()},     // the first place: behind the end
                                        {112, most},                //
                                        {120, damaged_.size()},     // its length
                                        {120, 0},                   //
                                        {120, most},                //
                                        {120, uint64_t{1} << 63},   // no zeros
                                        {120, most >> 1},           //
                                        {32, 100},                  // the old size: places lie outside
                                        {32, most},                 //
                                        {40, most},                 // the new size
                                        {72, 0},                    // where the older one begins
                                        {72, most},                 //
                                        {72, undo_file.size() + 1}, //
                                        {80, 1},                    // its length
                                        {80, most},                 //
                                        {64, 0xFFFFFFFF},           // no nanoseconds
                                        {24, 1}}) {
        SCOPED_TRACE(std::to_string(each.offset) + " " + std::to_string(each.value));
        bytes forged = undo_file;
        put_u64(forged, each.offset, each.value);
        seal(forged);
        expect_refused(forged);
    }
}

TEST_F(UndoTest, LinksAndFoldersAreNotFollowed) {
    disk_.put_link(undo_path);
    EXPECT_EQ(repair_on(disk_).status, mend_status::undo_is_no_file);
    EXPECT_EQ(undo_on(disk_).status, mend_status::undo_is_no_file);
    disk_.put_link(path);
    EXPECT_EQ(repair_on(disk_).status, mend_status::is_a_link);
    EXPECT_EQ(disk_.changing_calls, 0);
}

TEST_F(UndoTest, TwoRepairsKeepApart) {
    const auto first = kmr::mend::recording::open(disk_, path, true);
    ASSERT_TRUE(first.result.is_done());
    EXPECT_EQ(repair_on(disk_).status, mend_status::locked);
    EXPECT_TRUE(kmr::mend::recording::open(disk_, path, false).result.is_done()) << "reading is no change";
}

TEST_F(UndoTest, ARecordingThatIsWrittenMeanwhileIsLeftAlone) {
    auto opening = kmr::mend::recording::open(disk_, path, true);
    const auto plan = kmr::mend::plan_repair(opening.opened->source());
    auto other = disk_.open(path, kmr::mend::open_mode::change);
    const bytes more = {9};
    other.file->write_at(damaged_.size(), more);
    EXPECT_EQ(opening.opened->apply(plan.planned).status, mend_status::changed_meanwhile);
    EXPECT_FALSE(disk_.has(undo_path));
    EXPECT_EQ(disk_.content(path).size(), damaged_.size() + 1);
}

TEST_F(UndoTest, ARecordingThatGrowsWhileItIsReadIsNotPlannedFor) {
    auto opening = kmr::mend::recording::open(disk_, path, false);
    const bytes more = {9};
    disk_.open(path, kmr::mend::open_mode::change).file->write_at(damaged_.size(), more);
    EXPECT_EQ(kmr::mend::plan_repair(opening.opened->source()).status, kmr::mend::plan_status::changing);
}

TEST_F(UndoTest, ADraftThatWasLeftBehindIsReplaced) {
    disk_.put(path + ".kmr-undo-new", bytes(9000, 7));
    ASSERT_EQ(repair_on(disk_).status, mend_status::done);
    EXPECT_THAT(disk_.names(), ElementsAre(path, undo_path));
    EXPECT_EQ(undo_on(disk_).status, mend_status::done);
    EXPECT_EQ(disk_.content(path), damaged_);
}

TEST_F(UndoTest, RunsOfZerosTakeNoRoom) {
    bytes file = scan_test::recording_of(scan_test::sound_frames(10));
    file.resize(file.size() + 5'000'000); // behind the index, and cut off
    disk_.put(path, file, old_dates);
    ASSERT_EQ(repair_on(disk_).status, mend_status::done);
    EXPECT_LT(disk_.content(undo_path).size(), 2000U);
    const auto plan = plan_of(file);
    kmr::mend::changes planned = plan.planned;
    kmr::scan::memory_source source(file);
    EXPECT_EQ(kmr::mend::undo_size_of(source, planned).bytes, disk_.content(undo_path).size());
    ASSERT_EQ(undo_on(disk_).status, mend_status::done);
    EXPECT_EQ(disk_.content(path), file);
}

TEST_F(UndoTest, CoveringInALongRecordingWritesLittle) {
    auto all = scan_test::sound_frames(60);
    for (auto& each : all)
        each.video.resize(200'000, 0xAA);
    bytes file = scan_test::recording_of(all); // 12 MB
    overwrite(file, 88 + 32 + 200'000, 5000);
    disk_.put(path, file, old_dates);
    const uint64_t before = disk_.bytes_written;
    ASSERT_EQ(repair_on(disk_).status, mend_status::done);
    EXPECT_LT(disk_.bytes_written - before, 1000U);
}

} // namespace
