// What a database of results keeps, when it is believed, and what it refuses.
#include "tests/kmr/store/store_fixture.hpp"

#include "kmr/store/recording_name.hpp"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kmr::scan::verdict;
using kmr::store::file_stamp;
using kmr::store::result_store;
using recording::bytes;
using store_test::old_stamp;
using store_test::told_by;
using store_test::usual_cap;
using testing::ElementsAre;
using testing::IsEmpty;

class StoreTest : public testing::Test, protected store_test::folder_with_database {
protected:
    // A file's name is what it is; that there is one is not looked at.
    void keep(result_store& to, const std::string& name, const bytes& file, size_t cap = usual_cap) const {
        kmr::scan::memory_source source(file);
        to.keep(folder.file(name), old_stamp, kmr::scan::judge(source, {.most_per_code = cap}), cap);
    }
};

class RoundTripTest : public StoreTest, public testing::WithParamInterface<bytes (*)()> {};

TEST_P(RoundTripTest, GivesBackWhatWasKept) {
    const bytes file = GetParam()();
    const file_stamp stamp = {.size = file.size(), .modified_ns = 5};
    const kmr::scan::report judged = scan_test::judge(file);
    {
        result_store store = open();
        store.keep(folder.file("one.kmr"), stamp, judged, usual_cap);
    }
    const auto known = open().unchanged(folder.file("one.kmr"), stamp, usual_cap);
    ASSERT_TRUE(known);
    EXPECT_EQ(told_by(*known), told_by(judged));
}

bytes of_three_bytes() {
    return {1, 2, 3};
}
bytes of_nothing() {
    return {};
}
bytes of_zeros() {
    return bytes(5000, 0);
}
bytes with_many_findings() {
    return store_test::many_findings_recording(250);
}
INSTANTIATE_TEST_SUITE_P(All, RoundTripTest,
                         testing::Values(store_test::sound_recording, store_test::unfinished_recording,
                                         store_test::torn_recording, store_test::wrong_index_recording,
                                         with_many_findings, of_three_bytes, of_nothing, of_zeros));

TEST_F(StoreTest, KnowsAFileBySizeTimeAndPlace) {
    result_store store = open();
    keep(store, "one.kmr", store_test::sound_recording());
    const std::string path = folder.file("one.kmr");
    EXPECT_TRUE(store.unchanged(path, old_stamp, usual_cap));
    EXPECT_FALSE(store.unchanged(path, {.size = 1373, .modified_ns = old_stamp.modified_ns}, usual_cap));
    EXPECT_FALSE(store.unchanged(path, {.size = 1372, .modified_ns = old_stamp.modified_ns + 1}, usual_cap));
    EXPECT_FALSE(store.unchanged(folder.file("two.kmr"), old_stamp, usual_cap));
    EXPECT_FALSE(open("south").unchanged(path, old_stamp, usual_cap));
    EXPECT_FALSE(open("north", "1.1").unchanged(path, old_stamp, usual_cap));
}

TEST_F(StoreTest, KnowsAPlaceByWhateverPathLeadsThere) {
    result_store store = open();
    keep(store, "one.kmr", store_test::sound_recording());
    std::filesystem::create_directory_symlink(folder.path(), folder.file("link"));
    EXPECT_TRUE(store.unchanged(folder.file("link/one.kmr"), old_stamp, usual_cap));
    const scratch::working_directory there(folder.path());
    EXPECT_TRUE(store.unchanged("one.kmr", old_stamp, usual_cap));
    EXPECT_TRUE(store.unchanged("./link/.//one.kmr", old_stamp, usual_cap));
}

TEST_F(StoreTest, KeepsApartPathsThatAreNoText) {
    result_store store = open();
    keep(store, "a\xFF.kmr", store_test::sound_recording());
    keep(store, "a\xFE.kmr", store_test::torn_recording());
    keep(store, "\xC3\xA4.kmr", store_test::unfinished_recording());
    EXPECT_EQ(store.unchanged(folder.file("a\xFF.kmr"), old_stamp, usual_cap)->judged, verdict::sound);
    EXPECT_EQ(store.unchanged(folder.file("a\xFE.kmr"), old_stamp, usual_cap)->judged, verdict::damaged);
    EXPECT_THAT(ask("SELECT typeof(name), count(*) FROM recordings GROUP BY 1 ORDER BY 1"),
                ElementsAre("blob|2", "text|1"));
}

