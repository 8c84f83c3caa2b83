// What repair takes over from records that miss their frames, because bytes came or went in front of those. Of two
// hundred frames the I-frame k is number 5 k + 1 and stands at 88 + 536 k; its time is k / 5 seconds behind the first.
#include "tests/mend/mended.hpp"

#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using ::testing::ElementsAre;

constexpr size_t place(size_t k) {
    return 88 + 536 * k;
}

// Tags stand on the I-frames 3, 15 and 35.
bytes tagged() {
    const frames all = scan_test::sound_frames(200);
    records index = scan_test::records_for(all);
    for (const size_t k : {3U, 15U, 35U})
        index[k].tag = "of " + std::to_string(k);
    return scan_test::recording_of(all, index);
}

// Those with tags alone.
std::vector<index_row> tags_in(const bytes& file) {
    std::vector<index_row> tags;
    for (const index_row& each : index_rows(file))
        if (!each.tag.empty())
            tags.push_back(each);
    return tags;
}

index_row tag_of(size_t k, size_t at) {
    return {static_cast<uint32_t>(scan_test::start_time + k / 5), static_cast<uint32_t>(at),
            "of " + std::to_string(k)};
}

TEST(RecordsApartTest, BehindBytesThatCameInEveryTagStays) {
    const bytes file = inserted(tagged(), place(10), 50);
    EXPECT_THAT(tags_in(mended(file)),
                ElementsAre(tag_of(3, place(3)), tag_of(15, place(15) + 50), tag_of(35, place(35) + 50)));
    EXPECT_EQ(plan_of(file).tags_lost, 0U);
}

TEST(RecordsApartTest, BehindACutTheTagsOfWhatIsThereStay) {
    // Ten groups are gone. The records behind name I-frames that are ten groups younger than theirs.
    const bytes file = removed(tagged(), place(10), place(20) - place(10));
    const auto plan = plan_of(file);
    EXPECT_THAT(tags_in(mended(file)), ElementsAre(tag_of(3, place(3)), tag_of(35, place(25))));
    EXPECT_EQ(plan.tags_lost, 1U);
    ASSERT_EQ(plan.lost_tags.size(), 1U);
    EXPECT_EQ(plan.lost_tags[0].text, "of 15");
}

TEST(RecordsApartTest, BehindACutWithinGroupsTheTagsOfWhatIsThereStay) {
    // From the third frame of the group 10 on, at 88 + 536 x 10 + 248, to the I-frame 20.
    const bytes file = removed(tagged(), place(10) + 248, place(20) - place(10) - 248);
    EXPECT_THAT(tags_in(mended(file)), ElementsAre(tag_of(3, place(3)), tag_of(35, place(25) + 248)));
    EXPECT_EQ(plan_of(file).tags_lost, 1U);
}

TEST(RecordsApartTest, TheirTimesAreTheirOwn) {
    // Every record that is left keeps its second, which tells no more than stamps would; a pause of an hour does.
    frames all = scan_test::sound_frames(200);
    for (size_t i = 150; i < all.size(); ++i)
        all[i].time_stamp += 3'600'000;
    const bytes file = inserted(scan_test::recording_of(all, scan_test::records_for(all)), place(10), 50);
    const auto rows = index_rows(mended(file));
    ASSERT_EQ(rows.size(), 40U);
    for (size_t k = 0; k < 40; ++k) {
        EXPECT_EQ(rows[k].time, scan_test::start_time + k / 5 + (k >= 30 ? 3600 : 0)) << k;
        EXPECT_EQ(rows[k].position, place(k) + (k >= 10 ? 50 : 0)) << k;
    }
}

// The index is known only when all frames have gone by.
TEST(RecordsApartTest, WhereBytesStandBehindTheIndexToo) {
    bytes file = inserted(tagged(), place(10), 50);
    file.resize(file.size() + 100, 0x5A);
    EXPECT_THAT(tags_in(mended(file)),
                ElementsAre(tag_of(3, place(3)), tag_of(15, place(15) + 50), tag_of(35, place(35) + 50)));
}

} // namespace
