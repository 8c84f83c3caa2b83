// Copying a recording out: what the modules are asked for, what the host file gets, what is printed.
#include "file_op/open_table.h"
#include "main/front_end.h"
#include "tests/fakes/module_probe.hpp"
#include "tests/support/scratch.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <regex>
#include <sys/resource.h>
#include <unistd.h>

namespace {

bool has_proc = true;
std::string listed_instead;                         // a folder in place of the one that lists the descriptors
std::vector<std::string> calls_before_first_fclose; // since it was emptied

} // namespace

// The linker leads the program's calls of these here.
extern "C" DIR* __real_opendir(const char* path);
extern "C" DIR* __wrap_opendir(const char* path) {
    return has_proc ? __real_opendir(listed_instead.empty() ? path : listed_instead.c_str()) : nullptr;
}
extern "C" int __real_fclose(std::FILE* file);
extern "C" int __wrap_fclose(std::FILE* file) {
    if (calls_before_first_fclose.empty())
        calls_before_first_fclose = module_probe::calls();
    return __real_fclose(file);
}

namespace fs = std::filesystem;

namespace {

using recording::bytes;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CopyOutTest : public ::testing::Test {
protected:
    // The layer finds the test modules below the working directory that the test program was started in.
    static void SetUpTestSuite() { vfs_Init(); }

    CopyOutTest() {
        bOpenFirst = 1;
        in = place.write("in.kmr", content);
        out = place.file("out.kmr");
        module_probe::reset();
    }
    ~CopyOutTest() override { module_probe::reset(); }

    static std::string printed_by(const std::string& from, const std::string& to) {
        ::testing::internal::CaptureStdout();
        inner_OutputFile(from.c_str(), to.c_str());
        return ::testing::internal::GetCapturedStdout();
    }
    std::string printed() const { return printed_by(in, out); }
    bytes written() const { return scratch::read_file(out); }

    // The module's number of the file is written as N, the folder's path is left out.
    std::vector<std::string> calls() const {
        static const std::regex number_in_call("(Read|Eof|Close)\\([0-9]+");
        static const std::regex number_of_open("(Open.* = )[0-9]+");
        const std::regex folder(place.path().string() + "/");
        std::vector<std::string> shown;
        for (const std::string& call : module_probe::calls()) {
            const std::string numbered = std::regex_replace(call, number_in_call, "$1(N");
            shown.push_back(
                std::regex_replace(std::regex_replace(numbered, number_of_open, "$1N"), folder, ""));
        }
        return shown;
    }

    void expect_refused(const std::string& target) {
        EXPECT_EQ(printed_by(in, target), "fopen " + target + " error\n");
        EXPECT_EQ(scratch::read_file(in), content);
    }

    const bytes content = [] {
        bytes some(10000);
        for (size_t i = 0; i < some.size(); ++i)
            some[i] = static_cast<uint8_t>(i * 31 + i / 256);
        return some;
    }();
    const scratch::folder place;
    std::string in;
    std::string out;
};

TEST_F(CopyOutTest, ReadsBlocksOf4096BytesAndAsksForTheEndAfterEach) {
    EXPECT_EQ(printed(), "file size=10000\n");
    EXPECT_EQ(written(), content);
    EXPECT_THAT(calls(), ElementsAre("sznfs_Stat(\"in.kmr\") = 0", "sznfs_Open(0, \"in.kmr\", 0) = N",
                                     "sznfs_Read(N, 4096) = 4096", "sznfs_Eof(N) = 0",
                                     "sznfs_Read(N, 4096) = 4096", "sznfs_Eof(N) = 0",
                                     "sznfs_Read(N, 4096) = 1808", "sznfs_Eof(N) = 1", "sznfs_Close(N) = 0"));
}

TEST_F(CopyOutTest, EndsWhereTheModuleSaysThatTheFileEnds) {
    module_probe::fail("Eof", 2, 7);
    EXPECT_EQ(printed(), "file size=8192\n");
    EXPECT_EQ(written(), bytes(content.begin(), content.begin() + 8192));
}

TEST_F(CopyOutTest, EndsWhenTheModuleCannotSay) {
    module_probe::fail("Eof", 1, -1);
    EXPECT_EQ(printed(), "file size=4096\n");
}

TEST_F(CopyOutTest, EndsWhenNothingMoreIsReadAlthoughTheFileGoesOn) {
    module_probe::fail_from("Eof", 1, 0);
    EXPECT_EQ(printed(), "file size=10000\n");
    EXPECT_EQ(written(), content);
}

TEST_F(CopyOutTest, EndsWithTheSizeSoFarWhenAReadFails) {
    module_probe::fail("Read", 2);
    EXPECT_EQ(printed(), "file size=4096\n");
    EXPECT_EQ(written(), bytes(content.begin(), content.begin() + 4096));
    EXPECT_THAT(calls().back(), "sznfs_Close(N) = 0");
}

TEST_F(CopyOutTest, MakesAnEmptyFileWhenTheFirstReadFails) {
    module_probe::fail("Read", 1);
    EXPECT_EQ(printed(), "file size=0\n");
    EXPECT_THAT(written(), IsEmpty());
}

TEST_F(CopyOutTest, TakesShortBlocksAsTheyCome) {
    module_probe::cut("Read", 1, 100);
    module_probe::cut("Read", 2, 1);
    EXPECT_EQ(printed(), "file size=10000\n");
    EXPECT_EQ(written(), content);
}

TEST_F(CopyOutTest, ReportsTheBlockThatDidNotFit) {
    EXPECT_EQ(printed_by(in, "/dev/full"), "fwrite error. iLen=4096 iRet=0\nfile size=0\n");
    EXPECT_THAT(calls(), ElementsAre("sznfs_Stat(\"in.kmr\") = 0", "sznfs_Open(0, \"in.kmr\", 0) = N",
                                     "sznfs_Read(N, 4096) = 4096", "sznfs_Close(N) = 0"));
}

TEST_F(CopyOutTest, PrintsAndMakesNothingWhenTheRecordingIsNotThere) {
    EXPECT_EQ(printed_by(place.file("missing.kmr"), out), "");
    EXPECT_FALSE(fs::exists(out));
}

// The target is not touched before the recording is open.
TEST_F(CopyOutTest, LeavesTheTargetWhenTheRecordingCannotBeOpened) {
    place.write_text("out.kmr", "kept");
    module_probe::fail("Open", 1);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(scratch::read_text(out), "kept");
}

TEST_F(CopyOutTest, OpensAndClosesTheRecordingWhenTheTargetCannotBeOpened) {
    const std::string target = place.file("missing/out.kmr");
    EXPECT_EQ(printed_by(in, target), "fopen " + target + " error\n");
    EXPECT_THAT(calls(), ElementsAre("sznfs_Stat(\"in.kmr\") = 0", "sznfs_Open(0, \"in.kmr\", 0) = N",
                                     "sznfs_Close(N) = 0"));
}

TEST_F(CopyOutTest, ReplacesWhatTheTargetHeld) {
    place.write("out.kmr", bytes(20000, 1));
    EXPECT_EQ(printed(), "file size=10000\n");
    EXPECT_EQ(written(), content);
}

TEST_F(CopyOutTest, RefusesTheRecordingItselfUnderEveryName) {
    fs::create_symlink(in, place.file("symlink"));
    fs::create_hard_link(in, place.file("hardlink"));
    for (const char* name : {"in.kmr", "./in.kmr", "symlink", "hardlink"})
        expect_refused((place.path() / name).string());
}

// A module of the system's own kernel holds no descriptor.
TEST_F(CopyOutTest, RefusesTheRecordingItselfAlsoWhereNobodyHoldsIt) {
    fs::create_directory(place.file("nothing"));
    fs::create_hard_link(in, place.file("hardlink"));
    listed_instead = place.file("nothing");
    expect_refused(place.file("hardlink"));
    EXPECT_EQ(printed(), "file size=10000\n"); // onto any other
    listed_instead.clear();
}

TEST_F(CopyOutTest, RefusesAnyRegularFileThatIsHeldOpen) {
    const std::string held = place.write_text("held", "kept");
    const int descriptor = open(held.c_str(), O_RDONLY);
    expect_refused(held);
    EXPECT_EQ(scratch::read_text(held), "kept");
    close(descriptor);
    EXPECT_EQ(printed_by(in, held), "file size=10000\n");
}

TEST_F(CopyOutTest, RefusesAHeldFileWhateverItsDescriptor) {
    const std::string held = place.write_text("held", "kept");
    const int low = open(held.c_str(), O_RDONLY);
    const int high = dup2(low, 1000);
    close(low);
    expect_refused(held);
    close(high);
}

// Makes `most` the highest number of descriptors that can be opened from now on, for the length of a scope.
class descriptor_limit {
public:
    explicit descriptor_limit(rlim_t most) {
        getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit lowered = {most, before_.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &lowered), 0);
    }
    ~descriptor_limit() { setrlimit(RLIMIT_NOFILE, &before_); }
    descriptor_limit(const descriptor_limit&) = delete;
    descriptor_limit& operator=(const descriptor_limit&) = delete;

private:
    rlimit before_{};
};

