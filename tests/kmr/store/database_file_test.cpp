// Which files are taken for a database, and what several processes and kills may do to one.
#include "tests/kmr/store/store_fixture.hpp"

#include <csignal>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using kmr::store::result_store;
using recording::bytes;
using store_test::old_stamp;
using store_test::usual_cap;
using testing::ElementsAre;
using testing::HasSubstr;

class DatabaseFileTest : public testing::Test, protected store_test::folder_with_database {
protected:
    void make() const {
        result_store store = open();
        store.keep(folder.file("1"), old_stamp, scan_test::judge(store_test::torn_recording()), usual_cap);
        store.finish({});
    }

    // Why the database is refused; empty: it is not. Nobody may have written into it then.
    std::string refusal() const {
        const bytes before = scratch::read_file(database());
        try {
            open();
        } catch (const kmr::store::store_error& error) {
            EXPECT_EQ(scratch::read_file(database()), before);
            EXPECT_THAT(error.what(), HasSubstr(database()));
            return error.what();
        }
        return {};
    }

    void change(size_t offset, const bytes& to) const {
        bytes file = scratch::read_file(database());
        for (size_t place = 0; place < to.size(); ++place)
            file.at(offset + place) = to[place];
        folder.write("results.db", file);
    }

    // Runs work in a process of its own.
    template <typename Work>
    static pid_t in_process(Work work) {
        const pid_t child = fork();
        if (child == 0) {
            try {
                work();
            } catch (const std::exception& error) {
                static_cast<void>(!write(STDERR_FILENO, error.what(), strlen(error.what())));
                _exit(1);
            }
            _exit(0);
        }
        return child;
    }

    static int status_of(pid_t child) {
        int status = -1;
        waitpid(child, &status, 0);
        return status;
    }

    void keep_many(const std::string& prefix, int count) const {
        const auto judged = scan_test::judge(store_test::torn_recording());
        result_store store = open();
        for (int i = 0; i < count; ++i)
            store.keep(folder.file(prefix + std::to_string(i)), old_stamp, judged, usual_cap);
        store.finish({});
    }
};

constexpr size_t version_offset = 60; // of the head of an SQLite file; numbers are big-endian
constexpr size_t application_offset = 68;

TEST_F(DatabaseFileTest, IsMadeWhereThereIsNone) {
    make();
    EXPECT_THAT(ask("PRAGMA user_version"), ElementsAre("1"));
    EXPECT_THAT(ask("PRAGMA application_id"), ElementsAre("1802334818")); // "kmrb"
    EXPECT_THAT(ask("PRAGMA journal_mode"), ElementsAre("wal"));
    EXPECT_THAT(ask("PRAGMA integrity_check"), ElementsAre("ok"));
    EXPECT_EQ(refusal(), "");
}

TEST_F(DatabaseFileTest, LeavesNothingBesideIt) {
    make();
    EXPECT_FALSE(std::filesystem::exists(database() + "-wal"));
    EXPECT_FALSE(std::filesystem::exists(database() + "-shm"));
}

TEST_F(DatabaseFileTest, RefusesOneOfANewerProgram) {
    make();
    change(version_offset, {0, 0, 0, 2});
    EXPECT_THAT(refusal(), HasSubstr("a database of a newer kmr (schema 2, this one knows 1)"));
}

TEST_F(DatabaseFileTest, RefusesOneOfAnotherProgram) {
    make();
    change(application_offset, {0, 0, 0, 0});
    EXPECT_THAT(refusal(), HasSubstr("a database of another program"));
}

TEST_F(DatabaseFileTest, RefusesWhatIsNone) {
    folder.write_text("results.db", "verdicts: all sound\n");
    EXPECT_THAT(refusal(), HasSubstr("not a database"));
    folder.write("results.db", {});
    EXPECT_THAT(refusal(), HasSubstr("not a database"));
    EXPECT_THROW(result_store(folder.path(), "north", "1"), kmr::store::store_error);
    EXPECT_THROW(result_store(folder.file("no/where.db"), "north", "1"), kmr::store::store_error);
}

