// The program on files and folders whose reading fails, ends early or is overtaken by a writer.
#include "kmr/files.hpp"
#include "kmr/judged_file.hpp"
#include "kmr/run.hpp"
#include "tests/scan/compose.hpp"
#include "tests/support/scratch.hpp"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// From this offset on reads give an error, or nothing where that is 0.
off_t bad_from = INT64_MAX;
int bad_error = EIO;
bool is_rewritten = false; // each look at an open file shows a later date
int folder_error = 0;      // of opening one
int listing_error = 0;     // in the middle of one
bool tells_types = true;   // of the entries of a folder

} // namespace

// The linker leads the program's calls of these here.
extern "C" ssize_t __real_pread64(int descriptor, void* into, size_t length, off_t at);
extern "C" ssize_t __wrap_pread64(int descriptor, void* into, size_t length, off_t at) {
    if (at + static_cast<off_t>(length) <= bad_from)
        return __real_pread64(descriptor, into, length, at);
    if (at < bad_from)
        return __real_pread64(descriptor, into, static_cast<size_t>(bad_from - at), at);
    errno = bad_error;
    return bad_error == 0 ? 0 : -1;
}
extern "C" int __real_fstat64(int descriptor, struct stat* into);
extern "C" int __wrap_fstat64(int descriptor, struct stat* into) {
    static time_t later = 0;
    const int result = __real_fstat64(descriptor, into);
    if (is_rewritten)
        into->st_mtim.tv_sec += ++later;
    return result;
}
extern "C" DIR* __real_opendir(const char* path);
extern "C" DIR* __wrap_opendir(const char* path) {
    if (folder_error == 0)
        return __real_opendir(path);
    errno = folder_error;
    return nullptr;
}
extern "C" dirent* __real_readdir64(DIR* folder);
extern "C" dirent* __wrap_readdir64(DIR* folder) {
    dirent* const entry = __real_readdir64(folder);
    if (entry == nullptr && listing_error != 0)
        errno = listing_error;
    if (entry != nullptr && !tells_types)
        entry->d_type = DT_UNKNOWN;
    return entry;
}

namespace {

using kmr::program::found_file;
using ::testing::ElementsAre;
using ::testing::StartsWith;

struct outcome {
    int status;
    std::string out;
    std::string err;
};

class CallsTest : public ::testing::Test {
protected:
    CallsTest() { forget(); }
    ~CallsTest() override { forget(); }

    static void forget() {
        bad_from = INT64_MAX;
        bad_error = EIO;
        is_rewritten = false;
        folder_error = listing_error = 0;
        tells_types = true;
    }

    // In a process of its own, as it ends with closing its standard output.
    outcome kmr(std::vector<std::string> words) const {
        words.insert(words.begin(), "kmr");
        const pid_t child = fork();
        if (child == 0) {
            setenv("TZ", "UTC0", 1);
            const int flags = O_WRONLY | O_CREAT | O_TRUNC;
            dup2(open(place_.file("out").c_str(), flags, 0600), STDOUT_FILENO);
            dup2(open(place_.file("err").c_str(), flags, 0600), STDERR_FILENO);
            std::vector<const char*> pointers;
            for (const std::string& each : words)
                pointers.push_back(each.c_str());
            _exit(kmr::program::run(static_cast<int>(pointers.size()), pointers.data()));
        }
        int status = -1;
        waitpid(child, &status, 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, scratch::read_text(place_.file("out")),
                scratch::read_text(place_.file("err"))};
    }

    std::string problem(const std::string& path) const {
        const auto judged = kmr::program::judge_file({.path = path}, {}, nullptr);
        EXPECT_EQ(kmr::program::status_of(judged.judged), kmr::program::exit_status::failed);
        return judged.problem;
    }

    std::vector<std::string> files() const {
        std::vector<std::string> told;
        for (const found_file& each : kmr::program::files_of({place_.file("d")}))
            told.push_back(each.path.substr(place_.path().string().size()) +
                           (each.error == 0 ? "" : ": " + kmr::program::words_of(each.error)));
        return told;
    }

