// What the system refuses while a database is made or opened. Each of these calls is up to the test.
#include "tests/kmr/store/store_fixture.hpp"

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// errno of the next call; 0: the system answers.
int nameless_error = 0; // of opening a file without a name
int draft_error = 0;    // of making one by name
int reading_error = 0;  // of opening one to read
int write_error = 0;
int link_error = 0;
int rename_error = 0;
bool memory_for_sqlite = true;
bool memory_for_bytes = true;

bool is_refused(int& error) {
    if (error == 0)
        return false;
    errno = error;
    error = 0;
    return true;
}

int* error_of_open(int flags) {
    if ((flags & O_TMPFILE) == O_TMPFILE)
        return &nameless_error;
    return (flags & O_CREAT) != 0 ? &draft_error : &reading_error;
}

} // namespace

// The linker leads the store's calls of these here.
extern "C" int __real_open64(const char* path, int flags, ...);
extern "C" int __wrap_open64(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return is_refused(*error_of_open(flags)) ? -1 : __real_open64(path, flags, mode);
}
extern "C" ssize_t __real_write(int descriptor, const void* bytes, size_t count);
extern "C" ssize_t __wrap_write(int descriptor, const void* bytes, size_t count) {
    return is_refused(write_error) ? -1 : __real_write(descriptor, bytes, count);
}
extern "C" int __real_linkat(int from_folder, const char* from, int to_folder, const char* to, int flags);
extern "C" int __wrap_linkat(int from_folder, const char* from, int to_folder, const char* to, int flags) {
    return is_refused(link_error) ? -1 : __real_linkat(from_folder, from, to_folder, to, flags);
}
extern "C" int __real_renameat2(int from_folder, const char* from, int to_folder, const char* to,
                                unsigned flags);
extern "C" int __wrap_renameat2(int from_folder, const char* from, int to_folder, const char* to,
                                unsigned flags) {
    return is_refused(rename_error) ? -1 : __real_renameat2(from_folder, from, to_folder, to, flags);
}
extern "C" int __real_sqlite3_open_v2(const char* name, sqlite3** opened, int flags, const char* system);
extern "C" int __wrap_sqlite3_open_v2(const char* name, sqlite3** opened, int flags, const char* system) {
    if (memory_for_sqlite)
        return __real_sqlite3_open_v2(name, opened, flags, system);
    *opened = nullptr;
    return SQLITE_NOMEM;
}
extern "C" unsigned char* __real_sqlite3_serialize(sqlite3* opened, const char* schema, sqlite3_int64* size,
                                                   unsigned flags);
extern "C" unsigned char* __wrap_sqlite3_serialize(sqlite3* opened, const char* schema, sqlite3_int64* size,
                                                   unsigned flags) {
    return memory_for_bytes ? __real_sqlite3_serialize(opened, schema, size, flags) : nullptr;
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class StoreCallsTest : public testing::Test, protected store_test::folder_with_database {
protected:
    StoreCallsTest() { forget(); }
    ~StoreCallsTest() override { forget(); }

    static void forget() {
        nameless_error = draft_error = reading_error = write_error = link_error = rename_error = 0;
        memory_for_sqlite = memory_for_bytes = true;
    }

    // Why none is made or opened; empty: it is.
    std::string refusal() const {
        try {
            open().finish({});
        } catch (const kmr::store::store_error& error) {
            return error.what();
        }
        return {};
    }
    std::string refusal_for(const std::string& reason) const { return database() + ": " + reason; }

    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
            found.push_back(entry.path().filename());
        return found;
    }
};

TEST_F(StoreCallsTest, NothingStandsThereWhereTheSystemRefusesADatabase) {
    nameless_error = EACCES;
    EXPECT_EQ(refusal(), refusal_for("Permission denied"));
    write_error = ENOSPC;
    EXPECT_EQ(refusal(), refusal_for("No space left on device"));
    link_error = EIO;
    EXPECT_EQ(refusal(), refusal_for("Input/output error"));
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_EQ(refusal(), "");
    EXPECT_THAT(names(), ElementsAre("results.db"));
}

TEST_F(StoreCallsTest, IsMadeByRenamingWhereThereAreNoFilesWithoutAName) {
    nameless_error = EOPNOTSUPP;
    EXPECT_EQ(refusal(), "");
    EXPECT_THAT(names(), ElementsAre("results.db"));
    EXPECT_THAT(ask("PRAGMA integrity_check"), ElementsAre("ok"));
    EXPECT_THAT(ask("SELECT host FROM runs"), ElementsAre("north"));
}

TEST_F(StoreCallsTest, NothingStandsThereWhereTheSystemRefusesADraft) {
    nameless_error = EOPNOTSUPP;
    draft_error = EACCES;
    EXPECT_EQ(refusal(), refusal_for("Permission denied"));
    nameless_error = EOPNOTSUPP;
    write_error = ENOSPC;
    EXPECT_EQ(refusal(), refusal_for("No space left on device"));
    nameless_error = EOPNOTSUPP;
    rename_error = EROFS;
    EXPECT_EQ(refusal(), refusal_for("Read-only file system"));
    EXPECT_THAT(names(), IsEmpty());
}

// Another process was quicker: its database is the one, but here it is gone again before it is looked at.
TEST_F(StoreCallsTest, OfTwoThatMakeItOneGivesWay) {
    link_error = EEXIST;
    EXPECT_EQ(refusal(), refusal_for("No such file or directory"));
    nameless_error = EOPNOTSUPP;
    rename_error = EEXIST;
    EXPECT_EQ(refusal(), refusal_for("No such file or directory"));
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(StoreCallsTest, IsRefusedWhereItMayNotBeRead) {
    ASSERT_EQ(refusal(), "");
    reading_error = EACCES;
    EXPECT_EQ(refusal(), refusal_for("Permission denied"));
}

TEST_F(StoreCallsTest, NothingStandsThereWithoutMemory) {
    memory_for_bytes = false;
    EXPECT_THROW(open(), std::bad_alloc);
    memory_for_bytes = true;
    memory_for_sqlite = false;
    EXPECT_THROW(open(), std::bad_alloc);
    EXPECT_THAT(names(), IsEmpty());
}

// Whoever may do everything is somebody else for this one.
TEST_F(StoreCallsTest, IsRefusedWhereItMayNotBeWritten) {
    ASSERT_EQ(refusal(), "");
    namespace fs = std::filesystem;
    fs::permissions(folder.path(), fs::perms(0755));
    fs::permissions(database(), fs::perms(0444));
    const bool all_powerful = geteuid() == 0;
    if (all_powerful) {
        ASSERT_EQ(seteuid(65534), 0);
    }
    const std::string told = refusal();
    if (all_powerful) {
        ASSERT_EQ(seteuid(0), 0);
    }
    EXPECT_EQ(told, refusal_for("cannot be written"));
}

} // namespace
