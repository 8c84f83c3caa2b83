// Values at their edges, in the program's own functions: places, segments of user data, rows, and a screen.
#include "UserDataOpt/user_data_block.h"
#include "analyse/vca/vca.h"
#include "kmr/frame_rows.hpp"
#include "kmr/frame_selection.hpp"
#include "kmr/iso_time.hpp"
#include "kmr/report_json.hpp"
#include "kmr/show_output.hpp"
#include "kmr/user_data_text.hpp"
#include "tests/scan/compose.hpp"

#include <gmock/gmock.h>

namespace {

using kmr::output::time_zone;
using recording::bytes;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(IsoTimeEdgesTest, EverySignHasItsPlace) {
    for (const char* const text :
         {"2015/01-02", "2015-01/02", "2015-01", "2015-01-xx", "2015-01-02T03:60:05", "2015-01-02T03:04:61",
          "2015-01-02T03:04:05+aa:00", "2015-01-02T03:04:05+01:60", "2015-01-02T03:04:05+01:00x",
          "2015-01-02T03:04:05-01:00x"})
        EXPECT_EQ(kmr::program::parse_iso_time(text, time_zone::utc), std::nullopt) << text;
    EXPECT_EQ(kmr::program::parse_iso_time("2015-01-02T03:04:05z", time_zone::utc), 1420167845000);
}

TEST(FrameSelectionEdgesTest, AFrameWithoutATimeIsInFrontOfNone) {
    const kmr::scan::frame_event event = {};
    const kmr::scan::seen_frame seen{.frame = event};
    const auto place = kmr::program::frame_place::parse("2030-01-01", time_zone::utc);
    EXPECT_FALSE(kmr::program::frame_selection{.to = place}.takes(seen, {}));
    EXPECT_TRUE(kmr::program::frame_selection{.to = place}.takes(seen, 0));
}

class RowTest : public ::testing::Test {
protected:
    RowTest() { event_.header_whole = true; }

    std::string row() const {
        const kmr::scan::seen_frame seen{.frame = event_, .gap = gap_};
        std::string to;
        kmr::program::frame_writer::make(kmr::program::frame_format::table, time_zone::utc)
            ->append(to, {.seen = seen, .time_ms = {}, .user_data = nullptr});
        return to;
    }

