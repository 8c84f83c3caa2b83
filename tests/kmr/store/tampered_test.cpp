// Databases that somebody has written into, or that are none of this program's any more.
#include "tests/kmr/store/store_fixture.hpp"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

namespace {

using kmr::store::result_store;
using kmr::store::store_error;
using recording::bytes;
using store_test::old_stamp;
using store_test::usual_cap;
using testing::ElementsAre;

class TamperedTest : public testing::Test, protected store_test::folder_with_database {
protected:
    void keep(const bytes& file) const {
        open().keep(folder.file("one.kmr"), old_stamp, scan_test::judge(file), usual_cap);
    }
    bool is_believed() const {
        return open().unchanged(folder.file("one.kmr"), old_stamp, usual_cap).has_value();
    }

    std::string refusal() const {
        try {
            open();
        } catch (const store_error& error) {
            return error.what();
        }
        return {};
    }

    void change(size_t offset, const bytes& to) const {
        bytes file = scratch::read_file(database());
        std::copy(to.begin(), to.end(), file.begin() + static_cast<std::ptrdiff_t>(offset));
        folder.write("results.db", file);
    }

    // Changes the text of a table behind SQLite's back.
    void change_schema(const std::string& from, const std::string& to) const {
        ask("PRAGMA writable_schema = ON; UPDATE sqlite_master SET sql = replace(sql, '" + from + "', '" +
            to + "')");
    }
};

class TamperedRowTest : public TamperedTest, public testing::WithParamInterface<const char*> {};

TEST_P(TamperedRowTest, IsReadAgain) {
    keep(store_test::torn_recording());
    ASSERT_TRUE(is_believed());
    ask(GetParam());
    EXPECT_FALSE(is_believed());
}

INSTANTIATE_TEST_SUITE_P(
    All, TamperedRowTest,
    testing::Values("UPDATE recordings SET verdict = 'fine'", "UPDATE recordings SET header = zeroblob(89)",
                    "UPDATE recordings SET header_state = 'good'", "UPDATE recordings SET size = 1373",
                    "UPDATE findings SET code = 'bytes-lost-for-ever'",
                    "UPDATE finding_counts SET code = 'bytes-lost-for-ever'",
                    "INSERT INTO finding_counts SELECT recording, 'bytes-lost-for-ever', 1 FROM findings",
                    "INSERT INTO finding_counts SELECT recording, 'frames-lost', 1 FROM findings",
                    "DELETE FROM finding_counts", "UPDATE recordings SET codes = 2",
                    "UPDATE recordings SET findings = 2", "UPDATE recordings SET modified_ns = NULL",
                    "UPDATE recordings SET judged_by = '0.9'"));

// No row of a file that could not be read to its end has a date. One that was given a date says what it says.
TEST_F(TamperedTest, TellsHowTheReadingEnded) {
    keep(store_test::sound_recording());
    using kmr::scan::end_state;
    EXPECT_EQ(open().unchanged(folder.file("one.kmr"), old_stamp, usual_cap)->ended, end_state::complete);
    ask("UPDATE recordings SET error = 5");
    const auto failed = open().unchanged(folder.file("one.kmr"), old_stamp, usual_cap);
    EXPECT_EQ(failed->ended, end_state::read_failed);
    EXPECT_EQ(failed->error, 5);
    ask("UPDATE recordings SET shrunk = 1, error = 0");
    EXPECT_EQ(open().unchanged(folder.file("one.kmr"), old_stamp, usual_cap)->ended, end_state::shrunk);
}

TEST_F(TamperedTest, IsRefusedWithoutItsSchemaVersion) {
    keep(store_test::sound_recording());
    change(60, {0, 0, 0, 0}); // big-endian, in the head
    EXPECT_EQ(refusal(), database() + ": damaged (schema 0)");
}

TEST_F(TamperedTest, IsRefusedWithoutASizeOfPages) {
    keep(store_test::sound_recording());
    change(16, {0, 3}); // no power of two
    EXPECT_EQ(refusal(), database() + ": damaged: file is not a database");
}

TEST_F(TamperedTest, IsRefusedWhereARowHoldsWhatItMayNot) {
    keep(store_test::sound_recording());
    change_schema("host TEXT NOT NULL,\n    path", "host TEXT,\n    path");
    ask("UPDATE recordings SET host = NULL");
    change_schema("host TEXT,\n    path", "host TEXT NOT NULL,\n    path");
    EXPECT_EQ(refusal(), database() + ": damaged: NULL value in recordings.host");
}

TEST_F(TamperedTest, IsRefusedWithOtherTables) {
    keep(store_test::sound_recording());
    ask("DROP INDEX findings_by_code");
    EXPECT_EQ(refusal(), database() + ": damaged: its tables are not those of kmr");
    const store_test::folder_with_database into;
    into.open("south").finish({});
    try {
        kmr::store::merge(into.database(), database());
        FAIL() << "it was taken";
    } catch (const store_error& error) {
        EXPECT_EQ(error.what(), database() + ": damaged: its tables are not those of kmr");
    }
    EXPECT_THAT(into.ask("SELECT count(*) FROM recordings"), ElementsAre("0"));
}

// What another process has written and not yet carried from its log into the file is there all the same.
TEST_F(TamperedTest, IsJoinedWhileSomebodyWritesIt) {
    const store_test::folder_with_database other;
    result_store writing = other.open("south");
    writing.keep("/rec/1", old_stamp, scan_test::judge(store_test::torn_recording()), usual_cap);
    ASSERT_TRUE(std::filesystem::exists(other.database() + "-wal"));
    open().finish({});
    EXPECT_EQ(kmr::store::merge(database(), other.database()), 1U);
    EXPECT_THAT(ask("SELECT host, code FROM recordings JOIN findings ON recording = id"),
                ElementsAre("south|bytes-torn"));
}

} // namespace
