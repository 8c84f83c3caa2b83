// This source sees the platform's records as a program without feature macros does.
#undef _FILE_OFFSET_BITS
#undef _TIME_BITS

#include "tests/modules/plain_module.hpp"

#include <cstring>
#include <sys/vfs.h>

namespace {

using PlainStatisticsTest = BothModulesTest;

INSTANTIATE_TEST_SUITE_P(Modules, PlainStatisticsTest, ::testing::Values(0, 1));

TEST_P(PlainStatisticsTest, AreTheHostsInItsOwnRecord) {
    struct {
        struct statfs record;
        unsigned char behind[64];
    } guarded;
    std::memset(&guarded, 0xA5, sizeof guarded);
    struct statfs expected = {};
    ASSERT_EQ(statfs("/proc", &expected), 0); // whose numbers stand still
    EXPECT_EQ(module.call<int32_t>("Statfs", "/proc", &guarded.record), 0);
    EXPECT_EQ(std::memcmp(&guarded.record, &expected, sizeof expected), 0);
    for (const unsigned char guard : guarded.behind)
        EXPECT_EQ(guard, 0xA5);
}

TEST_P(PlainStatisticsTest, OfAFolderHaveItsBlocks) {
    struct statfs expected = {};
    struct statfs statistics = {};
    ASSERT_EQ(statfs(folder.path().c_str(), &expected), 0);
    EXPECT_EQ(module.call<int32_t>("Statfs", folder.path().c_str(), &statistics), 0);
    EXPECT_EQ(statistics.f_bsize, expected.f_bsize);
    EXPECT_EQ(statistics.f_blocks, expected.f_blocks);
}

} // namespace
