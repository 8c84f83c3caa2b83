// kmr repair as a program: what it says, what it does, and what it refuses.
#include "tests/kmr/mend/mending.hpp"

#include <filesystem>
#include <gmock/gmock.h>
#include <unistd.h>

namespace {

using kmr_test::MendingTest;
using kmr_test::words;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

// Ten frames: I-frames of 132 bytes at 88 and 548, P-frames of 82; the index with two records stands at 1008 and takes
// 44 + 2 x 80 + 8 bytes.
class RepairTest : public MendingTest {
protected:
    void compose_hit(const std::string& name) const {
        compose(name, {"--zero", "frame3:32", "--tag", "1=gate"});
    }
};

// The header of a cover, and the 8 bytes of both counts: 9 frames are left of 10. Each is a place of the undo file with
// 16 bytes of its own, behind a head of 112.
constexpr char hit_plan[] = "a.kmr\n"
                            "  keeps         9 frames, 0:00:00.360\n"
                            "  cover         82 bytes at 384\n"
                            "  index         as it is, 2 records, 1 tag\n"
                            "  writes        40 bytes; size before 1220, after 1220\n"
                            "  undo file     184 bytes\n";

TEST_F(RepairTest, SaysWhatItWouldDo) {
    compose_hit("a.kmr");
    const auto before = state_of("a.kmr");
    for (const char* const option : {"--dry-run", "-n"}) {
        const auto run = kmr({"repair", option, "a.kmr"});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, hit_plan);
        EXPECT_EQ(run.err, "");
    }
    expect_state("a.kmr", before);
    EXPECT_THAT(files(), ElementsAre("a.kmr"));
}

