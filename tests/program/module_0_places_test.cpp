// Module 0 where it cannot be loaded, or where the program cannot tell where it is.
#include "tests/support/run_program.hpp"
#include "tests/support/scratch.hpp"

#include <climits>
#include <elf.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sstream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using ::testing::AnyOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;

class Module0PlacesTest : public ::testing::Test {
protected:
    std::string put_module(const std::string& directory) const {
        fs::create_directories(place.path() / directory);
        fs::copy_file(KMR_NOTING_MODULE_0, place.path() / directory / "libznfs.so");
        return fs::canonical(place.path() / directory / "libznfs.so").string();
    }

    // A library for a machine with other words: loaders pass it over in silence.
    void put_foreign_module(const std::string& directory) const {
        const std::string path = put_module(directory);
        recording::bytes file = scratch::read_file(path);
        file.at(EI_CLASS) = file.at(EI_CLASS) == ELFCLASS64 ? ELFCLASS32 : ELFCLASS64;
        place.write(directory + "/libznfs.so", file);
    }

    std::string put_program(const std::string& directory) const {
        fs::create_directories(place.path() / directory);
        fs::copy_file(KMR_VIEWER_NEW_TAGS, place.path() / directory / "kmr_viewer");
        return (place.path() / directory / "kmr_viewer").string();
    }

    run::result run(const std::string& program, run::options how,
                    std::vector<std::string> before = {}) const {
        before.insert(before.end(), {"-f", "/dev/scsi/host01/part1/x", "-a"});
#ifdef KMR_EXEC_IN_EMULATOR
        how.environment.push_back("QEMU_SET_ENV=LD_PRELOAD=" KMR_EXEC_IN_EMULATOR);
#endif
        if (how.directory.empty())
            how.directory = place.path();
        return run::program(program, before, how);
    }

    // Each of the 24 partitions is mounted once, by this one.
    static void expect_mounted_by(const std::string& module, const fs::path& notes) {
        std::istringstream calls(scratch::read_text(notes));
        int mounted = 0;
        for (std::string line; std::getline(calls, line);) {
            if (line.find(": Mount") == std::string::npos)
                continue;
            EXPECT_EQ(line, module + ": Mount");
            ++mounted;
        }
        EXPECT_EQ(mounted, 24);
    }

    scratch::folder place;
};

#ifdef __GLIBC__ // loaders of small libcs look no further than the first file of that name, whatever it is
// The program starts itself anew for the one in ./lib, once: where that leads nowhere it goes on.
TEST_F(Module0PlacesTest, AForeignOneInLibIsTriedOnce) {
    put_foreign_module("lib");
    const std::string other = put_module("other");
    const auto result = run(KMR_VIEWER_NEW_TAGS, {.environment = {"LD_LIBRARY_PATH=" + place.file("other")}});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    expect_mounted_by(other, place.path() / "calls");
}

TEST_F(Module0PlacesTest, AForeignOneThatTheVariableNamesAlreadyIsNotTriedAgain) {
    put_foreign_module("lib");
    const std::string own = put_module("bin/lib");
    const std::string program = put_program("bin");
    for (const std::string folders : {"./lib", "./library"}) {
        fs::remove(place.path() / "calls");
        const auto result = run(program, {.environment = {"LD_LIBRARY_PATH=" + folders}});
        EXPECT_EQ(result.status, 0) << folders;
        EXPECT_EQ(result.err, "") << folders;
        expect_mounted_by(own, place.path() / "calls");
    }
}

#endif

// With so long a list of folders none can be put in front.
TEST_F(Module0PlacesTest, IsToldWhereTheVariableIsTooLongToChange) {
    put_module("lib");
    const std::string other = put_module("other");
    const std::string folders = place.file("other") + ":/" + std::string(size_t{2} * PATH_MAX, 'x');
    const auto result = run(KMR_VIEWER_NEW_TAGS, {.environment = {"LD_LIBRARY_PATH=" + folders}});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, EndsWith(": LD_LIBRARY_PATH leads to another libznfs.so than ./lib\n"));
    expect_mounted_by(other, place.path() / "calls");
}

#ifndef KMR_EXEC_IN_EMULATOR
std::string interpreter_of(const std::string& program) {
    const recording::bytes file = scratch::read_file(program);
    const std::string text(file.begin(), file.end());
    const size_t at = text.find("/ld-");
    const size_t begin = text.rfind('\0', at) + 1;
    return text.substr(begin, text.find('\0', at) - begin);
}

// The system names the loader then, whose own folder is nobody's.
TEST_F(Module0PlacesTest, IsTheLoadersWhereTheLoaderWasStarted) {
    put_module("lib");
    const std::string other = put_module("other");
    const auto result =
        run(interpreter_of(KMR_VIEWER_NEW_TAGS), {.environment = {"LD_LIBRARY_PATH=" + place.file("other")}},
            {KMR_VIEWER_NEW_TAGS});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    expect_mounted_by(other, place.path() / "calls");
}

// A program so deep below that the path of a module beside it would be longer than any may be; and one deeper still,
// whose own path nobody can tell.
TEST_F(Module0PlacesTest, IsTheVariablesBelowAPathThatIsTooLong) {
    constexpr size_t depth = PATH_MAX - 12; // of the folder: "/kmr_viewer" is as long as any path may be
    const std::string other = put_module("other");
    fs::path deep = place.path() / "d";
    while (depth - deep.string().size() > 200)
        deep /= std::string(100, 'x');
    deep /= std::string(depth - deep.string().size() - 1, 'x');
    ASSERT_EQ(deep.string().size(), depth);
    fs::create_directories(deep);
    fs::copy_file(KMR_VIEWER_NEW_TAGS, deep / "kmr_viewer");
    const run::options how{.directory = deep, .environment = {"LD_LIBRARY_PATH=" + place.file("other")}};
    const auto result = run((deep / "kmr_viewer").string(), how);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    expect_mounted_by(other, deep / "calls");
    fs::remove(deep / "calls");

    const int opened = open(deep.c_str(), O_DIRECTORY | O_PATH);
    ASSERT_GE(opened, 0);
    fs::rename(place.path() / "d", place.path() / "deeper");
    const std::string here = "/proc/self/fd/" + std::to_string(opened);
    const auto deeper = run(here + "/kmr_viewer", {.directory = here, .environment = how.environment});
    EXPECT_EQ(deeper.status, 0);
    EXPECT_THAT(deeper.err,
                AnyOf("", HasSubstr("reading executable name failed"))); // which a sanitizer asks for too
    expect_mounted_by(other, here + "/calls");
    close(opened);
    fs::rename(place.path() / "deeper", place.path() / "d");
}
#endif

} // namespace
