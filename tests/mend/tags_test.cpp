// Fifteen frames, one second apart: I-frames at 88, 624 and 1160, 5 s apart; the index at 1696, its records at 1740, 1820
// and 1900. A tag stands 16 bytes into its record, the count of tags at 1708.
#include "mend/tags.hpp"
#include "tests/mend/on_disk.hpp"

#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using namespace kmr::mend;
using ::testing::ElementsAre;

const uint32_t start = scan_test::start_time;

bytes tagged(const std::vector<std::string>& texts) {
    auto all = scan_test::sound_frames(15);
    for (auto& each : all)
        each.time_stamp = 1000 * each.number;
    auto index = scan_test::records_for(all);
    for (size_t i = 0; i < texts.size(); ++i)
        index[i].tag = texts[i];
    return scan_test::recording_of(all, index);
}

std::vector<std::string> texts_of(const bytes& file) {
    std::vector<std::string> texts;
    for (const index_row& row : index_rows(file))
        texts.push_back(row.tag);
    return texts;
}

class TagsTest : public ::testing::Test {
protected:
    bytes add(const bytes& file, const tag_place& where, const std::string& text) {
        kmr::scan::memory_source source(file);
        plan_ = plan_tag(source, where, text);
        return applied(file);
    }
    bytes remove(const bytes& file, uint32_t record) {
        kmr::scan::memory_source source(file);
        plan_ = plan_tag_removal(source, {record});
        return applied(file);
    }
    bytes change(const bytes& file, uint32_t record, const std::string& text) {
        kmr::scan::memory_source source(file);
        plan_ = plan_tag_change(source, {record}, text);
        return applied(file);
    }
    bytes applied(const bytes& file) {
        if (plan_.status != tag_status::ready) {
            EXPECT_TRUE(plan_.planned.writes().empty());
            return file;
        }
        return with_changes(file, plan_.planned);
    }

    tag_plan plan_;
};

TEST_F(TagsTest, ATimeMeansTheLastRecordAtOrBeforeIt) {
    const bytes file = tagged({});
    const struct {
        int64_t time;
        uint32_t record;
    } cases[] = {{start, 0},      {start + 4, 0},   {start + 5, 1},        {start + 9, 1}, {start + 10, 2},
                 {start + 99, 2}, {start - 500, 0}, {int64_t{1} << 40, 2}, {-5, 0}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.time);
        const bytes after = add(file, wall_clock{each.time}, "here");
        EXPECT_EQ(plan_.status, tag_status::ready);
        EXPECT_EQ(plan_.record, each.record);
        std::vector<std::string> expected(3);
        expected[each.record] = "here";
        EXPECT_EQ(texts_of(after), expected);
        EXPECT_EQ(::recording::get_u32(after, 1708), 1U);
        EXPECT_EQ(scan_test::judge(after).judged, kmr::scan::verdict::sound);
    }
}