TEST_F(RepairTest, MendsInPlaceAndKeepsTheDates) {
    compose_hit("a.kmr");
    auto expected = state_of("a.kmr");
    const auto run = kmr({"repair", "--yes", "a.kmr"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, hit_plan + std::string("  mended; kmr undo takes it back\n"));
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(files(), ElementsAre("a.kmr", "a.kmr.kmr-undo"));
    // The gap stays: the cover has the number and the stamp behind those of frame 3 (2: 1080 ms + 1).
    constexpr uint8_t cover[] = {0,    0, 0, 2, 82, 0, 0, 0, 1, 0, 0, 0, 3, 0, 0,    0,
                                 0x39, 4, 0, 0, 50, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x88, 0x77};
    std::copy(std::begin(cover), std::end(cover), expected.content.begin() + 384);
    expected.content[84] = 9;
    expect_state("a.kmr", expected);
    expect_mended("a.kmr");
}

TEST_F(RepairTest, WritesAnObjectForScripts) {
    compose_hit("a.kmr");
    const auto before = state_of("a.kmr");
    const std::string object = R"({"schema":"kmr.repair/1","path":"a.kmr","changes":true,"frames_kept":9,)"
                               R"("duration_ms":360,"regions":[{"action":"cover","offset":384,"length":82}],)"
                               R"("bytes_rewritten":40,"index_records":2,"tags_kept":1,"tags_lost":0,)"
                               R"("size_before":1220,"size_after":1220,"undo_bytes":184})"
                               "\n";
    for (const words& arguments :
         {words{"--json"}, words{"--json", "--dry-run"}, words{"--json", "-n", "-y"}}) {
        words all = {"repair", "a.kmr"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const auto run = kmr(all);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, object);
        EXPECT_EQ(run.err, "");
        expect_state("a.kmr", before);
    }
    const auto run = kmr({"repair", "--json", "--yes", "a.kmr"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, object);
    expect_mended("a.kmr");
    const auto nothing = kmr({"repair", "--json", "a.kmr"});
    EXPECT_EQ(nothing.status, 0);
    EXPECT_THAT(nothing.out, HasSubstr(R"("changes":false,"frames_kept":10,"duration_ms":360,"regions":[],)"
                                       R"("bytes_rewritten":0,)"));
}

// Cut 40 bytes behind frame 8, which ends at 926: those go, and the index of 212 bytes stands there.
TEST_F(RepairTest, WritesAnIndexWhereThereIsNone) {
    compose("a.kmr", {"--truncate", "frame9+40"});
    const auto run = kmr({"repair", "--dry-run", "a.kmr"});
    EXPECT_EQ(run.out, "a.kmr\n"
                       "  keeps         9 frames, 0:00:00.320\n"
                       "  cut           40 bytes at 926\n"
                       "  index         anew, 2 records, 0 tags\n"
                       "  writes        220 bytes; size before 966, after 1138\n"
                       "  undo file     192 bytes\n"
                       "  note          no index tells the time: those of the new index count from the date "
                       "in the header\n");
    EXPECT_EQ(kmr({"repair", "--yes", "a.kmr"}).status, 0);
    EXPECT_EQ(fs::file_size(place_.folder().path() / "a.kmr"), 1138U);
    expect_mended("a.kmr");
    const auto json = kmr({"repair", "--json", "a.kmr"});
    EXPECT_EQ(json.err, "");
}

TEST_F(RepairTest, SaysWhichTagsAreLost) {
    compose("a.kmr", {"--zero", "frame5:32", "--tag", "0=first", "--tag", "1=gate\x1b"});
    const auto run = kmr({"repair", "--dry-run", "a.kmr"});
    EXPECT_THAT(run.out, HasSubstr("  index         anew, 1 record, 1 tag kept, lost: 1\n"
                                   "  tag lost      2015-01-02T03:04:05.000+00:00  gate\\x1b\n"));
}

TEST_F(RepairTest, SaysWhatSomebodyOughtToKnow) {
    compose("back.kmr", {"--clock-jump", "5:-100", "--no-index"});
    EXPECT_THAT(
        kmr({"repair", "-n", "back.kmr"}).out,
        HasSubstr("  note          the clock runs back or leaps: readers go on there, but the recorder's "
                  "own repair would cut the recording\n"));
    compose("first.kmr", {"--no-index", "--zero", "frame0:32"});
    EXPECT_THAT(
        kmr({"repair", "-n", "first.kmr"}).out,
        HasSubstr("  note          no index tells the time, and the first frame is lost: the times of "
                  "the new index count from the date in the header, a guess\n"));
    compose("mute.kmr", {"--no-index", "--audio", "1x50", "--p-payload", "0"});
    const auto mute = kmr({"repair", "-n", "mute.kmr"});
    const std::string note =
        "8 frames have audio and no video: legal, but the viewer ends its report there\n";
    EXPECT_THAT(mute.out, HasSubstr("  note          " + note));
    const auto json = kmr({"repair", "--json", "mute.kmr"});
    EXPECT_THAT(json.err, HasSubstr("kmr: mute.kmr: " + note));
}

TEST_F(RepairTest, DoesNothingWhereNothingIsToBeDone) {
    compose("a.kmr");
    compose("lost.kmr", {"--lose", "3:2"}); // what was never recorded cannot be mended
    const auto before = state_of("a.kmr");
    for (const words& more : {words{"-n"}, words{"-y"}, words{}}) {
        words all = {"repair", "a.kmr", "lost.kmr"};
        all.insert(all.end(), more.begin(), more.end());
        const auto run = kmr(all);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out, "a.kmr: nothing to do\nlost.kmr: nothing to do\n");
    }
    expect_state("a.kmr", before);
    EXPECT_THAT(files(), ElementsAre("a.kmr", "lost.kmr"));
}

// Frames 4 (torn) to 10 go: three frames of 132 + 82 + 82 bytes stay and an index of 44 + 80 + 8 behind them. Cut off
// are 1220 - 384 bytes, kept in two places: what is overwritten and what lies behind the new end.
TEST_F(RepairTest, MendsLikeTheRecorder) {
    compose_hit("a.kmr");
    const auto before = state_of("a.kmr");
    const auto run = kmr({"repair", "--like-recorder", "--yes", "a.kmr"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "a.kmr\n"
                       "  keeps         3 frames, 0:00:00.080\n"
                       "  cut           836 bytes at 384\n"
                       "  index         anew, 1 record, 0 tags kept, lost: 1\n"
                       "  writes        132 bytes; size before 1220, after 516\n"
                       "  undo file     980 bytes\n"
                       "  note          6 whole frames behind the cut are lost, the first is number 5\n"
                       "  mended; kmr undo takes it back\n");
    EXPECT_EQ(fs::file_size(place_.folder().path() / "a.kmr"), 516U);
    EXPECT_EQ(kmr({"repair", "--like-recorder", "-n", "a.kmr"}).out, "a.kmr: nothing to do\n");
    EXPECT_EQ(kmr({"undo", "a.kmr"}).status, 0);
    expect_state("a.kmr", before);
}

TEST_F(RepairTest, DoesNotWhatTheRecorderDoesBeyond4GiB) {
    place_.folder().write_text("a.kmr", "");
    fs::resize_file(place_.folder().path() / "a.kmr", (uint64_t{1} << 32) + 1);
    const auto run = kmr({"repair", "--like-recorder", "-y", "a.kmr"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kmr: a.kmr: beyond 4 GiB the recorder's own repair cuts what it should keep\n");
}

TEST_F(RepairTest, WritesAMendedCopy) {
    compose_hit("a.kmr");
    compose_hit("same.kmr");
    const auto before = state_of("a.kmr");
    const auto run = kmr({"repair", "-o", "b.kmr", "a.kmr"});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, HasSubstr("  undo file     none\n  written to b.kmr\n"));
    expect_state("a.kmr", before);
    EXPECT_THAT(files(), ElementsAre("a.kmr", "b.kmr", "same.kmr"));
    ASSERT_EQ(kmr({"repair", "--yes", "same.kmr"}).status, 0);
    EXPECT_EQ(content_of("b.kmr"), content_of("same.kmr"));
    // Of a sound recording it is a plain copy.
    EXPECT_EQ(kmr({"repair", "-o", "c.kmr", "b.kmr"}).status, 0);
    EXPECT_EQ(content_of("c.kmr"), content_of("b.kmr"));
    EXPECT_EQ(kmr({"repair", "-n", "-o", "d.kmr", "a.kmr"}).status, 1);
    EXPECT_FALSE(fs::exists(place_.folder().path() / "d.kmr"));
}

TEST_F(RepairTest, WritesACopyOverNothingThatMatters) {
    compose_hit("a.kmr");
    compose("b.kmr");
    fs::create_hard_link(place_.folder().path() / "a.kmr", place_.folder().path() / "hard.kmr");
    fs::create_symlink("b.kmr", place_.folder().path() / "soft.kmr");
    const auto a = state_of("a.kmr");
    const auto b = state_of("b.kmr");
    const auto refused = [&](const words& more, const std::string& words_told) {
        words all = {"repair", "a.kmr"};
        all.insert(all.end(), more.begin(), more.end());
        const auto run = kmr(all);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.err, "kmr: " + words_told + "\n");
    };
    refused({"-o", "b.kmr"}, "b.kmr: is there already (--force replaces it)");
    for (const words& force : {words{}, words{"--force"}}) {
        const auto with = [&](const std::string& name) {
            words all = {"-o", name};
            all.insert(all.end(), force.begin(), force.end());
            return all;
        };
        refused(with("a.kmr"), "a.kmr: is the recording itself");
        refused(with("./a.kmr"), "./a.kmr: is the recording itself");
        refused(with("hard.kmr"), "hard.kmr: is the recording itself");
        refused(with("soft.kmr"), "soft.kmr: a symbolic link: nothing is written through it");
        refused(with("/dev/null"), "/dev/null: not a regular file");
        refused(with("no/b.kmr"), "no/b.kmr: No such file or directory");
    }
    expect_state("a.kmr", a);
    expect_state("b.kmr", b);
    EXPECT_THAT(files(), ElementsAre("a.kmr", "b.kmr", "hard.kmr", "soft.kmr"));
    EXPECT_EQ(kmr({"repair", "a.kmr", "--force", "-o", "b.kmr"}).status, 0);
    expect_mended("b.kmr");
}

TEST_F(RepairTest, RefusesWhatIsNoFile) {
    compose_hit("a.kmr");
    const auto before = state_of("a.kmr");
    fs::create_symlink("a.kmr", place_.folder().path() / "link.kmr");
    fs::create_directory(place_.folder().path() / "folder");
    ASSERT_EQ(place_.shell("mkfifo pipe").status, 0);
    const std::pair<const char*, const char*> all[] = {
        {"link.kmr", "a symbolic link: name the file that it leads to"},
        {"folder", "not a regular file"},
        {"pipe", "not a regular file"},
        {"/dev/null", "not a regular file"},
        {"missing.kmr", "No such file or directory"}};
    for (const auto& [name, words_told] : all)
        for (const words& how : {words{"repair", "--yes"}, words{"repair", "-n"}, words{"undo"}}) {
            words arguments = how;
            arguments.emplace_back(name);
            const auto run = kmr(arguments);
            EXPECT_EQ(run.status, 2);
            EXPECT_EQ(run.out, "");
            EXPECT_EQ(run.err, "kmr: " + std::string(name) + ": " + words_told + "\n");
        }
    expect_state("a.kmr", before);
    const auto json = kmr({"repair", "--json", "missing.kmr"});
    EXPECT_EQ(json.out, R"({"schema":"kmr.repair/1","path":"missing.kmr","changes":false,"frames_kept":null,)"
                        R"("duration_ms":null,"regions":[],"bytes_rewritten":null,"index_records":null,)"
                        R"("tags_kept":null,"tags_lost":null,"size_before":null,"size_after":null,)"
                        R"("undo_bytes":null})"
                        "\n");
}

TEST_F(RepairTest, RefusesWhatCannotBeMended) {
    place_.folder().write_text("notes.txt", "no recording");
    const auto notes = kmr({"repair", "-y", "notes.txt"});
    EXPECT_EQ(notes.status, 2);
    EXPECT_EQ(notes.err, "kmr: notes.txt: not a recording\n");
    compose("a.kmr", {"--zero", "0:88", "--no-index"}); // frames without parameter sets
    const auto blind = kmr({"repair", "-y", "a.kmr"});
    EXPECT_EQ(blind.status, 2);
    EXPECT_EQ(blind.err,
              "kmr: a.kmr: the file header is to be made anew, and nothing tells the size of the picture\n");
    EXPECT_THAT(files(), ElementsAre("a.kmr", "notes.txt"));
}

TEST_F(RepairTest, AsksNobodyWithoutATerminal) {
    compose_hit("a.kmr");
    const auto before = state_of("a.kmr");
    const auto run = kmr({"repair", "a.kmr"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, hit_plan);
    EXPECT_EQ(run.err, "kmr: a.kmr: nobody to ask: --yes mends without asking; nothing was written\n");
    expect_state("a.kmr", before);
    EXPECT_THAT(files(), ElementsAre("a.kmr"));
}

TEST_F(RepairTest, TellsTheHighestStatusOfAllFiles) {
    compose("sound.kmr");
    compose_hit("a.kmr");
    compose_hit("b.kmr");
    EXPECT_EQ(kmr({"repair", "-n", "sound.kmr", "a.kmr"}).status, 1);
    EXPECT_EQ(kmr({"repair", "-y", "a.kmr", "missing.kmr", "b.kmr"}).status, 2);
    expect_mended("a.kmr"); // what is wrong with one is no reason to leave the others
    expect_mended("b.kmr");
    for (const words& wrong : {words{}, words{"-o", "c.kmr", "a.kmr", "b.kmr"}, words{"--force", "a.kmr"},
                               words{"-o", "c.kmr", "--no-undo", "a.kmr"}, words{"-o", "", "a.kmr"}}) {
        words all = {"repair"};
        all.insert(all.end(), wrong.begin(), wrong.end());
        EXPECT_EQ(kmr(all).status, 2) << testing::PrintToString(wrong);
    }
    EXPECT_FALSE(fs::exists(place_.folder().path() / "c.kmr"));
}

TEST_F(RepairTest, LeavesAlreadyLockedFilesAlone) {
    compose_hit("a.kmr");
    const auto before = state_of("a.kmr");
    for (const std::string how : {"repair -y", "undo"}) {
        const auto run = place_.shell("flock a.kmr setsid -w \"$1\" " + how + " a.kmr");
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.err, "kmr: a.kmr: another program is changing it\n");
    }
    expect_state("a.kmr", before);
    EXPECT_THAT(files(), ElementsAre("a.kmr"));
}

TEST_F(RepairTest, OfManyAtOnceOneMends) {
    for (int round = 0; round < 10; ++round) {
        compose_hit("a.kmr");
        const auto before = state_of("a.kmr");
        const auto run =
            place_.shell("for i in 1 2 3 4; do \"$1\" repair -y a.kmr >out$i 2>err$i & done; wait; "
                         "grep -l mended out* | wc -l; cat err* | sort -u; rm out* err*");
        EXPECT_EQ(run.out.substr(0, 2), "1\n");
        const std::string said = run.out.substr(2); // those that came too late, or after it was done
        EXPECT_TRUE(said.empty() || said == "kmr: a.kmr: another program is changing it\n") << said;
        EXPECT_EQ(kmr({"undo", "a.kmr"}).status, 0);
        expect_state("a.kmr", before);
    }
}

// Whoever may do everything is somebody else for this one: a copy of the program runs as the user nobody.
TEST_F(RepairTest, WritesNothingWhereItMayNot) {
    compose_hit("d/a.kmr");
    compose_hit("shut.kmr");
    fs::copy_file(KMR, place_.folder().path() / "kmr");
    fs::permissions(place_.folder().path(), fs::perms(0755));
    fs::permissions(place_.folder().path() / "d/a.kmr", fs::perms(0666));
    fs::permissions(place_.folder().path() / "shut.kmr", fs::perms(0444));
    const bool root = geteuid() == 0;
    if (!root)
        fs::permissions(place_.folder().path() / "d", fs::perms(0555));
    const auto a = state_of("d/a.kmr");
    const auto shut = state_of("shut.kmr");
    const std::string as_nobody = root ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
    const auto run = place_.shell(as_nobody + "setsid -w ./kmr repair -y d/a.kmr shut.kmr");
    const auto told = place_.shell(as_nobody + "./kmr repair -n shut.kmr");
    fs::permissions(place_.folder().path() / "d", fs::perms(0755));
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kmr: d/a.kmr: not mended: Permission denied\nkmr: shut.kmr: Permission denied\n");
    EXPECT_EQ(told.status, 1) << told.err; // to look at it is enough for what it would do
    EXPECT_EQ(content_of("d/a.kmr"), a.content);
    EXPECT_EQ(content_of("shut.kmr"), shut.content);
    EXPECT_FALSE(fs::exists(place_.folder().path() / "d/a.kmr.kmr-undo"));
}

// A limit on the size of files is a disk without room: as many KiB as the recording may have.
TEST_F(RepairTest, StopsBeforeAnythingIsWrittenWhereTheUndoFileHasNoRoom) {
    compose("a.kmr", {"--frames", "100", "--payload", "5000", "--zero", "frame3:32"});
    const auto before = state_of("a.kmr");
    const auto run = place_.shell("ulimit -f 20; \"$1\" repair --like-recorder -y a.kmr");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kmr: a.kmr: not mended: File too large\n");
    expect_state("a.kmr", before);
    EXPECT_THAT(files(), ElementsAre("a.kmr"));
    const auto without = place_.shell("ulimit -f 20; \"$1\" repair --like-recorder --no-undo -y a.kmr");
    EXPECT_EQ(without.status, 0) << without.err;
    EXPECT_THAT(without.out, HasSubstr("  undo file     none\n"));
    EXPECT_THAT(without.out, HasSubstr("  mended\n"));
    EXPECT_THAT(files(), ElementsAre("a.kmr"));
    EXPECT_EQ(kmr({"undo", "a.kmr"}).err, "kmr: a.kmr: nothing to undo: there is no undo file\n");
}

TEST_F(RepairTest, LeavesNoHalfACopy) {
    compose("a.kmr", {"--frames", "100", "--payload", "5000", "--zero", "frame3:32"});
    const auto run = place_.shell("ulimit -f 20; \"$1\" repair -o b.kmr a.kmr");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kmr: b.kmr: File too large\n");
    EXPECT_THAT(files(), ElementsAre("a.kmr"));
}

TEST_F(RepairTest, SaysSoWhereStandardOutputIsFull) {
    compose_hit("a.kmr");
    const auto before = state_of("a.kmr");
    const auto run = place_.kmr({"repair", "-y", "a.kmr"}, {.stdout_path = "/dev/full"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kmr: standard output: No space left on device\n");
    expect_state("a.kmr", before); // what could not be told is not done
}

TEST_F(RepairTest, ReplacesWhatWasLeftOverOfAnUndoFile) {
    compose_hit("a.kmr");
    const auto before = state_of("a.kmr");
    place_.folder().write_text("a.kmr.kmr-undo-new", "left over");
    EXPECT_EQ(kmr({"repair", "-y", "a.kmr"}).status, 0);
    EXPECT_THAT(files(), ElementsAre("a.kmr", "a.kmr.kmr-undo"));
    EXPECT_EQ(kmr({"undo", "a.kmr"}).status, 0);
    expect_state("a.kmr", before);
}

TEST_F(RepairTest, TellsAboutItself) {
    const auto help = kmr({"repair", "--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* const each : {"--dry-run", "--json", "--yes", "--like-recorder", "--no-undo",
                                   "--output OUT", "--force", "Exit status: 0 mended, or nothing to do"})
        EXPECT_THAT(help.out, HasSubstr(each));
    EXPECT_THAT(help.out, Not(HasSubstr("0 sound")));
}

} // namespace