    scratch::folder place_;
    // The one is read at once, the other in pieces.
    std::string short_ = place_.write("short.kmr", scan_test::recording_of(scan_test::sound_frames(10)));
    std::string long_ = place_.write("long.kmr", scan_test::recording_of(scan_test::sound_frames(5000)));
};

TEST_F(CallsTest, AFileThatCannotBeReadToItsEndIsUnreadable) {
    for (const std::string& path : {short_, long_}) {
        bad_from = 500;
        EXPECT_EQ(problem(path), "Input/output error");
        for (const std::string command : {"check", "show", "frames"}) {
            const outcome told = kmr({command, path});
            EXPECT_EQ(told.status, 2);
            EXPECT_EQ(told.err, "kmr: " + path + ": Input/output error\n");
        }
        EXPECT_THAT(kmr({"check", path}).out, StartsWith("unreadable "));
    }
}

TEST_F(CallsTest, AFileThatBecomesShorterIsUnreadable) {
    for (const std::string& path : {short_, long_}) {
        bad_from = 500;
        bad_error = 0;
        EXPECT_EQ(problem(path), "became shorter while it was read");
        for (const std::string command : {"check", "show", "frames"}) {
            const outcome told = kmr({command, path});
            EXPECT_EQ(told.status, 2);
            EXPECT_EQ(told.err, "kmr: " + path + ": became shorter while it was read\n");
        }
    }
}

TEST_F(CallsTest, AFileThatSomebodyWritesIsToldToChange) {
    is_rewritten = true;
    for (const std::string& path : {short_, long_}) {
        EXPECT_EQ(problem(path), "changed while it was read");
        const outcome told = kmr({"frames", path});
        EXPECT_EQ(told.status, 2);
        EXPECT_EQ(told.err, "kmr: " + path + ": changed while it was read\n");
        EXPECT_THAT(told.out, StartsWith("    number "));
    }
}

TEST_F(CallsTest, OfAFileThatCannotBeReadToItsEndThereIsNoPage) {
    const std::string page = place_.file("page.html");
    for (const int error : {EIO, 0}) {
        bad_from = 500;
        bad_error = error;
        for (const std::string video : {"--utc", "--video"}) {
            const outcome told = kmr({"report", video, long_, "-o", page});
            EXPECT_EQ(told.status, 2);
            EXPECT_EQ(told.err,
                      "kmr: " + long_ +
                          (error != 0 ? ": Input/output error\n" : ": became shorter while it was read\n"));
            EXPECT_FALSE(std::filesystem::exists(page));
            EXPECT_FALSE(std::filesystem::exists(page + ".kmr-new"));
        }
    }
}

TEST_F(CallsTest, APageOfAFileThatSomebodyWritesSaysSo) {
    is_rewritten = true;
    const outcome told = kmr({"report", long_, "-o", place_.file("page.html")});
    EXPECT_EQ(told.status, 2);
    EXPECT_EQ(told.err, "kmr: " + long_ + ": changed while it was read\n");
    EXPECT_THAT(scratch::read_text(place_.file("page.html")), ::testing::HasSubstr("\"changed\":true"));
}

TEST_F(CallsTest, AListLeavesOutWhatCannotBeRead) {
    bad_from = 20;
    const outcome failed = kmr({"ls", short_});
    EXPECT_EQ(failed.status, 2);
    EXPECT_EQ(failed.out, "");
    EXPECT_EQ(failed.err, "kmr: " + short_ + ": Input/output error\n");
    bad_error = 0;
    EXPECT_EQ(kmr({"ls", short_}).err, "kmr: " + short_ + ": became shorter while it was read\n");
}

TEST_F(CallsTest, AFolderThatCannotBeListedStandsForWhatMayBeInIt) {
    place_.write("d/a", {});
    place_.write("d/sub/b", {});
    EXPECT_THAT(files(), ElementsAre("/d/a", "/d/sub/b"));
    listing_error = EIO;
    EXPECT_THAT(files(),
                ElementsAre("/d: Input/output error", "/d/a", "/d/sub: Input/output error", "/d/sub/b"));
    listing_error = 0;
    folder_error = EACCES;
    EXPECT_THAT(files(), ElementsAre("/d: Permission denied"));
    const outcome listed = kmr({"ls", place_.file("d")});
    EXPECT_EQ(listed.status, 2);
    EXPECT_EQ(listed.err, "kmr: " + place_.file("d") + ": Permission denied\n");
}

// Some file systems do not tell what an entry is.
TEST_F(CallsTest, EntriesAreAskedThemselvesWhereTheFolderDoesNotTell) {
    place_.write("d/a", {});
    place_.write("d/sub/b", {});
    std::filesystem::create_symlink("a", place_.file("d/link"));
    std::filesystem::create_symlink("sub", place_.file("d/other"));
    tells_types = false;
    EXPECT_THAT(files(), ElementsAre("/d/a", "/d/sub/b"));
}

} // namespace