// Stamps are 1000 times the number, and stream time counts from the first frame: the I-frames are at 0, 5 and 10 s.
TEST_F(TagsTest, AStreamTimeMeansTheLastRecordAtOrBeforeIt) {
    const bytes file = tagged({});
    const struct {
        int64_t ms;
        uint32_t record;
    } cases[] = {{0, 0},      {4999, 0},   {5000, 1},    {9999, 1},
                 {10'000, 2}, {99'000, 2}, {-60'000, 0}, {int64_t{1} << 60, 2}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.ms);
        add(file, stream_time{each.ms}, "here");
        EXPECT_EQ(plan_.status, tag_status::ready);
        EXPECT_EQ(plan_.record, each.record);
    }
}

// The second I-frame comes 600 ms behind the first one in the same second, and the stamps wrap between them.
TEST_F(TagsTest, AStreamTimeGoesByStampsAndNotByTheSecondsOfTheIndex) {
    auto all = scan_test::sound_frames(10);
    for (auto& each : all)
        each.time_stamp = 120 * each.number - 500; // of the sixth frame 220
    auto index = scan_test::records_for(all);
    for (auto& each : index)
        each.time = start;
    const bytes file = scan_test::recording_of(all, index);
    add(file, stream_time{599}, "x");
    EXPECT_EQ(plan_.record, 0U);
    add(file, stream_time{600}, "x");
    EXPECT_EQ(plan_.record, 1U);
    add(file, wall_clock{start}, "x");
    EXPECT_EQ(plan_.record, 1U);
}

TEST_F(TagsTest, ARecordThatNamesNoFrameIsNoPlaceForAStreamTime) {
    bytes file = tagged({});
    ::recording::put_u32(file, 1820 + 4, 625);       // one byte behind the second I-frame
    ::recording::put_u32(file, 1900 + 4, 4'000'000); // behind the end
    add(file, stream_time{99'000}, "x");
    EXPECT_EQ(plan_.status, tag_status::ready);
    EXPECT_EQ(plan_.record, 0U);
}

TEST_F(TagsTest, ListsThemByRecord) {
    const bytes file = tagged({"one", "", "caf\xE9"});
    kmr::scan::memory_source source(file);
    std::vector<std::string> listed;
    const tag_list list = list_tags(source, [&](const kmr::scan::tag& each) {
        listed.push_back(std::to_string(each.record) + " " + std::to_string(each.time - start) + " " +
                         each.text);
    });
    EXPECT_EQ(list.status, tag_status::ready);
    EXPECT_EQ(list.records, 3U);
    EXPECT_THAT(listed, ElementsAre("0 0 one", "2 10 caf\xE9"));
    const bytes torn = cut(file, 1900);
    kmr::scan::memory_source other(torn);
    EXPECT_EQ(list_tags(other, [](const kmr::scan::tag&) { FAIL(); }).status, tag_status::no_index);
}

TEST_F(TagsTest, NothingButTagAndCountIsWritten) {
    const bytes file = tagged({});
    bytes expected = file;
    std::copy_n("door", 4, expected.begin() + 1820 + 16);
    expected[1708] = 1;
    EXPECT_EQ(add(file, record_number{1}, "door"), expected);
    EXPECT_EQ(plan_.planned.bytes_written(), 68U);
}

TEST_F(TagsTest, ATagThatIsThereIsReplacedWholly) {
    const bytes file = tagged({"a long text", "", ""});
    const bytes after = add(file, record_number{0}, "b");
    EXPECT_EQ(plan_.before, "a long text");
    EXPECT_EQ(bytes(after.begin() + 1756, after.begin() + 1756 + 64), [] {
        bytes field(64, 0);
        field[0] = 'b';
        return field;
    }());
    EXPECT_EQ(::recording::get_u32(after, 1708), 1U);
}

TEST_F(TagsTest, ChangesAndRemovesByRecord) {
    const bytes file = tagged({"one", "", "three"});
    EXPECT_THAT(texts_of(change(file, 2, "four")), ElementsAre("one", "", "four"));
    const bytes after = remove(file, 0);
    EXPECT_THAT(texts_of(after), ElementsAre("", "", "three"));
    EXPECT_EQ(::recording::get_u32(after, 1708), 1U);
    EXPECT_EQ(plan_.before, "one");
    remove(file, 1);
    EXPECT_EQ(plan_.status, tag_status::no_tag);
    change(file, 1, "x");
    EXPECT_EQ(plan_.status, tag_status::no_tag);
    remove(file, 3);
    EXPECT_EQ(plan_.status, tag_status::no_record);
    add(file, record_number{3}, "x");
    EXPECT_EQ(plan_.status, tag_status::no_record);
}

TEST_F(TagsTest, ACountThatWasWrongIsSetRight) {
    bytes file = tagged({"one", "", ""});
    file[1708] = 40;
    EXPECT_EQ(::recording::get_u32(add(file, record_number{1}, "two"), 1708), 2U);
}

TEST_F(TagsTest, SixtyFourAreTheMost) {
    const auto all = scan_test::sound_frames(330);
    auto index = scan_test::records_for(all);
    for (size_t i = 0; i < 64; ++i)
        index[i].tag.assign(1, 't');
    const bytes file = scan_test::recording_of(all, index);
    add(file, record_number{64}, "x");
    EXPECT_EQ(plan_.status, tag_status::too_many);
    EXPECT_EQ(texts_of(add(file, record_number{63}, "x"))[63], "x") << "replacing adds none";
    EXPECT_EQ(plan_.tags_after, 64U);
}

TEST_F(TagsTest, WithoutAWholeIndexThereAreNone) {
    for (const size_t size : {88U, 1696U, 1900U, 1987U}) {
        add(cut(tagged({}), size), wall_clock{start}, "x");
        EXPECT_EQ(plan_.status, tag_status::no_index) << size;
    }
    bytes lying = tagged({});
    lying[1696 + 36] = 81; // size of a record
    add(lying, wall_clock{start}, "x");
    EXPECT_EQ(plan_.status, tag_status::no_index);
    add(scan_test::recording_of({}), wall_clock{start}, "x");
    EXPECT_EQ(plan_.status, tag_status::no_record);
}

TEST_F(TagsTest, UndoTakesATagBack) {
    const bytes file = tagged({});
    model_disk disk;
    disk.put(path, file, old_dates);
    auto opening = kmr::mend::recording::open(disk, path, true);
    const tag_plan plan = plan_tag(opening.opened->source(), record_number{2}, "x");
    ASSERT_TRUE(opening.opened->apply(plan.planned).is_done());
    EXPECT_EQ(texts_of(disk.content(path))[2], "x");
    EXPECT_TRUE(same_dates(disk.dates(path), old_dates));
    EXPECT_TRUE(opening.opened->undo().is_done());
    EXPECT_EQ(disk.content(path), file);
}

TEST(TagTextTest, SixtyThreeBytesOfWholeCharacters) {
    EXPECT_EQ(check_tag_text(std::string(63, 'a')), tag_status::ready);
    EXPECT_EQ(check_tag_text(std::string(64, 'a')), tag_status::text_too_long);
    EXPECT_EQ(check_tag_text(std::string(62, 'a') + "\xC3\xA4"), tag_status::text_too_long);
    EXPECT_EQ(check_tag_text(std::string(61, 'a') + "\xC3\xA4"), tag_status::ready);
    EXPECT_EQ(check_tag_text(""), tag_status::empty_text);
}

TEST(TagTextTest, NothingButUtf8) {
    for (const char* good : {"\x7E", "\xC2\xA0", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF"})
        EXPECT_EQ(check_tag_text(good), tag_status::ready) << good;
    for (const char* bad :
         {"\x80", "\xC3", "a\xC3", "\xC0\xAF", "\xC1\xBF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xE2\x82",
          "\xF0\x80\x80\xAF", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFF", "\xC3\x41"})
        EXPECT_EQ(check_tag_text(bad), tag_status::text_no_utf8) << bad;
    for (const char* control : {"\n", "a\x1B[31m", "\x7F", "\xC2\x9B"})
        EXPECT_EQ(check_tag_text(control), tag_status::text_with_control_characters) << control;
    EXPECT_EQ(check_tag_text(std::string_view("a\0b", 3)), tag_status::text_with_control_characters);
}

} // namespace
