// Which folder a handle stands for while others are open.
#include "tests/modules/plain_module.hpp"

namespace {

class DirectoryHandlesTest : public PlainModuleTest {
protected:
    void* open_dir(const std::string& name) const {
        return module.call<void*>("OpenDir", file(name).c_str());
    }
    std::string next_of(void* handle) const {
        const auto* const entry = module.call<const vfs_scan_entry*>("ReadDir", handle);
        return entry == nullptr ? "" : entry->Name;
    }
    int32_t close_dir(void* handle) const { return module.call<int32_t>("CloseDir", handle); }

    const plain_module module = plain_module::module_1();
};

TEST_F(DirectoryHandlesTest, EachReadsItsOwnFolderInWhateverOrderTheyAreUsed) {
    for (const char* name : {"first", "second", "third"})
        write_file(std::string(name) + "/in_" + name, "");
    void* const first = open_dir("first");
    void* const second = open_dir("second");
    void* const third = open_dir("third");
    EXPECT_EQ(next_of(second), "in_second");
    EXPECT_EQ(next_of(first), "in_first");
    EXPECT_EQ(close_dir(second), 0);
    EXPECT_EQ(next_of(third), "in_third");
    EXPECT_EQ(next_of(third), "");
    EXPECT_EQ(close_dir(first), 0);
    EXPECT_EQ(close_dir(third), 0);
}

TEST_F(DirectoryHandlesTest, WhatIsNoHandleIsRefusedBesideOneThatIs) {
    write_file("folder/name", "");
    void* const open = open_dir("folder");
    void* const closed = open_dir("folder");
    EXPECT_EQ(close_dir(closed), 0);
    int32_t looks_like_one = -1;
    for (void* handle : {closed, static_cast<void*>(&looks_like_one), static_cast<void*>(nullptr)}) {
        EXPECT_EQ(next_of(handle), "");
        EXPECT_EQ(close_dir(handle), -1);
    }
    EXPECT_EQ(next_of(open), "name");
    EXPECT_EQ(close_dir(open), 0);
    EXPECT_EQ(close_dir(open), -1);
}

} // namespace
