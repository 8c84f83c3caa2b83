// What a copy would destroy is found even where the system neither lists the descriptors of a process nor tells how many
// it may have.
#include "main/front_end.h"
#include "tests/support/scratch.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

// The linker leads the program's calls of these here.
extern "C" DIR* __wrap_opendir(const char*) {
    return nullptr;
}
extern "C" long __real_sysconf(int name);
extern "C" long __wrap_sysconf(int name) {
    return name == _SC_OPEN_MAX ? -1 : __real_sysconf(name);
}

namespace {

TEST(NoProcTest, AFileThatIsHeldOpenIsNotReplacedWithoutAnyLimit) {
    vfs_Init();
    const scratch::folder place;
    const recording::bytes content(5000, 7);
    const std::string in = place.write("in.kmr", content);
    const std::string held = place.write("held.kmr", {1, 2, 3});
    const int descriptor = open(held.c_str(), O_RDONLY);
    ASSERT_GE(descriptor, 0);
    ::testing::internal::CaptureStdout();
    inner_OutputFile(in.c_str(), held.c_str());
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "fopen " + held + " error\n");
    EXPECT_EQ(scratch::read_file(held), (recording::bytes{1, 2, 3}));
    close(descriptor);
    ::testing::internal::CaptureStdout();
    inner_OutputFile(in.c_str(), held.c_str());
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "file size=5000\n");
    EXPECT_EQ(scratch::read_file(held), content);
}

} // namespace