    kmr::scan::frame_event event_ = {};
    uint32_t gap_ = 0;
};

TEST_F(RowTest, BeginsWithTheNumberWhateverItsLength) {
    event_.header.FrameNo = 7;
    EXPECT_EQ(row().substr(0, 12), "         7  ");
    event_.header.FrameNo = 4294967295;
    EXPECT_EQ(row().substr(0, 12), "4294967295  ");
}

TEST_F(RowTest, ColumnsNeverRunTogether) {
    gap_ = 4294967295;
    EXPECT_THAT(row(), HasSubstr(" 4294967295  0:00:00.000 "));
    event_.offset = 123456789012345;
    EXPECT_THAT(row(), HasSubstr("         0 123456789012345"));
}

TEST_F(RowTest, AFrameThatTheFileEndsInIsDamaged) {
    event_.kind = kmr::scan::frame_class::torn_at_end;
    EXPECT_THAT(row(), HasSubstr("  damaged\n"));
    event_.kind = kmr::scan::frame_class::inserted;
    EXPECT_THAT(row(), HasSubstr("  inserted\n"));
}

// Flag, length of the payload, payload.
void add_segment(bytes& to, uint16_t flag, const bytes& payload) {
    const size_t at = to.size();
    to.resize(at + 4);
    recording::put_u16(to, at, flag);
    recording::put_u16(to, at + 2, static_cast<uint16_t>(payload.size()));
    recording::append(to, payload);
}

std::vector<std::string> told(uint16_t count, const bytes& segments) {
    const bytes video = scan_test::user_data_unit(scan_test::user_data_block("ZNST", count, segments));
    std::vector<std::string> words;
    for (const auto& each : kmr::program::segments_of(video))
        words.push_back(std::string(each.kind) + "=" + each.value);
    return words;
}

// The flag of sizes stands in front of two numbers of 32 bits, that of targets in front of two of 16.
TEST(SegmentTest, ThatIsTooShortForItsNumbersIsShownAsItStands) {
    bytes all;
    add_segment(all, USERDATA_FLAG_VCA_SIZE, {0x60, 1, 0, 0, 0x20, 1, 0, 0});
    add_segment(all, USERDATA_FLAG_VCA_SIZE, {0x60, 1, 0, 0});
    add_segment(all, USERDATA_FLAG_VCA_TARGET, {12, 0, 7, 0});
    add_segment(all, USERDATA_FLAG_VCA_TARGET, {12, 0});
    EXPECT_THAT(told(4, all),
                ElementsAre("vca_size=352x288", "vca_size=60010000", "vca_target=11,6", "vca_target=0c00"));
}

TEST(SegmentTest, OfUnknownKindEndsTheList) {
    bytes all;
    add_segment(all, 0x1234, {'h', 'i', 0, 0});
    add_segment(all, USERDATA_FLAG_OSD, {'x'});
    EXPECT_THAT(told(2, all), ElementsAre("unknown=hi"));
}

TEST(SegmentTest, ABrokenUnitHasNone) {
    bytes all;
    add_segment(all, USERDATA_FLAG_OSD, {'h', 'i'});
    all[2] = 200; // longer than the block
    EXPECT_THAT(told(1, all), ElementsAre());
    EXPECT_TRUE(kmr::program::segments_of(scan_test::i_video()).empty());
}

// --- a recording on a screen ---

std::string screen(const bytes& file) {
    const kmr::program::judged_file judged{.path = "a.kmr", .judged = scan_test::judge(file)};
    kmr::output::clock clock(time_zone::utc);
    std::string to;
    kmr::program::append_shown(to, judged, false, clock);
    return to;
}
std::string object(const bytes& file) {
    const kmr::program::judged_file judged{.path = "a.kmr", .judged = scan_test::judge(file)};
    kmr::output::clock clock(time_zone::utc);
    std::string to;
    kmr::program::append_shown_json(to, judged, clock);
    return to;
}

class ScreenTest : public ::testing::Test {
protected:
    scan_test::frames all_ = scan_test::sound_frames(10);
    bytes file_ = scan_test::without_index(all_);
};

TEST_F(ScreenTest, OfADateThatIsNone) {
    recording::put_u16(file_, 12, 13); // the month
    EXPECT_THAT(screen(file_), HasSubstr("  header        no date, 1920 x 1080, "));
    EXPECT_THAT(screen(file_), HasSubstr("  span          0:00:00.360\n"));
    EXPECT_THAT(screen(file_), HasSubstr("  index         none\n"));
    EXPECT_THAT(object(file_), HasSubstr("\"header\":{\"plausible\":true,\"start\":null,"));
    EXPECT_THAT(object(file_), HasSubstr("\"start\":null,\"end\":null,\"duration_ms\":360,"));
}

TEST_F(ScreenTest, OfADateThatTheHeaderAloneTells) {
    EXPECT_THAT(screen(file_), HasSubstr(" (by the header), 0:00:00.360\n"));
}

TEST_F(ScreenTest, OfTwoChannelsAndOneRecord) {
    file_[8] = 1; // there is audio
    file_[74] = 2;
    EXPECT_THAT(screen(file_), HasSubstr("  audio         2 channels, "));
    EXPECT_THAT(screen(scan_test::recording_of(scan_test::sound_frames(3))),
                HasSubstr("  index         1 record, 0 tags\n"));
}

TEST_F(ScreenTest, OfWhatIsTooShortForAHeader) {
    const bytes three = {1, 2, 3};
    EXPECT_THAT(screen(three), Not(HasSubstr("  header")));
    EXPECT_THAT(screen(three), Not(HasSubstr("  span")));
    EXPECT_THAT(object(three), HasSubstr("\"header\":null,"));
    EXPECT_THAT(object(three), HasSubstr("\"frame_rate\":null}\n"));
}

// Two frames at one moment: there is no rate.
TEST_F(ScreenTest, OfNoDuration) {
    auto two = scan_test::sound_frames(2);
    two[1].time_stamp = two[0].time_stamp;
    EXPECT_THAT(screen(scan_test::recording_of(two)), Not(HasSubstr("bits a second")));
    EXPECT_THAT(object(scan_test::recording_of(two)), HasSubstr("\"bit_rate\":null"));
}

} // namespace
