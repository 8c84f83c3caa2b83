// kmr tag as a program. Ten frames a second apart, the I-frames at 88 and 548; the index at 1008, its records at 1052 and
// 1132. A tag stands 16 bytes into its record, the count of tags at 1020.
#include "tests/kmr/changed_file.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

using kmr_test::as_nobody;
using kmr_test::is_old;
using kmr_test::make_old;
using kmr_test::names_in;
using kmr_test::words;
using kmr_test::workplace;
using recording::bytes;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr size_t count_at = 1020;
constexpr size_t tag_at[] = {1068, 1148};

class TagTest : public testing::Test {
protected:
    TagTest() { compose({}); }

    void compose(const words& more) {
        words all = {"--stamp-step", "1000"};
        all.insert(all.end(), more.begin(), more.end());
        place_.compose("a.kmr", all);
        make_old(file_);
        before_ = content();
    }

    run::result tag(const words& more, const words& environment = {}) const {
        words arguments = {"tag"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return place_.kmr(arguments, {.environment = environment});
    }

    bytes content() const { return kmr_test::read_quietly(file_); }
    std::vector<std::string> names() const { return names_in(place_.folder().path()); }

    bytes with_tag(size_t record, const std::string& text, uint8_t tags) const {
        bytes expected = before_;
        const auto field = expected.begin() + static_cast<std::ptrdiff_t>(tag_at[record]);
        std::fill_n(field, 64, uint8_t{0});
        std::copy(text.begin(), text.end(), field);
        expected[count_at] = tags;
        return expected;
    }

    void expect_refused(const words& arguments, const std::string& message) const {
        const auto run = tag(arguments);
        EXPECT_EQ(run.status, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "kmr: " + message + "\n");
        EXPECT_EQ(content(), before_);
        EXPECT_TRUE(is_old(file_));
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\x1b'), 0);
    }

    const workplace place_;
    const std::string file_ = place_.folder().file("a.kmr");
    bytes before_;
};

TEST_F(TagTest, ListsByRecord) {
    compose({"--tag", "0=Start", "--tag", "1=Door \x1b[31m\xE9"});
    const auto run = tag({"a.kmr"});
    EXPECT_EQ(run.out, "  record  time                           text\n"
                       "       0  2015-01-02T03:04:05.000+00:00  Start\n"
                       "       1  2015-01-02T03:04:10.000+00:00  Door \\x1b[31m\\xe9\n");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(
        tag({"--json", "a.kmr"}).out,
        "{\"schema\":\"kmr.tags/1\",\"path\":\"a.kmr\",\"tags\":["
        "{\"record\":0,\"time\":\"2015-01-02T03:04:05.000+00:00\",\"text\":\"Start\"},"
        "{\"record\":1,\"time\":\"2015-01-02T03:04:10.000+00:00\",\"text\":\"Door \\u001b[31m\\\\xe9\"}],"
        "\"records\":2}\n");
    const words east = {"TZ=CET-1"};
    EXPECT_THAT(tag({"a.kmr"}, east).out, HasSubstr("  2015-01-02T04:04:05.000+01:00  Start\n"));
    EXPECT_THAT(tag({"--utc", "a.kmr"}, east).out, HasSubstr("  2015-01-02T03:04:05.000+00:00  Start\n"));
    EXPECT_TRUE(is_old(file_));
}

TEST_F(TagTest, ListsNothingWhereNothingIs) {
    const auto none = tag({"a.kmr"});
    EXPECT_EQ(none.out, "  record  time                           text\n");
    EXPECT_EQ(none.status, 0);
    compose({"--no-index"});
    const auto unfinished = tag({"a.kmr"});
    EXPECT_EQ(unfinished.status, 2);
    EXPECT_EQ(unfinished.out, "");
    EXPECT_EQ(unfinished.err,
              "kmr: a.kmr: there is no whole index for tags to stand in (kmr repair makes one)\n");
    EXPECT_EQ(tag({"--json", "a.kmr"}).out,
              "{\"schema\":\"kmr.tags/1\",\"path\":\"a.kmr\",\"tags\":[],\"records\":null}\n");
    EXPECT_EQ(tag({"missing.kmr"}).err, "kmr: missing.kmr: No such file or directory\n");
    EXPECT_EQ(tag({"/dev/null"}).err, "kmr: /dev/null: not a regular file\n");
}

struct place_of_a_tag {
    std::string time;
    size_t record;
};

TEST_F(TagTest, PutsATagAtTheLastRecordAtOrBeforeATime) {
    const place_of_a_tag all[] = {{"0", 0},
                                  {"1", 1},
                                  {"0:00", 0},
                                  {"0:04.999", 0},
                                  {"0:05", 1},
                                  {"0:00:05.000", 1},
                                  {"999:00:00", 1},
                                  {"2015-01-02T03:04:05", 0},
                                  {"2015-01-02T03:04:09.999", 0},
                                  {"2015-01-02T03:04:10", 1},
                                  {"2015-01-02 03:04:10Z", 1},
                                  {"2015-01-02T04:04:09+01:00", 0},
                                  {"2015-01-02T04:04:10+0100", 1},
                                  {"2015-01-03", 1},
                                  {"2015-01-02", 0},
                                  {"1969-12-31T23:59:59.5Z", 0}};
    const std::string times[] = {"2015-01-02T03:04:05.000+00:00", "2015-01-02T03:04:10.000+00:00"};
    for (const place_of_a_tag& each : all) {
        SCOPED_TRACE(each.time);
        const auto run = tag({"add", "a.kmr", each.time, "Gate"});
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out, "record " + std::to_string(each.record) + ", " + times[each.record] +
                               ": added Gate; 1 tag\n");
        EXPECT_EQ(content(), with_tag(each.record, "Gate", 1));
        EXPECT_TRUE(is_old(file_));
        EXPECT_THAT(names(), ElementsAre("a.kmr", "a.kmr.kmr-undo"));
        EXPECT_EQ(place_.kmr({"undo", "a.kmr"}).status, 0);
        EXPECT_EQ(content(), before_);
        EXPECT_TRUE(is_old(file_));
        EXPECT_THAT(names(), ElementsAre("a.kmr"));
    }
}

