// What kmr tells a script: exit statuses, and where its words go.
#include "tests/kmr/program.hpp"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <span>
#include <unistd.h>

namespace {

using kmr_test::words;
using kmr_test::workplace;

struct wrong_usage {
    words arguments;
    std::string told;
};

class ExitStatusTest : public testing::Test {
protected:
    int status_of(const words& arguments) const { return place_.kmr(arguments).status; }

    void expect_refused(std::span<const wrong_usage> all) const {
        for (const wrong_usage& each : all) {
            const auto run = place_.kmr(each.arguments);
            EXPECT_EQ(run.status, 2);
            EXPECT_EQ(run.out, "");
            EXPECT_EQ(run.err, "kmr: " + each.told + "\nkmr: see kmr --help, or kmr COMMAND --help\n");
        }
    }

    workplace place_;
};

TEST_F(ExitStatusTest, OfEveryVerdict) {
    place_.compose("sound.kmr");
    place_.compose("unfinished.kmr", {"--no-index"});
    place_.compose("damaged.kmr", {"--zero", "frame3:32"});
    place_.folder().write_text("text.txt", "no recording");
    for (const std::string command : {"check", "show", "frames"}) {
        EXPECT_EQ(status_of({command, "sound.kmr"}), 0) << command;
        EXPECT_EQ(status_of({command, "unfinished.kmr"}), 1) << command;
        EXPECT_EQ(status_of({command, "damaged.kmr"}), 1) << command;
        EXPECT_EQ(status_of({command, "text.txt"}), 1) << command;
        const auto missing = place_.kmr({command, "missing.kmr"});
        EXPECT_EQ(missing.status, 2) << command;
        EXPECT_EQ(missing.err, "kmr: missing.kmr: No such file or directory\n") << command;
        const auto device = place_.kmr({command, "/dev/null"});
        EXPECT_EQ(device.status, 2) << command;
        EXPECT_EQ(device.err, "kmr: /dev/null: not a regular file\n") << command;
    }
}

TEST_F(ExitStatusTest, IsTheHighestOfAllFiles) {
    place_.compose("sound.kmr");
    place_.compose("damaged.kmr", {"--zero", "frame3:32"});
    EXPECT_EQ(status_of({"check", "damaged.kmr", "sound.kmr"}), 1);
    EXPECT_EQ(status_of({"check", "missing.kmr", "damaged.kmr", "sound.kmr"}), 2);
    EXPECT_EQ(status_of({"show", "missing.kmr", "damaged.kmr", "sound.kmr"}), 2);
}

TEST_F(ExitStatusTest, OfWrongUsageIs2) {
    place_.compose("sound.kmr");
    const words wrong[] = {{},
                           {"mend"},
                           {"check"},
                           {"show"},
                           {"frames"},
                           {"check", "--bogus", "sound.kmr"},
                           {"check", "-j", "0", "sound.kmr"},
                           {"check", "-j", "x", "sound.kmr"},
                           {"check", "--color", "sometimes", "sound.kmr"},
                           {"frames", "--format", "xml", "sound.kmr"},
                           {"frames", "--from", "yesterday", "sound.kmr"},
                           {"frames", "--type", "B", "sound.kmr"},
                           {"frames", "sound.kmr", "sound.kmr"}};
    for (const words& each : wrong) {
        const auto run = place_.kmr(each);
        EXPECT_EQ(run.status, 2) << testing::PrintToString(each);
        EXPECT_EQ(run.out, "") << testing::PrintToString(each);
        EXPECT_EQ(run.err.substr(0, 5), "kmr: ") << testing::PrintToString(each);
    }
}

TEST_F(ExitStatusTest, OfWrongUsageComesWithItsReason) {
    place_.compose("sound.kmr");
    const wrong_usage all[] = {
        {{}, "no command is given"},
        {{"chekc", "disk"}, "chekc: no such command"},
        {{"help"}, "help: no such command"},
        {{""}, "\"\": no such command"},
        {{"--bogus"}, "--bogus: no such option"},
        {{"check"}, "PATH is required"},
        {{"check", "--color", "bad", "sound.kmr"}, "--color: bad is none of auto, always, never"},
        {{"check", "--color", "1", "sound.kmr"}, "--color: 1 is none of auto, always, never"},
        {{"check", "sound.kmr", "--jobs"}, "--jobs: a value is missing"},
        {{"check", "sound.kmr", "--db"}, "--db: a value is missing"},
        {{"check", "--db", "", "sound.kmr"}, "--db: the value is empty"},
        {{"check", "--db=", "sound.kmr", "sound.kmr"}, "--db: the value is empty"},
        {{"check", "--db", "a.db", "--host", "", "sound.kmr"}, "--host: the value is empty"},
        {{"merge", "", "a.db"}, "DATABASE: the value is empty"},
        {{"merge", "a.db", ""}, "FROM: the value is empty"},
        {{"frames", "--type", "B", "sound.kmr"}, "--type: B is none of I, P"},
        {{"frames", "--format", "xml", "sound.kmr"}, "--format: xml is none of table, csv, json"},
        {{"frames", "sound.kmr", "--gaps", "other.kmr"}, "other.kmr: one argument too many"},
        {{"frames", "sound.kmr", ""}, "\"\": one argument too many"},
        {{"frames", "sound.kmr", "--", "-x"}, "./-x: one argument too many"},
        {{"check", "--bogus=1"}, "--bogus: no such option"},
        {{"check", "--jobs", "1", "-j2", "sound.kmr"}, "--jobs: given more than once"}};
    expect_refused(all);
    const auto entries = std::filesystem::directory_iterator(place_.folder().path());
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1); // and nothing was made
}