TEST_F(StoreTest, ReadsAgainWhatWasWrittenJustNow) {
    result_store store = open();
    const auto judged = scan_test::judge(store_test::sound_recording());
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const file_stamp stamp = {.size = 1372, .modified_ns = now.tv_sec * 1000000000 + now.tv_nsec};
    store.keep(folder.file("one.kmr"), stamp, judged, usual_cap);
    EXPECT_FALSE(store.unchanged(folder.file("one.kmr"), stamp, usual_cap));
}

TEST_F(StoreTest, ReadsAgainWhatChangedOrCouldNotBeRead) {
    result_store store = open();
    auto changed = scan_test::judge(store_test::sound_recording());
    changed.changed = true;
    store.keep(folder.file("changed.kmr"), old_stamp, changed, usual_cap);
    EXPECT_FALSE(store.unchanged(folder.file("changed.kmr"), old_stamp, usual_cap));
    store.keep(folder.file("closed.kmr"), {}, kmr::scan::unreadable(EACCES), usual_cap);
    EXPECT_FALSE(store.unchanged(folder.file("closed.kmr"), {}, usual_cap));
    EXPECT_THAT(ask("SELECT name, verdict, error, changed FROM recordings ORDER BY name"),
                ElementsAre("changed.kmr|sound|0|1", "closed.kmr|unreadable|13|0"));
}

TEST_F(StoreTest, ListsAsManyFindingsAsAreAskedFor) {
    const bytes file = store_test::many_findings_recording(120); // one for each step
    result_store store = open();
    const std::string path = folder.file("one.kmr");
    const file_stamp stamp = {.size = file.size(), .modified_ns = 5};
    kmr::scan::memory_source source(file);
    store.keep(path, stamp, kmr::scan::judge(source, {.most_per_code = 100}), 100);
    const auto capped = store.unchanged(path, stamp, 100);
    ASSERT_TRUE(capped);
    EXPECT_EQ(capped->findings.size(), 100U);
    EXPECT_EQ(capped->findings_left_out, 20U);
    EXPECT_FALSE(store.unchanged(path, stamp, SIZE_MAX)); // they are not there
    store.keep(path, stamp, kmr::scan::judge(source, {.most_per_code = SIZE_MAX}), SIZE_MAX);
    EXPECT_EQ(store.unchanged(path, stamp, SIZE_MAX)->findings.size(), 120U);
    EXPECT_EQ(store.unchanged(path, stamp, 120)->findings.size(), 120U);
    EXPECT_FALSE(store.unchanged(path, stamp, 100)); // which of them would be left out is not known
}

TEST_F(StoreTest, TakesTheHeadersDateInTheZoneOfNow) {
    const char* const zone_before = std::getenv("TZ");
    const std::string before = zone_before == nullptr ? "" : zone_before;
    const auto in_zone = [](const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    };
    const bytes file = store_test::unfinished_recording();
    const file_stamp stamp = {.size = file.size(), .modified_ns = 5};
    in_zone("UTC0");
    result_store store = open();
    store.keep(folder.file("one.kmr"), stamp, scan_test::judge(file), usual_cap);
    EXPECT_EQ(store.unchanged(folder.file("one.kmr"), stamp, usual_cap)->start_ms, 1420167845000);
    in_zone("CET-1");
    EXPECT_EQ(store.unchanged(folder.file("one.kmr"), stamp, usual_cap)->start_ms, 1420164245000);
    before.empty() ? static_cast<void>(unsetenv("TZ")) : in_zone(before.c_str());
    tzset();
}

