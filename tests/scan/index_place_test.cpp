// What is taken for an index block, and what only looks like one. With ten frames it stands at 1160 and has 212 bytes.
#include "scan/quick_look.hpp"
#include "tests/scan/compose.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

namespace scan = kmr::scan;
using recording::put_u32;
using scan_test::bytes;
using scan_test::found;
using scan_test::frames;
using scan_test::recording_of;
using scan_test::sound_frames;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(IndexPlaceTest, AShortFrameWithAStampOf0IsAFrame) {
    frames all;
    for (uint32_t i = 0; i < 5; ++i)
        all.push_back({.number = 1 + i, .time_stamp = 40 * i, .kind = 1, .video = scan_test::p_video(8)});
    const auto judged = scan_test::judge(recording_of(all));
    EXPECT_THAT(found(judged), IsEmpty());
    EXPECT_EQ(judged.frames.total, 5U);
}

TEST(IndexPlaceTest, ABlockThatMiscountsIsKnownByItsTrailer) {
    bytes file = recording_of(sound_frames(10));
    put_u32(file, 1160 + 32, 3); // of two records
    file.resize(file.size() + 10, 0x77);
    EXPECT_THAT(found(file), ElementsAre("index-head-wrong @1160 +44", "bytes-behind-index @1372 +10"));
}

// The head of a block that runs on behind the end of the file, but further than a frame or a short index may reach.
TEST(IndexPlaceTest, AHeadThatClaimsMoreThanAMebibyteIsNone) {
    bytes file = scan_test::without_index(sound_frames(10));
    bytes head = recording::index_block({});
    head.resize(44);
    put_u32(head, 4, 0x200000);
    put_u32(head, 20, 0x200000 - 32);
    recording::append(file, head);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @1160 +44"));
    put_u32(file, 1160 + 4, 0x100000);
    put_u32(file, 1160 + 20, 0x100000 - 32);
    EXPECT_THAT(found(file), ElementsAre("index-torn @1160 +44"));
}

// Its trailer, the size of its records and their number still name a block whose sync word is gone.
TEST(IndexPlaceTest, ABlockWithoutItsSyncWordStandsWhereItsTrailerSays) {
    bytes file = recording_of(sound_frames(10));
    put_u32(file, 1160, 0xEEEEEEEE);
    EXPECT_THAT(found(file), ElementsAre("index-torn @1160 +212"));
    scan::memory_source source(file);
    const scan::quick_look seen = scan::look_quickly(source);
    EXPECT_FALSE(seen.index.present);
    EXPECT_EQ(seen.index.offset, 1160U);
    // The last frame says that it reaches 200 bytes into the block.
    put_u32(file, 1064 + 4, 296);
    put_u32(file, 1064 + 20, 264);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @1064 +96", "index-torn @1160 +212"));
}

// Where its head does not bear the trailer out either, a search that finds nothing else ends there.
TEST(IndexPlaceTest, ABlockThatItsTrailerAloneNamesEndsASearch) {
    bytes file = recording_of(sound_frames(10));
    put_u32(file, 1160, 0xEEEEEEEE);
    put_u32(file, 1160 + 36, 79); // the size of a record
    EXPECT_THAT(found(file), ElementsAre("index-torn @1160 +212"));
    put_u32(file, 1064, 0xEEEEEEEE);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @1064 +96", "index-torn @1160 +212"));
}

// A block with room for 13 records has 1092 bytes and would begin at 76; the head that stands there bears it out.
TEST(IndexPlaceTest, ATrailerThatReachesIntoTheFileHeaderNamesNothing) {
    bytes file = scan_test::without_index(sound_frames(10));
    file.resize(file.size() + 8);
    put_u32(file, 1160, KMR_INDEX_MAGIC);
    put_u32(file, 1164, 1092);
    put_u32(file, 76 + 32, 13);
    put_u32(file, 76 + 36, 80);
    scan::memory_source source(file);
    EXPECT_EQ(scan::look_quickly(source).index.offset, 0U);
}

} // namespace