// What a variable of a script leaves that was not set.
TEST_F(ExitStatusTest, OfAnOptionWithAnEmptyValueIs2) {
    place_.compose("sound.kmr");
    std::vector<wrong_usage> all;
    const words options[] = {
        {"check", "--jobs"},     {"check", "--color"},   {"frames", "--format"},       {"frames", "--type"},
        {"frames", "--from"},    {"frames", "--to"},     {"query", "--channel"},       {"query", "--kind"},
        {"query", "--from"},     {"query", "--to"},      {"extract", "--audio"},       {"copy", "--from"},
        {"extract", "--output"}, {"report", "--output"}, {"plot", "--output"},         {"plot", "--width"},
        {"plot", "--height"},    {"repair", "--output"}, {"extract", "--close-pauses"}};
    for (const words& each : options) {
        const std::string told = each[1] + ": the value is empty";
        all.push_back({{each[0], "sound.kmr", each[1] + "="}, told});
        all.push_back({{each[0], "sound.kmr", each[1], ""}, told});
    }
    all.push_back({{"report", "sound.kmr", "--video="}, "--video: the value is empty"});
    expect_refused(all);
}

TEST_F(ExitStatusTest, OfANumberThatIsNoneIs2) {
    place_.compose("sound.kmr");
    const wrong_usage all[] = {
        {{"check", "sound.kmr", "-j", "0"}, "--jobs: 0 is no number of files from 1 to 1024"},
        {{"check", "sound.kmr", "-j", "1x"}, "--jobs: 1x is no number of files from 1 to 1024"},
        {{"query", "Index.dat", "--kind", "0x10"}, "--kind: 0x10 is no number from 0 to 254"},
        {{"query", "Index.dat", "--channel", "255"}, "--channel: 255 is no number from 0 to 254"},
        {{"plot", "sound.kmr", "-o", "a.svg", "--width", "99999999999999999999"},
         "--width: 99999999999999999999 is no number of pixels from 640 to 4096"},
        {{"extract", "sound.kmr", "-o", "a.mp4", "--close-pauses", "nan"},
         "--close-pauses: nan is no number of seconds from 0 to 2147483"}};
    expect_refused(all);
}

TEST_F(ExitStatusTest, OfAFlagWithAValueIs2) {
    place_.compose("sound.kmr");
    const wrong_usage all[] = {{{"check", "sound.kmr", "--json=no"}, "--json: takes no value"},
                               {{"check", "sound.kmr", "--json="}, "--json: takes no value"},
                               {{"copy", "sound.kmr", "b.kmr", "--force=0"}, "--force: takes no value"},
                               {{"check", "--help="}, "--help: takes no value"},
                               {{"--version="}, "--version: takes no value"}};
    expect_refused(all);
}

TEST_F(ExitStatusTest, OfAnEmptyNameIs2) {
    place_.compose("sound.kmr");
    const std::string no_file = "kmr: \"\": No such file or directory\n";
    const wrong_usage all[] = {{{"frames", ""}, no_file},
                               {{"check", "", "sound.kmr"}, no_file},
                               {{"show", ""}, no_file},
                               {{"ls", ""}, no_file}};
    for (const wrong_usage& each : all) {
        const auto run = place_.kmr(each.arguments);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.err, each.told);
    }
}

