// Names, dates and folders that are out of the ordinary.
#include "tests/kmr/store/store_fixture.hpp"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using kmr::store::file_stamp;
using kmr::store::result_store;
using store_test::old_stamp;
using store_test::usual_cap;
using testing::ElementsAre;
using testing::HasSubstr;

class PlacesTest : public testing::Test, protected store_test::folder_with_database {
protected:
    void keep(const std::string& path) const {
        open().keep(path, old_stamp, scan_test::judge(store_test::sound_recording()), usual_cap);
    }
};

TEST_F(PlacesTest, AHostHasANameThatIsText) {
    for (const std::string name : {"", "north\xFF"})
        try {
            open(name);
            ADD_FAILURE() << "it was taken";
        } catch (const kmr::store::store_error& error) {
            EXPECT_THAT(error.what(), HasSubstr("the name of the host is no text"));
        }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

// The clock of a machine may be wrong by years: such a date does not move when the file is written again just now.
TEST_F(PlacesTest, ADateInTheFutureIsAsGoodAsOneLongAgo) {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const file_stamp later = {.size = 1372, .modified_ns = (now.tv_sec + 3600) * 1000000000};
    open().keep(folder.file("one.kmr"), later, scan_test::judge(store_test::sound_recording()), usual_cap);
    EXPECT_TRUE(open().unchanged(folder.file("one.kmr"), later, usual_cap));
}

// Further off than a count of nanoseconds reaches.
TEST_F(PlacesTest, ADateFarOffIsADateAsWell) {
    const std::string path = folder.write("one.kmr", store_test::sound_recording());
    for (const time_t second : {15000000000, 15000000001}) {
        const timespec dates[] = {{.tv_sec = second, .tv_nsec = 0}, {.tv_sec = second, .tv_nsec = 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), dates, 0), 0);
        const auto now = kmr::store::stamp_of(path);
        EXPECT_FALSE(open().unchanged(path, *now, usual_cap)) << second;
        open().keep(path, now, scan_test::judge(store_test::sound_recording()), usual_cap);
        EXPECT_TRUE(open().unchanged(path, *now, usual_cap)) << second;
    }
}

// Whatever links led to them.
TEST_F(PlacesTest, WhatIsGoneWithItsFolderIsMarked) {
    std::filesystem::create_directories(folder.file("real/rec"));
    folder.write("real/rec/one.kmr", {});
    std::filesystem::create_directory_symlink("real", folder.file("link"));
    keep(folder.file("link/rec/one.kmr"));
    std::filesystem::remove_all(folder.file("real/rec"));
    EXPECT_EQ(open().finish({folder.file("link/rec")}).gone, 1U);
}

TEST_F(PlacesTest, WhatIsNotThereLeavesItsRowAsItWas) {
    keep(folder.file("one.kmr"));
    const auto before = ask("SELECT * FROM recordings");
    for (const int error : {ENOENT, ENOTDIR})
        open().keep(folder.file("one.kmr"), {}, kmr::scan::unreadable(error), usual_cap);
    EXPECT_EQ(ask("SELECT * FROM recordings"), before);
}

TEST_F(PlacesTest, ARecordingHasTheTypeOfItsName) {
    keep(folder.file("H0000020150102030405L000000"));
    keep(folder.file("note.txt"));
    EXPECT_THAT(ask("SELECT type FROM recordings ORDER BY name"), ElementsAre("L", "-"));
}

TEST_F(PlacesTest, EverythingLiesBelowTheRoot) {
    keep(folder.file("one.kmr"));
    EXPECT_EQ(open().finish({"/"}).gone, 1U);
    EXPECT_THAT(ask("SELECT gone_ms IS NULL FROM recordings"), ElementsAre("0"));
}

// Below a file there is nothing; whether there is anything behind a circle of links nobody knows.
TEST_F(PlacesTest, OnlyWhatIsKnownToBeGoneIsMarked) {
    folder.write("a", {});
    keep(folder.file("a/one.kmr"));
    std::filesystem::create_symlink("circle", folder.file("circle"));
    keep(folder.file("circle/one.kmr"));
    EXPECT_EQ(open().finish({folder.path()}).gone, 1U);
    EXPECT_THAT(ask("SELECT gone_ms IS NULL FROM recordings ORDER BY path"), ElementsAre("0", "1"));
}

TEST_F(PlacesTest, OnlyAFileHasASizeAndADate) {
    const std::string path = folder.write("three", {1, 2, 3});
    EXPECT_EQ(kmr::store::stamp_of(path)->size, 3U);
    EXPECT_FALSE(kmr::store::stamp_of(folder.path()));
    EXPECT_FALSE(kmr::store::stamp_of(folder.file("missing")));
}

// A folder that the system cannot reach, and files that are none for its user.
TEST_F(PlacesTest, ADatabaseThatCannotBeReachedIsRefused) {
    folder.write("a", {});
    const auto refusal = [](const std::string& path) -> std::string {
        try {
            result_store(path, "north", "1");
        } catch (const kmr::store::store_error& error) {
            return error.what();
        }
        return {};
    };
    EXPECT_EQ(refusal(folder.file("a/results.db")), folder.file("a/results.db") + ": Not a directory");
    EXPECT_EQ(refusal("/proc/self/mem"), "/proc/self/mem: Input/output error"); // nothing is mapped at 0
    EXPECT_FALSE(std::filesystem::exists(database()));
}

} // namespace
