// Of twenty frames the I-frames are 1, 6, 11 and 16, at 88, 624, 1160 and 1696; every frame lasts a second here.
#include "tests/mend/copied.hpp"

namespace {

using namespace mend_test;
using namespace kmr::mend;
using ::testing::ElementsAre;

const uint32_t start = scan_test::start_time;

frames twenty() {
    auto all = scan_test::sound_frames(20);
    for (auto& each : all)
        each.time_stamp = 1000 * each.number;
    return all;
}

bytes recording_with_tags() {
    const auto all = twenty();
    auto index = scan_test::records_for(all);
    index[1].tag = "six";
    index[3].tag = "sixteen";
    return scan_test::recording_of(all, index);
}

span_bound ms(int64_t value) {
    return {span_bound::unit::stream_ms, value};
}

TEST(CopyTest, BeginsWithTheIFrameBeforeAndEndsInFrontOfTheBound) {
    const auto made = copy_of(recording_with_tags(), {ms(6500), ms(12000)}); // frames 7.5 to 12
    EXPECT_EQ(made.plan.status, copy_status::ready);
    EXPECT_THAT(numbers_in(made.file), ElementsAre(6, 7, 8, 9, 10, 11, 12));
    EXPECT_EQ(made.plan.first_frame, 6U);
    EXPECT_EQ(made.plan.first_ms, 5000);
    EXPECT_EQ(made.plan.duration_ms, 6000);
    EXPECT_THAT(index_rows(made.file),
                ElementsAre(index_row{start + 5, 88, "six"}, index_row{start + 10, 624, ""}));
    EXPECT_EQ(scan_test::judge(made.file).judged, kmr::scan::verdict::sound);
    EXPECT_EQ(made.plan.tags, 1U);
}

TEST(CopyTest, TheHeadersDateMovesByWhatIsLeftOut) {
    const auto made = copy_of(recording_with_tags(), {ms(10'000), {}});
    bytes expected = recording::file_header(10); // 2015-01-02 03:04:05 and ten seconds
    recording::put_u16(expected, 20, 15);
    recording::put_u32(expected, 80, static_cast<uint32_t>(made.file.size()));
    EXPECT_EQ(cut(made.file, 88), expected);
}

TEST(CopyTest, ByFrameNumbers) {
    EXPECT_THAT(numbers_in(copy_of(recording_with_tags(), {number(11), number(13)}).file),
                ElementsAre(11, 12));
    EXPECT_THAT(numbers_in(copy_of(recording_with_tags(), {number(10), number(12)}).file),
                ElementsAre(6, 7, 8, 9, 10, 11));
}

TEST(CopyTest, AllOfItIsTheSameRecording) {
    EXPECT_EQ(copy_of(recording_with_tags(), {}).file, recording_with_tags());
    EXPECT_EQ(copy_of(recording_with_tags(), {ms(-5), ms(99'000)}).file, recording_with_tags());
}

TEST(CopyTest, NothingInTheSpan) {
    const span empty[] = {{{}, ms(0)},
                          {ms(20'000), {}}, // the last frame is at 19 s
                          {ms(99'000), {}},
                          {ms(-10), ms(0)},
                          {ms(6000), ms(6000)},
                          {ms(6500), ms(6900)}, // between two frames
                          {ms(12'000), ms(6500)},
                          {number(21), {}},
                          {{}, number(1)},
                          {number(13), number(8)},
                          {number(8), ms(7000)}};
    for (const span& each : empty) {
        const auto made = copy_of(recording_with_tags(), each);
        EXPECT_EQ(made.plan.status, copy_status::empty);
        EXPECT_TRUE(made.file.empty());
    }
    EXPECT_THAT(numbers_in(copy_of(recording_with_tags(), {ms(19'000), {}}).file),
                ElementsAre(16, 17, 18, 19, 20));
    EXPECT_THAT(numbers_in(copy_of(recording_with_tags(), {ms(6500), ms(7001)}).file), ElementsAre(6, 7, 8));
}

// Twenty frames from 4294967286 on: the eleventh has the number 0.
TEST(CopyTest, NumbersWrap) {
    auto all = twenty();
    for (auto& each : all)
        each.number += UINT32_MAX - 10;
    const bytes file = scan_test::recording_of(all);
    EXPECT_EQ(copy_of(file, {number(0), number(3)}).plan.first_frame, 0U);
    EXPECT_EQ(copy_of(file, {number(0), number(3)}).plan.frames, 3U);
    EXPECT_EQ(copy_of(file, {number(UINT32_MAX - 9), number(2)}).plan.frames, 12U);
    EXPECT_EQ(copy_of(file, {{}, number(UINT32_MAX - 20)}).plan.status, copy_status::empty);
    EXPECT_EQ(copy_of(recording_with_tags(), {number(0), number(UINT32_MAX)}).plan.frames, 20U);
}

TEST(CopyTest, FramesWithoutAStartAreLeftOutAndTold) {
    auto all = twenty();
    all.erase(all.begin()); // the I-frame
    const auto made = copy_of(scan_test::recording_of(all), {});
    EXPECT_THAT(numbers_in(made.file), ElementsAre(6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20));
    EXPECT_EQ(made.plan.frames_without_start, 4U);
    EXPECT_EQ(copy_of(scan_test::recording_of(all), {number(4), {}}).plan.frames_without_start, 2U);
    EXPECT_EQ(copy_of(scan_test::recording_of(all), {{}, number(6)}).plan.status, copy_status::empty);
}

// I-frames 600 ms apart, and the old index has no record of the second one. The first one's tag is none of the copy's.
TEST(CopyTest, ATagFromOutsideOfTheSpanStaysThere) {
    auto all = scan_test::sound_frames(20);
    for (auto& each : all)
        each.time_stamp = 120 * each.number;
    auto index = scan_test::records_for(all);
    for (auto& each : index)
        each.time = start;
    index[0].tag = "one";
    index[3].tag = "sixteen";
    index.erase(index.begin() + 1);
    const auto made = copy_of(scan_test::recording_of(all, index), {number(6), number(16)});
    EXPECT_EQ(made.plan.tags, 0U);
    EXPECT_THAT(numbers_in(made.file), ElementsAre(6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
    EXPECT_EQ(index_rows(made.file)[0].tag, "");
}

TEST(CopyTest, OneWrongNumberOrStampEndsNoCopy) {
    const std::vector<uint32_t> all_of_it = {6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    auto numbers = twenty();
    numbers[7].number = 5000;
    const auto by_number = copy_of(scan_test::recording_of(numbers), {number(6), number(16)});
    EXPECT_EQ(by_number.plan.frames, 10U);
    EXPECT_THAT(numbers_in(by_number.file), ElementsAre(6, 7, 9, 10, 11, 12, 13, 14, 15, 5000));
    for (const size_t wrong : {7U, 10U, 13U}) { // a P-frame, an I-frame, the last but one of the span
        auto stamps = twenty();
        stamps[wrong].time_stamp += 500'000;
        const auto by_time = copy_of(scan_test::recording_of(stamps), {ms(5000), ms(15'000)});
        EXPECT_EQ(numbers_in(by_time.file), all_of_it) << wrong;
    }
}

TEST(CopyTest, EndsInFrontOfTheFirstOfTwoThatHaveComeToItsEnd) {
    auto all = twenty();
    all[15].tag = 0x7788; // behind the end, as the damage is
    bytes file = scan_test::recording_of(all);
    overwrite(file, 1944, 20); // P18
    const auto made = copy_of(file, {number(6), number(15)});
    EXPECT_EQ(made.plan.frames, 9U);
    EXPECT_EQ(made.plan.inserted, 0U);
    EXPECT_EQ(made.plan.torn_bytes, 0U);
    EXPECT_EQ(made.plan.records, 2U);
    EXPECT_EQ(made.plan.duration_ms, 8000);
    EXPECT_THAT(numbers_in(made.file), ElementsAre(6, 7, 8, 9, 10, 11, 12, 13, 14));
    EXPECT_THAT(numbers_in(copy_of(recording_with_tags(), {number(16), number(20)}).file),
                ElementsAre(16, 17, 18, 19)); // there is but one behind it
    EXPECT_EQ(copy_of(recording_with_tags(), {number(6), number(16)}).plan.records, 2U);
}

TEST(CopyTest, TellsWhatCameOut) {
    const auto made = copy_of(recording_with_tags(), {number(6), number(11)});
    EXPECT_EQ(made.plan.after.judged, kmr::scan::verdict::sound);
    EXPECT_EQ(made.plan.after.size, made.file.size());
}

TEST(CopyTest, DamageIsLeftOutAndTold) {
    bytes file = recording_with_tags();
    overwrite(file, 776, 96);               // P7
    recording::put_u32(file, 872 + 4, 97);  // P8: the size
    recording::put_u32(file, 872 + 20, 60); // and the video's
    const auto made = copy_of(file, {ms(5000), ms(10'000)});
    EXPECT_EQ(made.plan.status, copy_status::ready);
    EXPECT_THAT(numbers_in(made.file), ElementsAre(6, 9, 10));
    EXPECT_EQ(made.plan.torn_bytes, 192U);
    for (const auto& each : scan_test::judge(made.file).findings)
        EXPECT_NE(kmr::scan::kind_of(each.code).level, kmr::scan::severity::error);
}

TEST(CopyTest, InsertedFramesComeAlong) {
    auto all = twenty();
    all[7].tag = 0x7788;
    const auto made = copy_of(scan_test::recording_of(all), {number(6), number(11)});
    EXPECT_EQ(made.plan.frames, 4U);
    EXPECT_EQ(made.plan.inserted, 1U);
}

TEST(CopyTest, AnUnfinishedRecordingIsCopiedWithAnIndex) {
    const auto made = copy_of(scan_test::without_index(twenty()), {number(6), {}});
    EXPECT_TRUE(made.plan.times_guessed);
    EXPECT_EQ(index_rows(made.file)[0], (index_row{start + 5, 88, ""}));
    EXPECT_EQ(scan_test::judge(made.file).judged, kmr::scan::verdict::sound);
}

TEST(CopyTest, WithoutAValidHeaderItIsRefused) {
    bytes file = recording_with_tags();
    overwrite(file, 0, 8, 0xFF);
    EXPECT_EQ(copy_of(file, {}).plan.status, copy_status::no_header);
}

TEST(CopyTest, ReadsTheSameInAnyPieces) {
    const bytes file = recording_with_tags();
    kmr::scan::memory_source source(file);
    const auto plan = plan_copy(source, {ms(5000), {}});
    bytes whole(plan.content->size());
    plan.content->read_at(0, whole);
    for (size_t from = 0; from < whole.size(); from += 7)
        for (const size_t length : {size_t{1}, size_t{50}, size_t{1000}}) {
            bytes part(length);
            const auto read = plan.content->read_at(from, part);
            ASSERT_EQ(read.count, std::min(length, whole.size() - from));
            part.resize(read.count);
            ASSERT_EQ(part, bytes(whole.begin() + static_cast<long>(from),
                                  whole.begin() + static_cast<long>(from + read.count)));
        }
}

} // namespace