TEST_F(ExitStatusTest, OfHelpAndVersionIs0) {
    const auto version = place_.kmr({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, "kmr " KMR_VERSION "\n");
    const auto help = place_.kmr({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    EXPECT_NE(help.out.find("\nUsage: kmr COMMAND [OPTION...] ...\n"), std::string::npos) << help.out;
    for (const std::string command : {"check", "show", "frames"}) {
        EXPECT_NE(help.out.find("\n  " + command), std::string::npos) << help.out;
        const auto more = place_.kmr({command, "--help"});
        EXPECT_EQ(more.status, 0);
        EXPECT_NE(more.out.find("Examples:\n  kmr " + command), std::string::npos) << more.out;
    }
}

// Names that a parser of arguments may take for something else.
TEST_F(ExitStatusTest, KnowsAnyNameForAName) {
    for (const char* const name : {"check", "[a,b]", "{}", "%%", "a=b", "12", "-x"})
        place_.compose(name);
    const auto run = place_.kmr({"check", "check", "[a,b]", "{}", "%%", "a=b", "12", "--", "-x"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("7 files: 7 sound"), std::string::npos) << run.out;
}

// Whoever may do everything is somebody else for this one: a copy of the program runs as the user nobody.
TEST_F(ExitStatusTest, OfWhatMayNotBeReadIs2) {
    place_.compose("d/sub/locked.kmr");
    place_.compose("d/open.kmr");
    place_.compose("d/shut.kmr");
    namespace fs = std::filesystem;
    fs::copy_file(KMR, place_.folder().path() / "kmr");
    fs::permissions(place_.folder().path(), fs::perms(0755));
    fs::permissions(place_.folder().path() / "d/shut.kmr", fs::perms::none);
    fs::permissions(place_.folder().path() / "d/sub", fs::perms::none);
    const std::string as_nobody = geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
    const auto run = place_.shell(as_nobody + "./kmr check d");
    fs::permissions(place_.folder().path() / "d/sub", fs::perms::owner_all);
    EXPECT_EQ(run.status, 2) << run.err;
    EXPECT_EQ(run.err, "kmr: d/shut.kmr: Permission denied\nkmr: d/sub: Permission denied\n");
    EXPECT_NE(run.out.find("3 files: 1 sound, 2 unreadable"), std::string::npos) << run.out;
}

TEST_F(ExitStatusTest, OfAFullDiskIs2) {
    place_.compose("sound.kmr");
    const words runs[] = {{"check", "sound.kmr"},
                          {"show", "sound.kmr"},
                          {"frames", "sound.kmr"},
                          {"--help"},
                          {"check", "--help"}};
    for (const words& each : runs) {
        const auto run = place_.kmr(each, {.stdout_path = "/dev/full"});
        EXPECT_EQ(run.status, 2) << testing::PrintToString(each);
        EXPECT_EQ(run.err, "kmr: standard output: No space left on device\n");
    }
}

// Which would end the program by a signal, without a word.
TEST_F(ExitStatusTest, OfALimitOnTheSizeOfFilesIs2) {
    place_.compose("long.kmr", {"--frames", "500"});
    const words runs[] = {
        {"frames", "long.kmr"}, {"extract", "long.kmr", "-o", "-"}, {"plot", "long.kmr", "-o", "-"}};
    for (const words& each : runs) {
        const auto run = place_.shell("ulimit -f 4; \"$@\" 2>&1 >out | cat; exit ${PIPESTATUS[0]}", each);
        EXPECT_EQ(run.status, 2) << testing::PrintToString(each);
        EXPECT_EQ(run.out, "kmr: standard output: File too large\n");
    }
}

TEST_F(ExitStatusTest, OfAClosedStandardOutputIs2) {
    place_.compose("sound.kmr");
    const auto run = place_.shell("\"$1\" check sound.kmr >&-");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kmr: standard output: Bad file descriptor\n");
}

TEST_F(ExitStatusTest, OfAReaderThatIsGoneIsItsSignal) {
    place_.compose("long.kmr", {"--frames", "5000"});
    const auto run = place_.shell("\"$1\" frames long.kmr | head -c 1 >head; exit ${PIPESTATUS[0]}");
    EXPECT_EQ(run.status, 128 + SIGPIPE);
    EXPECT_EQ(run.err, "");
    const auto ignored =
        place_.shell("trap '' PIPE; \"$1\" frames long.kmr | head -c 1 >head; exit ${PIPESTATUS[0]}");
    EXPECT_EQ(ignored.status, 128 + SIGPIPE);
    EXPECT_EQ(ignored.err, "");
}

// Long work in a file that takes no room. What a shell starts behind its back ignores interrupts, unless it has job control.
TEST_F(ExitStatusTest, OfAnInterruptIsItsSignal) {
    place_.folder().write_text("zeros", "");
    std::filesystem::resize_file(place_.folder().path() / "zeros", uint64_t{1} << 40);
    for (const std::string jobs : {"1", "8"}) {
        const auto begun = std::chrono::steady_clock::now();
        const auto run = place_.shell("set -m; \"$1\" check -j \"$2\" zeros >said 2>&1 & sleep 0.2; "
                                      "kill -INT $!; wait $!; status=$?; cat said; exit $status",
                                      {jobs});
        EXPECT_EQ(run.status, 128 + SIGINT);
        EXPECT_EQ(run.out, "");
        EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(10));
    }
}

TEST_F(ExitStatusTest, LeavesNothingBehind) {
    place_.compose("sound.kmr");
    const auto before = scratch::read_file(place_.folder().path() / "sound.kmr");
    status_of({"check", "-v", "."});
    status_of({"show", "sound.kmr"});
    status_of({"frames", "sound.kmr"});
    EXPECT_EQ(scratch::read_file(place_.folder().path() / "sound.kmr"), before);
    const auto entries = std::filesystem::directory_iterator(place_.folder().path());
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

} // namespace
