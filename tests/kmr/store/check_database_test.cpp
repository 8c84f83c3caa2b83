// kmr check --db as a program: the same bytes without reading, and what is read again.
#include "tests/kmr/store/store_fixture.hpp"
#include "tests/support/run_program.hpp"

#include <array>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using testing::ElementsAre;

using arguments = std::vector<std::string>;

class CheckDatabaseTest : public testing::Test, protected store_test::folder_with_database {
protected:
    void SetUp() override {
        add("a/sound.kmr", store_test::sound_recording());
        add("a/torn.kmr", store_test::torn_recording());
        add("a/wrong\xFFindex.kmr", store_test::wrong_index_recording());
        add("b/unfinished.kmr", store_test::unfinished_recording());
        add("b/many.kmr", store_test::many_findings_recording(150));
        add("b/note.txt", {'n', 'o', 't', 'e'});
        add("b/empty", {});
    }

    // Written long ago: what was written just now is read again.
    void add(const std::string& name, const recording::bytes& content, int64_t second = 1577836800) const {
        const std::string path = folder.write("rec/" + name, content);
        const timespec times[] = {{.tv_sec = second, .tv_nsec = 123456789},
                                  {.tv_sec = second, .tv_nsec = 123456789}};
        utimensat(AT_FDCWD, path.c_str(), times, 0);
    }

    run::result check(arguments with, bool keep = true) const {
        with.insert(with.begin(), "check");
        if (keep)
            with.insert(with.end(), {"--db", database()});
        return run::program(KMR, with, {.directory = folder.path(), .environment = {"TZ=CET-1"}});
    }

    // How many files were read by the latest run.
    std::string read_by_latest() const {
        return ask("SELECT recordings || ' ' || read || ' ' || gone FROM runs ORDER BY started_ms DESC LIMIT "
                   "1")
            .front();
    }
};

class SameBytesTest : public CheckDatabaseTest, public testing::WithParamInterface<arguments> {};

TEST_P(SameBytesTest, ComeFromTheDatabase) {
    const run::result without = check(GetParam(), false);
    const run::result first = check(GetParam());
    EXPECT_EQ(read_by_latest(), "7 7 0");
    const run::result second = check(GetParam());
    EXPECT_EQ(read_by_latest(), "7 0 0");
    for (const run::result& each : {first, second}) {
        EXPECT_EQ(each.out, without.out);
        EXPECT_EQ(each.err, without.err);
        EXPECT_EQ(each.status, without.status);
    }
}

INSTANTIATE_TEST_SUITE_P(All, SameBytesTest,
                         testing::Values(arguments{"rec"}, arguments{"-v", "rec"}, arguments{"--json", "rec"},
                                         arguments{"--json", "--utc", "rec"},
                                         arguments{"-v", "--all-findings", "rec"},
                                         arguments{"--strict", "rec"}, arguments{"-j", "4", "--json", "rec"},
                                         arguments{"--color", "always", "rec"}));

TEST_F(CheckDatabaseTest, GivesOneRunWhatAnotherRead) {
    check({"rec"});
    for (const arguments& each :
         {arguments{"-v", "rec"}, arguments{"--json", "./rec/../rec"}, arguments{"--strict", "rec"}}) {
        EXPECT_EQ(check(each).out, check(each, false).out);
        EXPECT_EQ(read_by_latest(), "7 0 0");
    }
    EXPECT_EQ(check({"-v", "--all-findings", "rec"}).out, check({"-v", "--all-findings", "rec"}, false).out);
    EXPECT_EQ(read_by_latest(), "7 1 0"); // the one with 150 of a code
}

TEST_F(CheckDatabaseTest, ReadsNothingThatHasNotChanged) {
    const run::result first = check({"rec"});
    // Other bytes under the same size and date: the line is that of the ones that were read.
    add("a/sound.kmr", recording::bytes(store_test::sound_recording().size(), 0));
    EXPECT_EQ(check({"rec"}).out, first.out);
    EXPECT_EQ(read_by_latest(), "7 0 0");
    EXPECT_NE(check({"--recheck", "rec"}).out, first.out);
    EXPECT_EQ(read_by_latest(), "7 7 0");
}

// Sees who opens or reads a file, whichever process it is.
class watch {
public:
    watch() : queue_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}
    ~watch() { close(queue_); }
    watch(const watch&) = delete;
    watch& operator=(const watch&) = delete;

    void add(const std::string& path) {
        const int number = inotify_add_watch(queue_, path.c_str(), IN_OPEN | IN_ACCESS);
        ASSERT_GE(number, 0) << path;
        paths_[number] = path;
    }

    // The files that were touched since the last call.
    std::set<std::string> touched() const {
        std::set<std::string> names;
        alignas(inotify_event) std::array<char, 65536> buffer = {};
        for (ssize_t length = 0; (length = read(queue_, buffer.data(), buffer.size())) > 0;)
            for (size_t at = 0; at < static_cast<size_t>(length);) {
                inotify_event event = {};
                std::memcpy(&event, buffer.data() + at, sizeof event);
                names.insert(paths_.at(event.wd));
                at += sizeof event + event.len;
            }
        return names;
    }

private:
    int queue_;
    std::map<int, std::string> paths_ = {};
};