TEST_F(DatabaseFileTest, RefusesOneThatIsCut) {
    make();
    const bytes whole = scratch::read_file(database());
    constexpr size_t page = 4096;
    for (size_t length = 0; length < whole.size(); length += page / 2) {
        folder.write("results.db", {whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)});
        EXPECT_NE(refusal(), "") << length;
    }
}

TEST_F(DatabaseFileTest, RefusesOneWithAPageOfAnother) {
    make();
    constexpr size_t page = 4096;
    const bytes whole = scratch::read_file(database());
    for (size_t offset = page; offset < whole.size(); offset += page) {
        folder.write("results.db", whole);
        change(offset, bytes(page, 0x5A));
        const std::string told = refusal();
        EXPECT_THAT(told, HasSubstr("damaged")) << offset;
        EXPECT_THAT(told, testing::Not(testing::AnyOf(HasSubstr("\n"), HasSubstr("***")))) << offset;
    }
}

// What no check can see changes an answer, never more than that.
TEST_F(DatabaseFileTest, OutlivesEveryByteThatIsWrong) {
    make();
    const bytes whole = scratch::read_file(database());
    constexpr size_t step = 397; // no divisor of a page
    for (size_t offset = 0; offset < whole.size(); offset += step) {
        bytes file = whole;
        file[offset] ^= 0xFF;
        folder.write("results.db", file);
        try {
            result_store store = open();
            store.unchanged(folder.file("1"), old_stamp, usual_cap);
            store.keep(folder.file("2"), old_stamp, scan_test::judge(store_test::sound_recording()),
                       usual_cap);
            store.finish({folder.path()});
        } catch (const kmr::store::store_error& error) {
            EXPECT_THAT(error.what(), HasSubstr(database()));
        }
        for (const char* const beside : {"-wal", "-shm", "-journal"})
            std::filesystem::remove(database() + beside);
    }
}

TEST_F(DatabaseFileTest, TakesWhatSeveralProcessesKeepAtOnce) {
    constexpr int each = 60;
    std::vector<pid_t> children;
    for (const char* const name : {"a", "b", "c", "d"})
        children.push_back(in_process([&] { keep_many(name, each); }));
    for (const pid_t child : children)
        EXPECT_EQ(status_of(child), 0);
    EXPECT_THAT(ask("SELECT count(*) FROM recordings"), ElementsAre("240"));
    EXPECT_THAT(ask("SELECT count(*) FROM findings"), ElementsAre("240"));
    EXPECT_THAT(ask("SELECT count(*), count(ended_ms), sum(read) FROM runs"), ElementsAre("4|4|240"));
    EXPECT_THAT(ask("PRAGMA integrity_check"), ElementsAre("ok"));
}

TEST_F(DatabaseFileTest, TakesWhatSeveralProcessesKeepOfTheSameFiles) {
    std::vector<pid_t> children;
    for (int i = 0; i < 4; ++i)
        children.push_back(in_process([&] { keep_many("same", 40); }));
    for (const pid_t child : children)
        EXPECT_EQ(status_of(child), 0);
    EXPECT_THAT(ask("SELECT count(*) FROM recordings"), ElementsAre("40"));
    EXPECT_THAT(ask("SELECT count(*) FROM findings"), ElementsAre("40"));
}

TEST_F(DatabaseFileTest, HoldsWholeRecordingsWheneverItIsKilled) {
    constexpr int kills = 40;
    constexpr useconds_t longest = 60000;
    for (int i = 0; i < kills; ++i) {
        const pid_t child = in_process([&] { keep_many(std::to_string(i) + "-", 100000); });
        usleep(static_cast<useconds_t>(i) * longest / kills);
        kill(child, SIGKILL);
        status_of(child);
        if (!std::filesystem::exists(database()))
            continue; // it was not made yet, and nothing else stands there
        ASSERT_EQ(refusal(), "");
        EXPECT_THAT(ask("SELECT count(*) FROM recordings WHERE "
                        "findings <> (SELECT count(*) FROM findings WHERE recording = id) OR "
                        "codes <> (SELECT count(*) FROM finding_counts WHERE recording = id)"),
                    ElementsAre("0"));
    }
    EXPECT_THAT(ask("PRAGMA integrity_check"), ElementsAre("ok"));
    EXPECT_THAT(ask("SELECT count(*) > 0 FROM recordings"), ElementsAre("1"));
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        EXPECT_THAT(entry.path().filename().string(), testing::StartsWith("results.db"));
}

