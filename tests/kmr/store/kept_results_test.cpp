// Judging with a memory: what belongs to the database itself, and what is not worth keeping.
#include "kmr/check/kept_results.hpp"
#include "tests/kmr/store/store_fixture.hpp"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using kmr::program::judged_file;
using kmr::program::kept_results;
using kmr::program::kept_results_options;
using kmr::scan::verdict;

class KeptResultsTest : public testing::Test, protected store_test::folder_with_database {
protected:
    kept_results_options options(bool read_all = false) const {
        return {.database = database(), .host = "north", .read_all = read_all};
    }
};

// SQLite makes and removes them as it likes, also between the listing of their folder and this question.
TEST_F(KeptResultsTest, FilesOfTheDatabaseAreItsOwnWhetherTheyAreThereOrNot) {
    const kept_results kept(options());
    fs::create_directory(folder.path() / "sub");
    fs::create_directory_symlink("sub", folder.path() / "link");
    for (const char* const beside : {"", "-wal", "-shm", "-journal"}) {
        EXPECT_TRUE(kept.is_own(database() + beside)) << beside;
        EXPECT_TRUE(kept.is_own(folder.file("sub/../results.db") + beside)) << beside;
        EXPECT_TRUE(kept.is_own(folder.file("link/../results.db") + beside)) << beside;
        EXPECT_FALSE(kept.is_own(folder.file("sub/results.db") + beside)) << beside;
    }
    fs::remove(database());
    EXPECT_TRUE(kept.is_own(database()));
    EXPECT_TRUE(kept.is_own(folder.file("sub/../results.db-journal")));
    EXPECT_FALSE(kept.is_own(database() + "-new"));
    EXPECT_FALSE(kept.is_own(folder.file("a.kmr")));
    EXPECT_FALSE(kept_results(kept_results_options()).is_own(database()));
}

// Ends the scan at once, or lets it run.
class ending final : public kmr::scan::observer {
public:
    explicit ending(bool at_once) : at_once_(at_once) {}
    bool go_on(uint64_t) override { return !at_once_; }

private:
    bool at_once_;
};

TEST_F(KeptResultsTest, WhatWasCutShortIsNotKept) {
    const std::string path = folder.write("a.kmr", store_test::sound_recording());
    fs::last_write_time(path, fs::file_time_type() - std::chrono::hours(24 * 365)); // not just now
    kept_results kept(options());
    ending cut_short(true);
    kept.judge({.path = path}, {}, cut_short);
    EXPECT_EQ(ask("SELECT count(*) FROM recordings").front(), "0");
    ending to_the_end(false);
    EXPECT_EQ(kept.judge({.path = path}, {}, to_the_end).judged.judged, verdict::sound);
    EXPECT_EQ(ask("SELECT count(*) FROM recordings").front(), "1");
}

// A folder that could not be listed stands among the files with its error. What the database knows of the place is no
// reason to say that all is well.
TEST_F(KeptResultsTest, WhatCouldNotBeListedIsNotTakenFromTheDatabase) {
    const std::string path = folder.write("a.kmr", store_test::sound_recording());
    fs::last_write_time(path, fs::file_time_type() - std::chrono::hours(24 * 365));
    kept_results kept(options());
    ending never(false);
    kept.judge({.path = path}, {}, never);
    const judged_file refused = kept.judge({.path = path, .error = EACCES}, {}, never);
    EXPECT_EQ(refused.judged.judged, verdict::unreadable);
    EXPECT_EQ(refused.problem, "Permission denied");
}

} // namespace
