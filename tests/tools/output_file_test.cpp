// The file that is written under another name first.
#include "tools/compose/output_file.hpp"

#include "tests/support/scratch.hpp"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <unistd.h>

namespace {

// Numbers of descriptors are handed out again as soon as they are free, and so are names.
TEST(OutputFileTest, LeavesAloneWhatCameBehindIt) {
    const scratch::folder folder;
    const int before = scratch::open_descriptors();
    std::optional<compose::output_file> file;
    file.emplace(folder.file("a"));
    file->append("xyz", 3);
    file->commit();
    const int other = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const std::string of_another_run = folder.write_text("a.partial", "other");
    file.reset();
    EXPECT_EQ(scratch::open_descriptors(), before + 1);
    EXPECT_EQ(close(other), 0);
    EXPECT_EQ(scratch::read_text(folder.file("a")), "xyz");
    EXPECT_EQ(scratch::read_text(of_another_run), "other");
}

TEST(OutputFileTest, IsGoneWhenItWasNotFinished) {
    const scratch::folder folder;
    const int before = scratch::open_descriptors();
    {
        compose::output_file file(folder.file("a"));
        file.append("xyz", 3);
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
    EXPECT_EQ(scratch::open_descriptors(), before);
}

} // namespace
