#include "tests/modules/plain_module.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

class Module1Test : public PlainModuleTest {
protected:
    void* open_dir(const std::string& path) const { return module.call<void*>("OpenDir", path.c_str()); }
    const char* read_dir(void* handle) const {
        const auto* const entry = module.call<vfs_scan_entry*>("ReadDir", handle);
        return entry == nullptr ? nullptr : entry->Name;
    }
    int32_t close_dir(void* handle) const { return module.call<int32_t>("CloseDir", handle); }
    int32_t scan(const std::string& path, vfs_scan_entry**& list) const {
        return module.call<int32_t>("ScanDir", path.c_str(), &list);
    }

    const plain_module module = plain_module::module_1();
};

TEST_F(Module1Test, PathsAreTheHosts) {
    const scratch::working_directory here(folder.path());
    folder.write_text("x", "abc");
    vfs_stat_record record = {};
    EXPECT_EQ(module.stat("x", record), 0);
    EXPECT_EQ(record.Size, 3);
}

TEST_F(Module1Test, RenameRenames) {
    const auto path = write_file("x", "abc");
    EXPECT_EQ(module.call<int32_t>("Rename", path.c_str(), file("y").c_str()), 0);
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(scratch::read_text(file("y")), "abc");
    EXPECT_EQ(module.call<int32_t>("Rename", path.c_str(), file("y").c_str()), -1);
}

TEST_F(Module1Test, FcntlAnswersQuestionsAndRefusesChanges) {
    const int32_t number = module.open(write_file("x", "abc"), O_RDWR | O_APPEND);
    EXPECT_EQ(module.call<int32_t>("fcntl", number, int32_t{F_GETFD}, int32_t{0}), FD_CLOEXEC);
    EXPECT_EQ(module.call<int32_t>("fcntl", number, int32_t{F_GETFL}, int32_t{0}) & (O_ACCMODE | O_APPEND),
              O_RDWR | O_APPEND);
    const int before = scratch::open_descriptors();
    for (const int32_t command : {F_DUPFD, F_SETFL, F_SETFD, F_SETLK, -1, 12345})
        EXPECT_EQ(module.call<int32_t>("fcntl", number, command, int32_t{0}), -1);
    EXPECT_EQ(module.of_file("error", number), EINVAL);
    EXPECT_EQ(scratch::open_descriptors(), before);
    EXPECT_EQ(module.call<int32_t>("fcntl", int32_t{99}, int32_t{F_GETFD}, int32_t{0}), -1);
}

// --- Directories ---

TEST_F(Module1Test, ScanDirListsTheNamesInOrder) {
    for (const char* name : {"b", "B", ".hidden", "a10", "a2"})
        write_file(name, "");
    fs::create_directory(file("folder"));
    vfs_scan_entry** list = nullptr;
    const int32_t count = scan(file(""), list);
    std::vector<std::string> names;
    for (int32_t i = 0; i < count; ++i) {
        unsigned char expected[280] = {};
        std::strcpy(reinterpret_cast<char*>(expected) + 19, list[i]->Name);
        EXPECT_EQ(std::memcmp(list[i], expected, 280), 0) << "zero but for the name at 19";
        names.emplace_back(list[i]->Name);
        std::free(list[i]);
    }
    std::free(list);
    EXPECT_THAT(names, ElementsAre(".hidden", "B", "a10", "a2", "b", "folder"));
}

TEST_F(Module1Test, ScanDirOfAnEmptyFolderIsAnEmptyList) {
    vfs_scan_entry** list = nullptr;
    EXPECT_EQ(scan(folder.path(), list), 0);
    ASSERT_NE(list, nullptr);
    std::free(list);
}

TEST_F(Module1Test, ScanDirOfNoFolderFailsAndLeavesTheListAlone) {
    vfs_scan_entry** list = nullptr;
    EXPECT_EQ(scan(file("missing"), list), -1);
    EXPECT_EQ(scan(write_file("x", ""), list), -1);
    EXPECT_EQ(scan("", list), -1);
    EXPECT_EQ(list, nullptr);
}

TEST_F(Module1Test, TheLongestNameOfTheHostIsListedWhole) {
    const std::string longest(255, 'n');
    write_file(longest, "");
    vfs_scan_entry** list = nullptr;
    ASSERT_EQ(scan(file(""), list), 1);
    EXPECT_EQ(list[0]->Name, longest);
    std::free(list[0]);
    std::free(list);
}

TEST_F(Module1Test, AHandleBeginsWithMinus1AndReadsEveryName) {
    write_file("a", "");
    write_file("b", "");
    void* const handle = open_dir(file(""));
    ASSERT_NE(handle, nullptr);
    int32_t first_word = 0;
    std::memcpy(&first_word, handle, sizeof first_word);
    EXPECT_EQ(first_word, -1);
    std::vector<std::string> names;
    while (const char* const name = read_dir(handle))
        names.emplace_back(name);
    EXPECT_THAT(names, UnorderedElementsAre("a", "b"));
    EXPECT_EQ(read_dir(handle), nullptr);
    EXPECT_EQ(close_dir(handle), 0);
}

TEST_F(Module1Test, HandlesAreIndependent) {
    write_file("a", "");
    const int before = scratch::open_descriptors();
    void* const first = open_dir(file(""));
    void* const second = open_dir(file(""));
    ASSERT_NE(first, second);
    EXPECT_STREQ(read_dir(first), "a");
    EXPECT_EQ(close_dir(first), 0);
    EXPECT_STREQ(read_dir(second), "a");
    EXPECT_EQ(close_dir(second), 0);
    EXPECT_EQ(scratch::open_descriptors(), before);
}

TEST_F(Module1Test, HandlesThatAreNotOpenAreRefused) {
    void* const handle = open_dir(folder.path());
    ASSERT_EQ(close_dir(handle), 0);
    int32_t looks_like_one = -1;
    EXPECT_EQ(close_dir(handle), -1);
    EXPECT_EQ(close_dir(&looks_like_one), -1);
    EXPECT_EQ(close_dir(nullptr), -1);
    EXPECT_EQ(read_dir(&looks_like_one), nullptr);
    EXPECT_EQ(open_dir(file("missing")), nullptr);
    EXPECT_EQ(module.call<void*>("OpenDir", static_cast<const char*>(nullptr)), nullptr);
}

} // namespace
