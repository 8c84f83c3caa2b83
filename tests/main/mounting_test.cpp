// The partitions' paths, and which module calls the start makes in which order.
#include "main/front_end.h"
#include "tests/fakes/module_probe.hpp"

#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace {

using ::testing::ElementsAreArray;

constexpr size_t path_size = 32;

// The buffer's bytes after a call; it held 'x' throughout.
struct outcome {
    int32_t result;
    std::string bytes;
};

outcome path_of(int32_t slot) {
    std::array<char, path_size> buffer;
    buffer.fill('x');
    const int32_t result = inner_GetVitualMountPath(buffer.data(), slot);
    return {result, std::string(buffer.data(), buffer.size())};
}

std::string written(const std::string& text) {
    return (text + '\0').append(path_size - text.size() - 1, 'x');
}

TEST(MountPathTest, HasTwoDigitsAndPartition1) {
    const std::vector<std::pair<int32_t, std::string>> paths{
        {0, "/dev/scsi/host00/part1"}, {1, "/dev/scsi/host01/part1"},  {7, "/dev/scsi/host07/part1"},
        {9, "/dev/scsi/host09/part1"}, {10, "/dev/scsi/host10/part1"}, {22, "/dev/scsi/host22/part1"},
        {23, "/dev/scsi/host23/part1"}};
    for (const auto& [slot, path] : paths) {
        EXPECT_EQ(path_of(slot).result, 0) << slot;
        EXPECT_EQ(path_of(slot).bytes, written(path)) << slot;
    }
}

TEST(MountPathTest, OfSlot24IsRefusedAndLeavesTheBuffer) {
    EXPECT_EQ(path_of(24).result, -1);
    EXPECT_EQ(path_of(24).bytes, std::string(path_size, 'x'));
}

TEST(MountPathTest, OfAnyOtherSlotIsRefusedAndEmptiesTheBuffer) {
    for (const int32_t slot : {-1, 25, 26, 100, -24, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(path_of(slot).result, -1) << slot;
        EXPECT_EQ(path_of(slot).bytes, written("")) << slot;
    }
}

class MountingTest : public ::testing::Test {
protected:
    MountingTest() { module_probe::reset(); }
    ~MountingTest() override { module_probe::reset(); }

    // In slot order, whatever each gives.
    static std::vector<std::string> start_calls(const std::string& mount_result) {
        std::vector<std::string> calls{"znfs_Init(0)"};
        for (int slot = 0; slot < 24; ++slot) {
            char path[path_size];
            std::snprintf(path, sizeof path, "/dev/scsi/host%02d/part1", slot);
            calls.push_back("znfs_Mount(\"" + std::string(path) + "\") = " + mount_result);
        }
        return calls;
    }
};

TEST_F(MountingTest, InitialisesTheModuleAndThenTriesAllDisksInAscendingOrder) {
    module_probe::fail_from("Mount", 1, 5);
    EXPECT_EQ(inner_InitVFS(), 0);
    EXPECT_THAT(module_probe::calls(), ElementsAreArray(start_calls("5")));
}

TEST_F(MountingTest, GoesOnWhenDisksAreMissing) {
    module_probe::fail_from("Mount", 1);
    EXPECT_EQ(inner_InitVFS(), 0);
    EXPECT_THAT(module_probe::calls(), ElementsAreArray(start_calls("-1")));
}

TEST_F(MountingTest, LoadsTheModulesFirst) {
    EXPECT_EQ(inner_InitVFS(), 0);
    EXPECT_EQ(g_stvfsmnt.Entries[0].iState, 1U);
    EXPECT_EQ(g_stvfsmnt.Entries[1].iState, 1U);
}

void print_last_call() {
    const std::vector<std::string> calls = module_probe::calls();
    std::fprintf(stderr, "last: %s\n", calls.empty() ? "none" : calls.back().c_str());
}

TEST_F(MountingTest, ShutsTheModuleDownWhenTheProcessEnds) {
    const auto start_and_end = [] {
        std::atexit(print_last_call);
        inner_InitVFS();
        module_probe::reset();
        std::exit(0);
    };
    EXPECT_EXIT(start_and_end(), ::testing::ExitedWithCode(0), "last: znfs_DeInit\\(\\)");
}

} // namespace
