#include "base/host_file.hpp"

#include "tests/support/scratch.hpp"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

using kmr::open_host_file;

TEST(HostFileTest, IsNullWhenItCannotBeOpened) {
    const scratch::folder folder;
    EXPECT_EQ(open_host_file(folder.file("missing").c_str(), "rb"), nullptr);
    EXPECT_EQ(open_host_file(folder.file("no/such/folder").c_str(), "wb"), nullptr);
}

TEST(HostFileTest, ClosesItselfAndWritesWhatWasHeldBack) {
    const scratch::folder folder;
    const int before = scratch::open_descriptors();
    {
        const kmr::host_file file = open_host_file(folder.file("x").c_str(), "wb");
        ASSERT_NE(file, nullptr);
        std::fputs("held back", file.get());
        EXPECT_EQ(scratch::open_descriptors(), before + 1);
    }
    EXPECT_EQ(scratch::open_descriptors(), before);
    EXPECT_EQ(scratch::read_text(folder.path() / "x"), "held back");
}

TEST(HostFileTest, OfMoreThan2GiBOpensAndIsReadAtItsEnd) {
    const scratch::folder folder;
    const std::string path = folder.write_text("large", "");
    constexpr uint64_t size = (uint64_t{1} << 31) + 1;
    std::filesystem::resize_file(path, size);
    const kmr::host_file file = open_host_file(path.c_str(), "rb");
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(fseeko64(file.get(), -1, SEEK_END), 0);
    EXPECT_EQ(ftello64(file.get()), int64_t{1} << 31);
    EXPECT_EQ(std::fgetc(file.get()), 0);
    EXPECT_EQ(std::fgetc(file.get()), EOF);
}

} // namespace