TEST_F(DatabaseFileTest, JoinsThoseOfTwoMachines) {
    const store_test::folder_with_database other;
    {
        result_store store = open("north");
        store.keep("/rec/1", old_stamp, scan_test::judge(store_test::torn_recording()), usual_cap);
        store.finish({});
        result_store south = other.open("south");
        south.keep("/rec/1", old_stamp, scan_test::judge(store_test::wrong_index_recording()), usual_cap);
        south.finish({});
    }
    const bytes before = scratch::read_file(other.database());
    EXPECT_EQ(kmr::store::merge(database(), other.database()), 1U);
    EXPECT_EQ(kmr::store::merge(database(), other.database()), 0U); // nothing new
    EXPECT_EQ(scratch::read_file(other.database()), before);
    EXPECT_FALSE(std::filesystem::exists(other.database() + "-shm"));
    EXPECT_THAT(ask("SELECT host, code FROM recordings JOIN findings ON recording = id ORDER BY host"),
                ElementsAre("north|bytes-torn", "south|index-entry-wrong"));
    EXPECT_THAT(ask("SELECT host, read FROM runs ORDER BY host"), ElementsAre("north|1", "south|1"));
    // Later on the other machine knows better.
    other.open("south").keep("/rec/1", old_stamp, scan_test::judge(store_test::sound_recording()), usual_cap);
    EXPECT_EQ(kmr::store::merge(database(), other.database()), 1U);
    EXPECT_THAT(ask("SELECT host, verdict, findings FROM recordings ORDER BY host"),
                ElementsAre("north|damaged|1", "south|sound|0"));
    EXPECT_THAT(ask("SELECT count(*) FROM findings"), ElementsAre("1"));
}

TEST_F(DatabaseFileTest, KeepsItsChannelsWhenJoined) {
    const store_test::folder_with_database other;
    other.open("south").keep("/rec/1", old_stamp, scan_test::judge(store_test::sound_recording()), usual_cap);
    kmr::store::merge(database(), other.database());
    ask("UPDATE recordings SET channel = 3");
    other.ask("UPDATE recordings SET noted_ms = noted_ms + 1");
    EXPECT_EQ(kmr::store::merge(database(), other.database()), 1U);
    EXPECT_THAT(ask("SELECT channel FROM recordings"), ElementsAre("3"));
    // What is written there and noted is carried to where no channel is known.
    ask("UPDATE recordings SET channel = NULL");
    other.ask("UPDATE recordings SET channel = 4, noted_ms = noted_ms + 1");
    EXPECT_EQ(kmr::store::merge(database(), other.database()), 1U);
    EXPECT_THAT(ask("SELECT channel FROM recordings"), ElementsAre("4"));
}

// What is left of it.
bytes make_damaged(const store_test::folder_with_database& database) {
    {
        result_store store = database.open("south");
        store.keep("/rec/1", old_stamp, scan_test::judge(store_test::sound_recording()), usual_cap);
    }
    bytes cut = scratch::read_file(database.database());
    cut.resize(cut.size() / 2);
    database.folder.write("results.db", cut);
    return cut;
}

TEST_F(DatabaseFileTest, IsNotMadeForOneThatIsDamaged) {
    const store_test::folder_with_database other;
    make_damaged(other);
    EXPECT_THROW(kmr::store::merge(database(), other.database()), kmr::store::store_error);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(DatabaseFileTest, IsNotJoinedWithOneThatIsDamaged) {
    make();
    const store_test::folder_with_database other;
    const bytes cut = make_damaged(other);
    const bytes before = scratch::read_file(database());
    EXPECT_THROW(kmr::store::merge(database(), other.database()), kmr::store::store_error);
    EXPECT_EQ(scratch::read_file(database()), before);
    EXPECT_EQ(scratch::read_file(other.database()), cut);
}

} // namespace
