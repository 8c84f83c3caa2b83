// Which modules the program finds, and what it does without them.
#include "tests/program/recordings.hpp"
#include "tests/program/viewer.hpp"

#include <gmock/gmock.h>

namespace fs = std::filesystem;

namespace {

const std::string on_disk = "/dev/scsi/host01/part1/sound.kmr";

class ModulesTest : public ::testing::Test {
protected:
    // ./lib with the modules of these names alone.
    void provide(const std::vector<std::string>& names) {
        fs::create_directory(place.path() / "lib");
        for (const std::string& name : names)
            fs::copy_file(fs::path(KMR_MODULES) / name, place.path() / "lib" / name);
    }

    void write_recordings() {
        const recording::bytes content = recordings::all().at("sound.kmr")();
        place.folder().write("sound.kmr", content);
        place.folder().write("disks/host01/part1/sound.kmr", content);
    }

    void expect_found(const std::string& name) {
        EXPECT_EQ(place.report({"-f", name, "-a"}), report("all_detail", "sound.kmr", name));
    }
    void expect_missing(const std::string& name) {
        EXPECT_EQ(place.report({"-f", name, "-a"}), report("missing_recording", "missing.kmr", name));
    }

    static std::string report(const std::string& golden, const std::string& its_name,
                              const std::string& name) {
        return viewer::replaced(viewer::read_golden(golden).report, its_name, name);
    }

    viewer::place place{""};
};

TEST_F(ModulesTest, OfBothKindsServeAllPaths) {
    provide({"libznfs.so", "libsznfs.so"});
    write_recordings();
    expect_found("sound.kmr");
    expect_found(on_disk);
}

TEST_F(ModulesTest, WithoutTheSecondServeTheDisks) {
    provide({"libznfs.so"});
    write_recordings();
    expect_missing("sound.kmr");
    expect_found(on_disk);
}

TEST_F(ModulesTest, WithoutTheFirstServeAllOtherPaths) {
    provide({"libsznfs.so"});
    write_recordings();
    expect_found("sound.kmr");
    expect_missing(on_disk);
}

TEST_F(ModulesTest, BesideTheProgramAreEnoughToStart) {
    write_recordings();
    expect_missing("sound.kmr");
    expect_missing(on_disk);
    EXPECT_EQ(place.report({"-f", "sound.kmr", "-oout"}), "");
    EXPECT_FALSE(place.has("out"));
}

TEST_F(ModulesTest, MayBeSomebodyElses) {
    fs::create_directory_symlink(KMR_OTHER_MODULES, place.path() / "lib");
    write_recordings();
    expect_found("sound.kmr");
    expect_found(on_disk);
    EXPECT_EQ(place.report({"-f", on_disk, "-oout"}), "file size=1160\n");
}

// The first module's library may stand right beside a program that was copied to a board.
TEST_F(ModulesTest, AreFoundRightBesideACopiedProgram) {
    const fs::path program = place.path() / "bin" / "kmr_viewer";
    fs::create_directory(place.path() / "bin");
    fs::copy_file(KMR_VIEWER, program);
    fs::copy_file(fs::path(KMR_MODULES) / "libznfs.so", place.path() / "bin" / "libznfs.so");
    const run::result result =
        run::program(program.string(), {"-h"}, {.directory = place.path(), .environment = {}});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, ::testing::HasSubstr(": version 1.0.0\n"));
}

} // namespace
