// The program's own calls of module 0 and the layer's reach the same copy of it, whatever LD_LIBRARY_PATH says.
#include "tests/support/run_program.hpp"
#include "tests/support/scratch.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <sstream>

namespace fs = std::filesystem;

namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::StartsWith;

// The program as it is, and one that is linked for loaders that let the variable choose first.
class OneModule0Test : public ::testing::TestWithParam<const char*> {
protected:
    // A copy of the noting module in a folder of its own; the file that its notes show.
    std::string put_module(const std::string& directory) const {
        fs::create_directories(place.path() / directory);
        fs::copy_file(KMR_NOTING_MODULE_0, place.path() / directory / "libznfs.so");
        return fs::canonical(place.path() / directory / "libznfs.so").string();
    }
    fs::path put_program() const {
        fs::create_directories(place.path() / "bin");
        fs::copy_file(GetParam(), place.path() / "bin" / "kmr_viewer");
        return place.path() / "bin" / "kmr_viewer";
    }

    // What the modules were asked for while the program looked for a recording on a disk.
    std::vector<std::string> calls_of(const fs::path& program, std::vector<std::string> environment) const {
#ifdef KMR_EXEC_IN_EMULATOR
        environment.push_back("QEMU_SET_ENV=LD_PRELOAD=" KMR_EXEC_IN_EMULATOR);
#endif
        const run::result result = run::program(program.string(), {"-f", "/dev/scsi/host01/part1/x", "-a"},
                                                {.directory = place.path(), .environment = environment});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_THAT(result.out, StartsWith("\n\n-----"));
        std::istringstream notes(scratch::read_text(place.path() / "calls"));
        std::vector<std::string> calls;
        for (std::string line; std::getline(notes, line);)
            calls.push_back(line);
        return calls;
    }

    static void expect_all_by(const std::string& module, const std::vector<std::string>& calls) {
        EXPECT_THAT(calls, Each(StartsWith(module + ": ")));
        EXPECT_EQ(calls.front(), module + ": Init");
        EXPECT_EQ(std::count(calls.begin(), calls.end(), module + ": Mount"), 24);
        EXPECT_THAT(calls, Contains(module + ": DeInit"));
    }

    scratch::folder place;
};

TEST_P(OneModule0Test, IsTheOneInLibWhenTheVariableLeadsToAnother) {
    const std::string own = put_module("lib");
    put_module("other");
    const auto calls = calls_of(GetParam(), {"LD_LIBRARY_PATH=" + place.file("other")});
    expect_all_by(own, calls);
    EXPECT_THAT(calls, Contains(own + ": Stat")); // by the layer
}

TEST_P(OneModule0Test, IsTheOneInLibWhenTheVariableLeadsNowhereOrThere) {
    const std::string own = put_module("lib");
    fs::create_directory_symlink(place.path() / "lib", place.path() / "same");
    for (const std::string& folders : {std::string(), place.file("missing"), place.file("same")}) {
        fs::remove(place.path() / "calls");
        const auto calls = calls_of(GetParam(), {"LD_LIBRARY_PATH=" + folders});
        expect_all_by(own, calls);
        EXPECT_THAT(calls, Contains(own + ": Stat"));
    }
}

TEST_P(OneModule0Test, IsTheOneInLibWithoutTheVariable) {
    const std::string own = put_module("lib");
    put_module("bin/lib");
    const auto calls = calls_of(put_program(), {});
    expect_all_by(own, calls);
    EXPECT_THAT(calls, Contains(own + ": Stat"));
}

TEST_P(OneModule0Test, IsTheOneBelowTheProgramWhenThereIsNoLib) {
    const std::string own = put_module("bin/lib");
    put_module("bin");
    put_module("other");
    expect_all_by(own, calls_of(put_program(), {"LD_LIBRARY_PATH=" + place.file("other")}));
}

TEST_P(OneModule0Test, IsTheOneBesideTheProgramWhenThereIsNoOtherOfItsOwn) {
    const std::string own = put_module("bin");
    put_module("other");
    expect_all_by(own, calls_of(put_program(), {"LD_LIBRARY_PATH=" + place.file("other")}));
}

// The program's own folders have none, and the program needs one to start.
TEST_P(OneModule0Test, IsTheVariablesWhenThereIsNoOther) {
    const std::string other = put_module("other");
    expect_all_by(other, calls_of(put_program(), {"LD_LIBRARY_PATH=" + place.file("other")}));
}

INSTANTIATE_TEST_SUITE_P(Tags, OneModule0Test, ::testing::Values(KMR_VIEWER, KMR_VIEWER_NEW_TAGS));

} // namespace