TEST_F(CopyOutTest, RefusesAHeldFileWhoseDescriptorIsBeyondTheLimit) {
    const std::string held = place.write_text("held", "kept");
    const descriptor_limit whole(4096);
    const int low = open(held.c_str(), O_RDONLY);
    const int high = dup2(low, 3000);
    ASSERT_EQ(high, 3000);
    close(low);
    {
        const descriptor_limit lowered(256);
        expect_refused(held);
    }
    EXPECT_EQ(scratch::read_text(held), "kept");
    close(high);
}

TEST_F(CopyOutTest, LooksAtEveryNumberWhereTheSystemListsNoDescriptors) {
    const std::string held = place.write_text("held", "kept");
    const descriptor_limit whole(4096);
    const int low = open(held.c_str(), O_RDONLY);
    const int high = dup2(low, 4095);
    ASSERT_EQ(high, 4095);
    close(low);
    has_proc = false;
    expect_refused(held);
    close(high);
    EXPECT_EQ(printed_by(in, held), "file size=10000\n");
    has_proc = true;
}

TEST_F(CopyOutTest, ClosesTheRecordingBeforeTheTarget) {
    calls_before_first_fclose.clear();
    printed();
    ASSERT_FALSE(calls_before_first_fclose.empty());
    EXPECT_THAT(calls_before_first_fclose.back(), ::testing::StartsWith("sznfs_Close("));
}

TEST_F(CopyOutTest, KeepsNoDescriptorAfterAnyFailure) {
    const int before = scratch::open_descriptors();
    for (const char* operation : {"Stat", "Open", "Read", "Eof"})
        for (int nth = 1; nth <= 4; ++nth) {
            module_probe::fail(operation, nth);
            printed();
            module_probe::reset();
            EXPECT_EQ(scratch::open_descriptors(), before) << operation << nth;
        }
    printed_by(in, "/dev/full");
    printed_by(in, place.file("missing/out.kmr"));
    printed_by(in, in);
    EXPECT_EQ(scratch::open_descriptors(), before);
}

TEST_F(CopyOutTest, LeavesItsEntryOfTheTableOfOpenRecordingsTaken) {
    for (int i = 0; i < REC_MAX_OPEN; ++i)
        EXPECT_EQ(printed(), "file size=10000\n");
    fs::remove(out);
    EXPECT_EQ(printed(), "");
    EXPECT_FALSE(fs::exists(out));
}

TEST(InputFileTest, IsAssignedByNobody) {
    EXPECT_EQ(input_file, nullptr);
}

} // namespace