TEST_F(StoreTest, ReplacesWhatAFileHadBefore) {
    result_store store = open();
    keep(store, "one.kmr", store_test::torn_recording());
    EXPECT_THAT(ask("SELECT code, severity, offset, length, frame FROM findings"),
                ElementsAre("bytes-torn|error|336|96|4"));
    EXPECT_THAT(ask("SELECT code, count FROM finding_counts"), ElementsAre("bytes-torn|1"));
    keep(store, "one.kmr", store_test::wrong_index_recording());
    EXPECT_THAT(ask("SELECT code, record, field, actual FROM findings"),
                ElementsAre("index-entry-wrong|1|offset|625"));
    keep(store, "one.kmr", store_test::sound_recording());
    EXPECT_THAT(ask("SELECT * FROM findings"), IsEmpty());
    EXPECT_THAT(ask("SELECT count(*), sum(codes) FROM recordings"), ElementsAre("1|0"));
}

TEST_F(StoreTest, ReadsAgainWhereSomebodyTookRowsAway) {
    result_store store = open();
    keep(store, "one.kmr", store_test::torn_recording());
    ask("DELETE FROM findings");
    EXPECT_FALSE(store.unchanged(folder.file("one.kmr"), old_stamp, usual_cap));
}

TEST_F(StoreTest, MarksWhatIsGoneFromWhereItLooked) {
    result_store store = open();
    for (const char* const name : {"a/1", "a/2", "ab/1", "b/1", "a/\xFF"})
        keep(store, name, store_test::sound_recording());
    folder.write("a/2", {});
    EXPECT_EQ(open().finish({folder.file("a")}).gone, 2U);
    EXPECT_THAT(ask("SELECT hex(folder || name) = '', gone_ms IS NULL FROM recordings ORDER BY path"),
                ElementsAre("0|0", "0|1", "0|1", "0|1", "0|0"));
    EXPECT_EQ(open().finish({folder.file("a")}).gone, 0U); // once
    EXPECT_EQ(open().finish({folder.file("b/1")}).gone, 1U);
    EXPECT_EQ(open("south").finish({folder.path()}).gone, 0U); // another machine's
}

TEST_F(StoreTest, TakesTheMarkBackWhereAFileIsThereAgain) {
    {
        result_store store = open();
        keep(store, "1", store_test::sound_recording());
    }
    EXPECT_EQ(open().finish({folder.path()}).gone, 1U);
    result_store store = open();
    EXPECT_TRUE(store.unchanged(folder.file("1"), old_stamp, usual_cap));
    EXPECT_EQ(store.finish({folder.path()}).gone, 0U);
    EXPECT_THAT(ask("SELECT gone_ms FROM recordings"), ElementsAre("-"));
}

TEST_F(StoreTest, CountsRuns) {
    {
        result_store store = open();
        keep(store, "1", store_test::sound_recording());
        keep(store, "2", store_test::sound_recording());
        store.unchanged(folder.file("1"), old_stamp, usual_cap);
        store.finish({folder.path()});
    }
    { const result_store cut_off = open("south"); }
    EXPECT_THAT(ask("SELECT host, ended_ms >= started_ms, recordings, read, gone FROM runs ORDER BY host"),
                ElementsAre("north|1|3|2|0", "south|-|0|0|0"));
}

TEST(RecordingNameTest, TellsTheTypeByTheRulesOfTheLibrary) {
    using kmr::store::type_of;
    EXPECT_EQ(type_of("/r/H10000201501020304I000000.kmr"), std::nullopt); // position 20 is a digit
    EXPECT_EQ(type_of("/r/H00000201501020304050L00000"), std::nullopt);   // it stands at 21
    EXPECT_EQ(type_of("/r/H0000020150102030405L000000"), 'L');            // 'H', 19 digits, 'L' at 20
    EXPECT_EQ(type_of("X0000020150102030405L000000"), std::nullopt);
    EXPECT_EQ(type_of("C1N0000020150102030405B000000"), 'B'); // of an optical disc
    EXPECT_EQ(type_of("/r/note.txt"), std::nullopt);
    EXPECT_EQ(type_of(""), std::nullopt);
}

TEST(RecordingNameTest, TellsTheChannelOfUsbMedia) {
    EXPECT_EQ(kmr::store::channel_of("/mnt/usb/a/1/20150102/U"), 1);
    EXPECT_EQ(kmr::store::channel_of("/recordings/H"), std::nullopt);
}

} // namespace