TEST_F(CheckDatabaseTest, OpensNothingThatHasNotChanged) {
    std::set<std::string> recordings;
    watch files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.file("rec")))
        if (entry.is_regular_file()) {
            recordings.insert(entry.path().string());
            files.add(entry.path().string());
        }
    ASSERT_EQ(recordings.size(), 7U);
    const run::result first = check({"rec"});
    EXPECT_EQ(files.touched(), recordings);
    for (const arguments& each :
         {arguments{"rec"}, arguments{"--json", "rec"}, arguments{"-j", "4", "-v", "rec"}})
        check(each);
    EXPECT_EQ(check({"rec"}).out, first.out);
    EXPECT_THAT(files.touched(), testing::IsEmpty());
    check({"--recheck", "rec"});
    EXPECT_EQ(files.touched(), recordings);
}

TEST_F(CheckDatabaseTest, ReadsWhatHasChanged) {
    check({"rec"});
    add("a/sound.kmr", store_test::torn_recording(), 1577836801);
    add("a/new.kmr", store_test::sound_recording());
    std::filesystem::remove(folder.file("rec/b/many.kmr"));
    const run::result result = check({"rec"});
    EXPECT_EQ(result.out, check({"rec"}, false).out);
    EXPECT_EQ(read_by_latest(), "7 2 1");
    EXPECT_THAT(ask("SELECT name FROM recordings WHERE gone_ms IS NOT NULL"), ElementsAre("many.kmr"));
}

TEST_F(CheckDatabaseTest, LeavesItselfOut) {
    folder.write_text("results.db-note", "not of the database");
    const run::result first = check({"."});
    EXPECT_THAT(ask("SELECT count(*) FROM recordings"), ElementsAre("8"));
    EXPECT_EQ(check({"."}).out, first.out);
}

TEST_F(CheckDatabaseTest, MarksANamedFileThatIsGone) {
    check({"rec"});
    std::filesystem::remove(folder.file("rec/a/sound.kmr"));
    EXPECT_EQ(check({"rec/a/sound.kmr"}).status, 2);
    EXPECT_THAT(ask("SELECT name, verdict FROM recordings WHERE gone_ms IS NOT NULL"),
                ElementsAre("sound.kmr|sound"));
}

TEST_F(CheckDatabaseTest, RefusesADatabaseBeforeItReads) {
    folder.write_text("results.db", "no database");
    const run::result result = check({"rec"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "kmr: " + database() + ": not a database\n");
    EXPECT_EQ(scratch::read_text(database()), "no database");
}

// A disk that is full for the database alone: no file may grow beyond 100 KiB, and nobody dies of trying.
TEST_F(CheckDatabaseTest, PrintsWhatItJudgedBeforeTheDatabaseFailed) {
    for (int i = 0; i < 40; ++i)
        add("c/" + std::to_string(i) + ".kmr", store_test::torn_recording());
    std::filesystem::create_directory(folder.file("empty"));
    const std::string all = check({"rec"}, false).out;
    for (const std::string jobs : {"1", "4"}) {
        const std::string name = "of" + jobs + ".db";
        const run::options how = {.directory = folder.path(), .environment = {"TZ=CET-1"}};
        ASSERT_EQ(run::program(KMR, {"check", "--db", name, "empty"}, how).status, 0); // makes it
        const run::result full = run::program(
            "/bin/bash",
            {"-c", "ulimit -f 100; exec \"$0\" check -j \"$1\" --db \"$2\" rec", KMR, jobs, name}, how);
        EXPECT_EQ(full.status, 2);
        EXPECT_THAT(full.err, testing::StartsWith("kmr: " + name + ": "));
        // Of several threads the one with the first recording may be the one that finds no room.
        EXPECT_TRUE(full.out.ends_with('\n') || (jobs == "4" && full.out.empty())) << full.out;
        EXPECT_LT(full.out.size(), all.size());
        EXPECT_EQ(full.out, all.substr(0, full.out.size()));
    }
}

// SQLite would take the first for a database in memory, the second for a name with parameters.
TEST_F(CheckDatabaseTest, TakesAnyNameForAFile) {
    for (const std::string name : {":memory:", "file:q.db?mode=ro", "file:q.db"}) {
        const run::result result =
            run::program(KMR, {"check", "--db", name, "rec/a/sound.kmr"}, {.directory = folder.path()});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_GT(std::filesystem::file_size(folder.file(name)), 4096U) << name;
        EXPECT_FALSE(std::filesystem::exists(folder.file("q.db")));
        const run::result joined =
            run::program(KMR, {"merge", "results.db", name}, {.directory = folder.path()});
        EXPECT_EQ(joined.status, 0) << joined.err;
    }
}

// Whoever knows the channel writes it there; another reading of the file does not.
TEST_F(CheckDatabaseTest, KeepsTheChannelThatSomebodyWrote) {
    check({"--host", "north", "rec/a"});
    ask("UPDATE recordings SET channel = 3 WHERE name = 'sound.kmr'");
    check({"--host", "north", "--recheck", "rec/a"});
    EXPECT_THAT(ask("SELECT name, channel FROM recordings WHERE name <> x'' AND typeof(name) = 'text' "
                    "ORDER BY name"),
                ElementsAre("sound.kmr|3", "torn.kmr|-"));
}

TEST_F(CheckDatabaseTest, TakesTheNameOfTheMachine) {
    check({"--host", "recorder 7", "rec"});
    EXPECT_THAT(ask("SELECT DISTINCT host FROM recordings"), ElementsAre("recorder 7"));
    EXPECT_EQ(check({"--host", "recorder 7", "rec"}, false).status,
              2); // without --db there is nothing to name
    EXPECT_EQ(check({"--recheck", "rec"}, false).status, 2);
}

} // namespace
