// What stands around and inside of a copied part and is no whole ordinary frame. Of twenty frames the I-frames are 1, 6,
// 11 and 16, at 88, 624, 1160 and 1696.
#include "tests/mend/copied.hpp"

namespace {

using namespace mend_test;
using namespace kmr::mend;
using ::testing::ElementsAre;

copied ready_copy_of(const bytes& file, const span& of) {
    copied made = copy_of(file, of);
    EXPECT_EQ(made.plan.status, copy_status::ready);
    return made;
}

TEST(CopyDamageTest, AFrameWhoseLengthsDisagreeIsLeftOutAndToldWithinThePartAlone) {
    bytes file = scan_test::recording_of(scan_test::sound_frames(20));
    for (const size_t at : {240U, 776U, 1848U}) // P2, P7 and P17
        recording::put_u32(file, at + 4, 77);
    const auto made = ready_copy_of(file, {number(6), number(11)});
    EXPECT_THAT(numbers_in(made.file), ElementsAre(6, 8, 9, 10));
    EXPECT_EQ(made.plan.damaged_frames, 1U);
    EXPECT_EQ(made.plan.torn_bytes, 96U);
}

TEST(CopyDamageTest, TornBytesAreToldWithinThePartAlone) {
    bytes file = scan_test::recording_of(scan_test::sound_frames(20));
    for (const size_t at : {88U, 776U, 1848U}) // I1, P7 and P17
        overwrite(file, at, 32);
    const auto made = ready_copy_of(file, {{}, number(11)});
    EXPECT_THAT(numbers_in(made.file), ElementsAre(6, 8, 9, 10));
    EXPECT_EQ(made.plan.torn_bytes, 96U);
    EXPECT_EQ(made.plan.damaged_frames, 0U);
}

TEST(CopyDamageTest, NothingInFrontOfTheFirstIFrameIsTaken) {
    auto all = scan_test::sound_frames(20);
    all[0].kind = 1;
    all[2].tag = 0x7788;
    bytes file = scan_test::recording_of(all);
    recording::put_u32(file, 432 + 4, 77); // P4
    const auto made = ready_copy_of(file, {{}, number(9)});
    EXPECT_THAT(numbers_in(made.file), ElementsAre(6, 7, 8));
    EXPECT_EQ(made.plan.inserted, 0U);
    EXPECT_EQ(made.plan.damaged_frames, 0U);
}

// A picture that needs none before it, in a frame that does not say so: it has a record where the recorder gave it one.
TEST(CopyDamageTest, ARecordOfAPFrameComesAlongWhereThereIsOne) {
    auto all = scan_test::sound_frames(20);
    all[5].kind = 1;
    auto index = scan_test::records_for(all);
    const bytes without = ready_copy_of(scan_test::recording_of(all, index), {{}, number(9)}).file;
    EXPECT_THAT(index_rows(without), ElementsAre(index_row{scan_test::start_time, 88, ""}));
    index.insert(index.begin() + 1, {.time = scan_test::start_time, .position = 624, .tag = "six"});
    const bytes with = ready_copy_of(scan_test::recording_of(all, index), {{}, number(9)}).file;
    EXPECT_THAT(index_rows(with), ElementsAre(index_row{scan_test::start_time, 88, ""},
                                              index_row{scan_test::start_time, 624, "six"}));
}

// A date that no calendar has moves nowhere.
TEST(CopyDamageTest, ADateThatIsNoneStaysAsItIs) {
    bytes file = scan_test::recording_of(scan_test::sound_frames(20));
    recording::put_u16(file, 12, 13); // the month
    const auto made = ready_copy_of(file, {number(6), {}});
    EXPECT_EQ(bytes(made.file.begin() + 10, made.file.begin() + 22),
              bytes(file.begin() + 10, file.begin() + 22));
}

} // namespace
