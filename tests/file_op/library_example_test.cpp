// The example of docs/library.md, run as anybody would run it.
#include "tests/support/recording_bytes.hpp"
#include "tests/support/run_program.hpp"
#include "tests/support/scratch.hpp"

#include <gtest/gtest.h>

namespace {

recording::bytes cut_off_recording() {
    recording::bytes file = recording::file_header(3);
    for (const recording::frame& each : {recording::frame{.number = 1, .time_stamp = 1000, .kind = 0},
                                         {.number = 2, .time_stamp = 1040, .kind = 1},
                                         {.number = 3, .time_stamp = 3000, .kind = 0},
                                         {.number = 4, .time_stamp = 3040, .kind = 1}})
        recording::append(file, recording::frame_record(each)); // 132 bytes each
    file.resize(file.size() - 50);
    return file;
}

class LibraryExampleTest : public testing::Test {
protected:
    void SetUp() override { std::filesystem::create_directory_symlink(KMR_MODULES, folder_.path() / "lib"); }

    run::result example(const std::vector<std::string>& arguments) const {
        return run::program(LIBRARY_EXAMPLE, arguments, {.directory = folder_.path()});
    }

    scratch::folder folder_;
};

TEST_F(LibraryExampleTest, EveryServiceAnswers) {
    const std::string path = folder_.write("mnt/rec", cut_off_recording());
    const run::result result = example({path, folder_.file("copy")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "repaired\n"
                          "2 index records\n"
                          "I-frame 1: offset 88, time 1420167845\n"
                          "I-frame 2: offset 352, time 1420167847\n"
                          "starts at 1420167845\n"
                          "first I-frame at 88\n"
                          "tag \"goal\" at 1420167845\n"
                          "tag \"own goal\" at 1420167845\n"
                          "no tags\n"
                          "copied 696 bytes\n"); // 88 + 3 x 132 + 52 + 2 x 80
    recording::bytes expected = scratch::read_file(path);
    recording::put_u32(expected, 60, 1000);
    EXPECT_EQ(scratch::read_file(folder_.file("copy")), expected);
}

TEST_F(LibraryExampleTest, FailureIsLoggedInCyan) {
    const run::result result = example({folder_.file("mnt/missing"), folder_.file("copy")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "\x1B[1;36mrepair: 1026\r\n\x1B[0;39m\r\n");
}

TEST_F(LibraryExampleTest, WithoutArgumentsItSaysWhatItWants) {
    const run::result result = example({});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("<recording> <copy>"), std::string::npos);
}

} // namespace
