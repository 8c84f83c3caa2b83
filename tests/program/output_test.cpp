// A standard output that takes nothing.
#include "tests/program/recordings.hpp"
#include "tests/program/viewer.hpp"

#include <cstdlib>
#include <gmock/gmock.h>
#include <sys/wait.h>

namespace {

const std::string name = "eight_frames.kmr";

class OutputTest : public ::testing::Test {
protected:
    OutputTest() { place.folder().write(name, content); }

    void expect_recording_untouched() const { EXPECT_EQ(scratch::read_file(place.path() / name), content); }

    // By the shell, which can close what the program must find closed.
    int status_by_shell(const std::string& arguments_and_closings, const std::string& before = "") const {
        const std::string command = "cd '" + place.path().string() + "' && " + before + "exec " +
                                    viewer::replaced(KMR_RUN_BY, ";", " ") + " '" + KMR_VIEWER + "' " +
                                    arguments_and_closings;
        const int status = std::system(command.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // Standard output is a pipe that had a reader once.
    int status_without_reader(const std::string& arguments) const {
        std::filesystem::remove(place.path() / "pipe");
        return status_by_shell(arguments + " >&4 2>said", "mkfifo pipe && exec 3<>pipe 4>pipe 3<&- && ");
    }

    const std::string complaint =
        "kmr_viewer: standard output cannot be written, the report is not complete\n";
    const recording::bytes content = recordings::all().at(name)();
    const viewer::place place;
};

TEST_F(OutputTest, ThatIsFullEndsNothingEarly) {
    const run::options how{.directory = place.path(), .environment = {}, .stdout_path = "/dev/full"};
    EXPECT_EQ(run::program(KMR_VIEWER, {"-f", name, "-a"}, how).status, 0);
    EXPECT_EQ(place.text_of("EndFrame"), "8\n");
    EXPECT_EQ(run::program(KMR_VIEWER, {"-f", name, "-oout.kmr"}, how).status, 0);
    EXPECT_EQ(run::program(KMR_VIEWER, {"-q", "1,2"}, how).status, 0);
    EXPECT_EQ(run::program(KMR_VIEWER, {"-h"}, how).status, 0);
    EXPECT_EQ(scratch::read_file(place.path() / "out.kmr"), content);
    expect_recording_untouched();
}

TEST_F(OutputTest, ThatIsFullIsSaidInOneLine) {
    const run::options how{.directory = place.path(), .environment = {}, .stdout_path = "/dev/full"};
    EXPECT_EQ(run::program(KMR_VIEWER, {"-f", name, "-a"}, how).err, complaint);
    EXPECT_EQ(run::program(KMR_VIEWER, {"-f", name, "-oout.kmr"}, how).err, complaint);
    EXPECT_EQ(run::program(KMR_VIEWER, {"-h"}, how).err, complaint);
}

TEST_F(OutputTest, ThatNobodyReadsAnyMoreIsSaidInOneLine) {
    EXPECT_EQ(status_without_reader("-f " + name + " -a"), 0);
    EXPECT_EQ(place.text_of("said"), complaint);
    EXPECT_EQ(place.text_of("EndFrame"), "8\n");
    EXPECT_EQ(status_without_reader("-f " + name + " -oout.kmr"), 0);
    EXPECT_EQ(place.text_of("said"), complaint);
    EXPECT_EQ(scratch::read_file(place.path() / "out.kmr"), content);
    expect_recording_untouched();
}

// The walk comes up for air after a million frames and one more.
TEST_F(OutputTest, ThatNobodyReadsAnyMoreEndsALongWalk) {
    place.compose({"--output", "long.kmr", "--frames", "1000010", "--payload", "16", "--p-payload", "16",
                   "--i-interval", "1000"});
    EXPECT_EQ(status_without_reader("-f long.kmr -a"), 0);
    EXPECT_EQ(place.text_of("said"), complaint);
    EXPECT_EQ(place.text_of("EndFrame"), "1000001\n");
}

// The head asks for two thousand million rows.
TEST_F(OutputTest, ThatNobodyReadsAnyMoreEndsTheRowsOfAnIndex) {
    place.compose({"--output", "wild.kmr", "--frames", "5", "--index-field", "RecordCount=2000000000"});
    EXPECT_EQ(status_without_reader("-f wild.kmr -t"), 0);
    EXPECT_EQ(place.text_of("said"), complaint);
}

TEST_F(OutputTest, ThatTakesEverythingIsNothingToSpeakOf) {
    EXPECT_EQ(place.run({"-f", name, "-a"}).err, "");
}

TEST_F(OutputTest, ThatIsClosedEndsNothingEarly) {
    EXPECT_EQ(status_by_shell("-f " + name + " -a >&-"), 0);
    EXPECT_EQ(place.text_of("EndFrame"), "8\n");
    EXPECT_EQ(status_by_shell("-f " + name + " -oout.kmr >&-"), 0);
    EXPECT_EQ(scratch::read_file(place.path() / "out.kmr"), content);
    expect_recording_untouched();
}

TEST_F(OutputTest, ThatIsClosedWithAllOtherStreamsEndsUpInNoFile) {
    EXPECT_EQ(status_by_shell("-f " + name + " -a <&- >&- 2>&-"), 0);
    EXPECT_EQ(place.text_of("EndFrame"), "8\n");
    EXPECT_EQ(status_by_shell("-f " + name + " -oout.kmr <&- >&- 2>&-"), 0);
    EXPECT_EQ(scratch::read_file(place.path() / "out.kmr"), content);
    expect_recording_untouched();
}

TEST_F(OutputTest, IntoAFileIsTheWholeReport) {
    const std::string file = (place.path() / "report.txt").string();
    const run::options how{.directory = place.path(), .environment = {"TZ=UTC0"}, .stdout_path = file};
    EXPECT_EQ(run::program(KMR_VIEWER, {"-f", name, "-i"}, how).status, 0);
    EXPECT_EQ(viewer::normalised(scratch::read_text(file)),
              viewer::read_golden("three_i_frames_of_eight").report);
}

} // namespace