TEST_F(TagTest, TakesATimeWithoutAnOffsetForOneOfTheZoneThatIsShown) {
    const words east = {"TZ=CET-1"};
    EXPECT_THAT(tag({"add", "--dry-run", "a.kmr", "2015-01-02T04:04:10", "x"}, east).out,
                HasSubstr("record 1, 2015-01-02T04:04:10.000+01:00: added x; 1 tag"));
    EXPECT_THAT(tag({"add", "--dry-run", "--utc", "a.kmr", "2015-01-02T03:04:10", "x"}, east).out,
                HasSubstr("record 1, 2015-01-02T03:04:10.000+00:00: added x; 1 tag"));
}

TEST_F(TagTest, ReplacesChangesAndRemoves) {
    compose({"--tag", "0=Start", "--tag", "1=Door"});
    EXPECT_EQ(tag({"add", "a.kmr", "0:01", "Go"}).out,
              "record 0, 2015-01-02T03:04:05.000+00:00: Start is now Go; 2 tags\n");
    EXPECT_EQ(content(), with_tag(0, "Go", 2));
    EXPECT_EQ(tag({"change", "a.kmr", "0", "Begin"}).out,
              "record 0, 2015-01-02T03:04:05.000+00:00: Go is now Begin; 2 tags\n");
    EXPECT_EQ(content(), with_tag(0, "Begin", 2));
    EXPECT_EQ(tag({"remove", "a.kmr", "0"}).out,
              "record 0, 2015-01-02T03:04:05.000+00:00: removed Begin; 1 tag\n");
    EXPECT_EQ(content(), with_tag(0, "", 1));
    EXPECT_EQ(place_.kmr({"check", "a.kmr"}).status, 0);
    EXPECT_THAT(names(), ElementsAre("a.kmr", "a.kmr.kmr-undo"));
    for (const bytes& step : {with_tag(0, "Begin", 2), with_tag(0, "Go", 2), before_}) {
        EXPECT_EQ(place_.kmr({"undo", "a.kmr"}).status, 0);
        EXPECT_EQ(content(), step);
        EXPECT_TRUE(is_old(file_));
    }
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

TEST_F(TagTest, ChangesNothingInADryRun) {
    compose({"--tag", "1=Door"});
    const auto run = tag({"add", "--dry-run", "a.kmr", "0", "Gate"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "record 0, 2015-01-02T03:04:05.000+00:00: added Gate; 2 tags; a dry run: nothing was "
                       "written\n");
    EXPECT_EQ(tag({"remove", "--dry-run", "a.kmr", "1"}).status, 1);
    EXPECT_EQ(tag({"change", "--dry-run", "a.kmr", "1", "Door"}).status, 0); // nothing to do
    expect_refused({"remove", "--dry-run", "a.kmr", "0"}, "a.kmr: record 0 has no tag");
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

TEST_F(TagTest, WritesNothingWhereTheTagIsThatAlready) {
    compose({"--tag", "1=Door"});
    const auto run = tag({"change", "a.kmr", "1", "Door"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "record 1, 2015-01-02T03:04:10.000+00:00: already Door; 1 tag\n");
    EXPECT_EQ(content(), before_);
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

TEST_F(TagTest, KeepsNoUndoFileWhereNoneIsWanted) {
    EXPECT_EQ(tag({"add", "--no-undo", "a.kmr", "1", "Gate"}).status, 0);
    EXPECT_EQ(content(), with_tag(1, "Gate", 1));
    EXPECT_TRUE(is_old(file_));
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
    ASSERT_EQ(tag({"remove", "a.kmr", "1"}).status, 0);
    before_ = content();
    expect_refused({"add", "--no-undo", "a.kmr", "1", "x"},
                   "a.kmr: it has an undo file already, which would no longer fit: leave out --no-undo, or "
                   "move that file away");
    EXPECT_EQ(tag({"add", "--no-undo", "--dry-run", "a.kmr", "1", "x"}).status, 1);
}

// As a disk that is full.
TEST_F(TagTest, WritesNothingWhereThereIsNoRoomForTheUndoFile) {
    const auto run = place_.shell("ulimit -f 0; \"$1\" tag add a.kmr 0 x 2>&1 | cat; exit ${PIPESTATUS[0]}");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "kmr: a.kmr: File too large\n");
    EXPECT_EQ(content(), before_);
    EXPECT_TRUE(is_old(file_));
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

TEST_F(TagTest, TakesSixtyThreeBytesOfWholeCharacters) {
    const std::string most = std::string(60, 'a') + "\xE2\x82\xAC"; // the sign of the euro
    EXPECT_EQ(tag({"add", "a.kmr", "1", most}).status, 0);
    EXPECT_EQ(content(), with_tag(1, most, 1));
    EXPECT_EQ(content()[tag_at[1] + 63], 0);
    before_ = content();
    const std::string too_long = "a.kmr: the text is longer than the 63 bytes of a tag";
    expect_refused({"add", "a.kmr", "0", std::string(64, 'a')}, too_long);
    expect_refused({"change", "a.kmr", "1", std::string(61, 'a') + "\xE2\x82\xAC"}, too_long);
}

TEST_F(TagTest, RefusesTextThatIsNone) {
    expect_refused({"add", "a.kmr", "0", ""},
                   "a.kmr: the text of a tag cannot be empty (kmr tag remove takes one away)");
    expect_refused({"add", "a.kmr", "0", "caf\xE9"}, "a.kmr: the text is not UTF-8");
    expect_refused({"add", "a.kmr", "0", "\x1b[31m"}, "a.kmr: the text holds control characters");
    expect_refused({"add", "a.kmr", "0", "a\nb"}, "a.kmr: the text holds control characters");
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

TEST_F(TagTest, TakesAnyTextAndNameForWhatItIs) {
    for (const std::string text : {"[Gate]", "[a,b]", "./[a]", "{}", "%s", "a=b", "-", "add", "\xD7\xA9"}) {
        EXPECT_EQ(tag({"add", "a.kmr", "0", text}).status, 0) << text;
        EXPECT_EQ(content(), with_tag(0, text, 1)) << text;
    }
    EXPECT_EQ(tag({"add", "--utc", "--", "a.kmr", "0", "-x"}).status, 0);
    EXPECT_EQ(content(), with_tag(0, "-x", 1));
    EXPECT_EQ(tag({"--", "change", "a.kmr", "0", "--no-undo"}).status, 0);
    EXPECT_EQ(content(), with_tag(0, "--no-undo", 1));
    for (const std::string name : {"add", "change", "remove", "[a]", "tag"}) {
        place_.compose(name);
        EXPECT_EQ(tag({"add", name, "0", "Gate"}).status, 0) << name;
        EXPECT_THAT(tag({name}).out, HasSubstr("  Gate\n")) << name;
        EXPECT_EQ(tag({"remove", name, "0"}).status, 0) << name;
    }
    place_.compose("-x");
    EXPECT_EQ(tag({"add", "--", "-x", "0", "Gate"}).status, 0);
    EXPECT_THAT(tag({"--", "-x"}).out, HasSubstr("  Gate\n"));
}

TEST_F(TagTest, RefusesWhatIsNotThere) {
    expect_refused({"add", "a.kmr", "2", "x"}, "a.kmr: there is no record 2");
    expect_refused({"add", "a.kmr", "4294967296", "x"}, "a.kmr: there is no record 4294967296");
    expect_refused({"change", "a.kmr", "2", "x"}, "a.kmr: there is no record 2");
    expect_refused({"change", "a.kmr", "1", "x"}, "a.kmr: record 1 has no tag");
    expect_refused({"remove", "a.kmr", "0"}, "a.kmr: record 0 has no tag");
    expect_refused({"remove", "a.kmr", "4294967296"}, "4294967296: not the number of a record");
    expect_refused({"remove", "a.kmr", "0:01"}, "0:01: not the number of a record");
    expect_refused({"add", "a.kmr", "noon", "x"},
                   "noon: neither a record number nor a stream time (M:SS.mmm) nor a time (ISO 8601)");
    expect_refused({"add", "missing.kmr", "0", "x"}, "missing.kmr: No such file or directory");
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

TEST_F(TagTest, RefusesWordsThatMakeNoTask) {
    const std::string see = "\nkmr: see kmr tag --help";
    expect_refused({"add", "a.kmr"}, "tag add: too many words, or too few" + see);
    expect_refused({"add", "a.kmr", "0", "x", "y"}, "tag add: too many words, or too few" + see);
    expect_refused({"change", "a.kmr", "0"}, "tag change: too many words, or too few" + see);
    expect_refused({"remove", "a.kmr"}, "tag remove: too many words, or too few" + see);
    expect_refused({"a.kmr", "a.kmr"}, "a.kmr: neither add, change nor remove" + see);
    expect_refused({"add", "--json", "a.kmr", "0", "x"}, "--json is for the list alone");
    expect_refused({}, "WORD is required\nkmr: see kmr --help, or kmr COMMAND --help");
}

TEST_F(TagTest, SixtyFourAreTheMost) {
    words more = {"--frames", "65", "--i-interval", "1"};
    for (int i = 0; i < 64; ++i)
        more.insert(more.end(), {"--tag", std::to_string(i) + "=t"});
    compose(more);
    expect_refused({"add", "a.kmr", "64", "x"}, "a.kmr: 64 tags are there already");
    expect_refused({"add", "a.kmr", "2:00", "x"}, "a.kmr: 64 tags are there already");
    EXPECT_THAT(tag({"add", "a.kmr", "63", "x"}).out, HasSubstr(": t is now x; 64 tags\n"));
    EXPECT_THAT(tag({"remove", "a.kmr", "0"}).out, HasSubstr(": removed t; 63 tags\n"));
    EXPECT_THAT(tag({"add", "a.kmr", "64", "x"}).out, HasSubstr(": added x; 64 tags\n"));
    EXPECT_EQ(place_.kmr({"check", "a.kmr"}).status, 0);
}

TEST_F(TagTest, NeedsAWholeIndex) {
    const std::string why = "a.kmr: there is no whole index for tags to stand in (kmr repair makes one)";
    for (const words& damage : {words{"--no-index"}, words{"--no-trailer"}, words{"--truncate", "end-1"},
                                words{"--index-field", "RecordSize=81"}}) {
        compose(damage);
        expect_refused({"add", "a.kmr", "0", "x"}, why);
        expect_refused({"remove", "a.kmr", "0"}, why);
    }
    place_.folder().write_text("a.kmr", "no recording");
    make_old(file_);
    before_ = content();
    expect_refused({"add", "a.kmr", "0", "x"}, why);
    place_.folder().write_text("a.kmr", "");
    make_old(file_);
    before_ = content();
    expect_refused({"add", "a.kmr", "0", "x"}, why);
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

TEST_F(TagTest, ChangesNothingThroughLinksAndNothingThatIsNoFile) {
    std::filesystem::create_symlink("a.kmr", place_.folder().path() / "link.kmr");
    std::filesystem::create_directory(place_.folder().path() / "folder");
    expect_refused({"add", "link.kmr", "0", "x"},
                   "link.kmr: a symbolic link: name the file that it leads to");
    expect_refused({"add", "folder", "0", "x"}, "folder: not a regular file");
    expect_refused({"add", "/dev/null", "0", "x"}, "/dev/null: not a regular file");
    EXPECT_EQ(tag({"link.kmr"}).status, 0); // reading follows it
    EXPECT_THAT(names(), ElementsAre("a.kmr", "folder", "link.kmr"));
}

TEST_F(TagTest, IsAloneWithTheFile) {
    const int held = open(file_.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(held, LOCK_EX), 0);
    expect_refused({"add", "a.kmr", "0", "x"}, "a.kmr: another program is changing it");
    EXPECT_EQ(tag({"a.kmr"}).status, 0);
    EXPECT_EQ(tag({"add", "--dry-run", "a.kmr", "0", "x"}).status, 1);
    close(held);
    EXPECT_EQ(tag({"add", "a.kmr", "0", "x"}).status, 0);
}

TEST_F(TagTest, ChangesNothingThatMayNotBeWritten) {
    namespace fs = std::filesystem;
    const as_nobody other(place_);
    fs::permissions(file_, fs::perms(0444));
    EXPECT_EQ(other.kmr("tag add a.kmr 0 x").err, "kmr: a.kmr: Permission denied\n");
    EXPECT_EQ(other.kmr("tag add --dry-run a.kmr 0 x").status, 1);
    EXPECT_EQ(other.kmr("tag a.kmr").status, 0);
    fs::permissions(file_, fs::perms(0666)); // the folder has no room for an undo file
    const auto no_room = other.kmr("tag add a.kmr 0 x");
    EXPECT_EQ(no_room.status, 2);
    EXPECT_EQ(no_room.err, "kmr: a.kmr: Permission denied\n");
    EXPECT_EQ(content(), before_);
    EXPECT_THAT(names(), ElementsAre("a.kmr", "kmr"));
}

TEST_F(TagTest, TouchesNothingBesideAnInterruptedChangeOrATornUndoFile) {
    ASSERT_EQ(tag({"add", "a.kmr", "0", "x"}).status, 0);
    before_ = content();
    const std::string undo_file = file_ + ".kmr-undo";
    bytes undo = scratch::read_file(undo_file);
    const std::string changing = "changing"; // the state stands at 16
    std::copy(changing.begin(), changing.end(), undo.begin() + 16);
    place_.folder().write("a.kmr.kmr-undo", undo);
    for (const words& each : {words{"add", "a.kmr", "1", "y"}, words{"add", "--dry-run", "a.kmr", "1", "y"},
                              words{"add", "--no-undo", "a.kmr", "1", "y"}})
        expect_refused(each, "a.kmr: a change was interrupted: kmr undo takes it back");
    undo[40] ^= 1;
    place_.folder().write("a.kmr.kmr-undo", undo);
    expect_refused({"remove", "a.kmr", "0"}, "a.kmr: its undo file is damaged; nothing was written");
    EXPECT_EQ(scratch::read_file(undo_file), undo);
    std::filesystem::remove(undo_file);
    std::filesystem::create_symlink("other", undo_file);
    expect_refused({"remove", "a.kmr", "0"}, "a.kmr: its undo file is no regular file; nothing was written");
    EXPECT_THAT(names(), ElementsAre("a.kmr", "a.kmr.kmr-undo"));
}

TEST_F(TagTest, WantsNoReadOfAWholeRecording) {
    compose({"--frames", "5000"});
    const auto run = tag({"add", "a.kmr", "1:00:00", "x"}); // 1 hour of 1:23:19: record 720
    EXPECT_THAT(run.out, HasSubstr("record 720, 2015-01-02T04:04:05.000+00:00: added x"));
}

TEST_F(TagTest, ChangesH265EncryptedAndInsertedFramesAlike) {
    for (const words& kind : {words{"--codec", "h265"}, words{"--encrypt", "all"},
                              words{"--insert-after", "all"}, words{"--audio", "2x160"}}) {
        compose(kind);
        const int verdict = place_.kmr({"check", "a.kmr"}).status;
        EXPECT_THAT(tag({"add", "a.kmr", "0:05", "Gate"}).out,
                    HasSubstr("record 1, 2015-01-02T03:04:10.000+00:00: added Gate; 1 tag"));
        EXPECT_EQ(place_.kmr({"check", "a.kmr"}).status, verdict);
        EXPECT_EQ(place_.kmr({"undo", "a.kmr"}).status, 0);
        EXPECT_EQ(content(), before_);
    }
}

} // namespace
