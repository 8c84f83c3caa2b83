#include "tests/libvfs/scripted_module_0.hpp"

#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>

namespace {

using ::testing::ElementsAre;

class ScanListTest : public ::testing::Test {
protected:
    ScanListTest() { script = {}; }
    ~ScanListTest() override {
        for (int32_t i = 0; i < count; ++i)
            std::free(list[i]);
        std::free(list);
    }

    static void use_blocks(const std::vector<vfs_block_record>& blocks) {
        script.blocks = blocks;
        script.used_blocks = script.block_info_result = static_cast<int32_t>(blocks.size());
    }

    std::vector<std::string> scan(const std::string& path) {
        count = _vfs_ScanDir(path.c_str(), &list);
        std::vector<std::string> names;
        for (int32_t i = 0; i < count; ++i)
            names.emplace_back(list[i]->Name);
        return names;
    }

    vfs_scan_entry** list = nullptr;
    int32_t count = 0;
};

vfs_block_record block(uint32_t number, uint32_t key) {
    vfs_block_record record = {};
    record.BlockNo = number;
    record.SortKey = key;
    return record;
}

TEST_F(ScanListTest, NamesTheBlocksInAscendingOrderOfTheirThirdWord) {
    use_blocks({block(7, 300), block(8, 100), block(-9u, 200)});
    EXPECT_THAT(scan("/dev/sda1"), ElementsAre("/dev/sda1/8", "/dev/sda1/-9", "/dev/sda1/7"));
    EXPECT_THAT(script.calls, ElementsAre("GetUsedBlockNum /dev/sda1", "GetBlockInfo /dev/sda1 3"));
}

TEST_F(ScanListTest, BlocksWithEqualKeysKeepTheirOrder) {
    use_blocks({block(1, 5), block(2, 4), block(3, 5), block(4, 4), block(5, 5), block(6, 4), block(7, 5)});
    EXPECT_THAT(scan("/d"), ElementsAre("/d/2", "/d/4", "/d/6", "/d/1", "/d/3", "/d/5", "/d/7"));
}

TEST_F(ScanListTest, KeysThatLieFarApartAreInTheOrderOfTheirWrappedDifference) {
    use_blocks({block(1, 0), block(2, 0x90000000)});
    EXPECT_THAT(scan("/d"), ElementsAre("/d/2", "/d/1"));
}

TEST_F(ScanListTest, AnEntryHas280BytesThatAreZeroButForTheNameAt19) {
    use_blocks({block(5, 1)});
    scan("/dev/a");
    ASSERT_EQ(count, 1);
    unsigned char expected[280] = {};
    std::memcpy(expected + 19, "/dev/a/5", sizeof "/dev/a/5");
    EXPECT_EQ(sizeof(vfs_scan_entry), 280u);
    EXPECT_EQ(std::memcmp(list[0], expected, 280), 0);
}

TEST_F(ScanListTest, OnlyTheBlocksThatWereFilledAreListed) {
    use_blocks({block(1, 2), block(2, 1)});
    script.used_blocks = 10;
    EXPECT_THAT(scan("/dev/a"), ElementsAre("/dev/a/2", "/dev/a/1"));
    EXPECT_EQ(script.calls.back(), "GetBlockInfo /dev/a 10");
}

TEST_F(ScanListTest, NoBlocksAreAnEmptyList) {
    EXPECT_EQ(_vfs_ScanDir("/dev/a", &list), 0);
    EXPECT_NE(list, nullptr);
}

TEST_F(ScanListTest, AFailureOfTheModuleLeavesTheListAlone) {
    script.used_blocks = -3;
    EXPECT_EQ(_vfs_ScanDir("/dev/a", &list), -1);
    EXPECT_THAT(script.calls, ElementsAre("GetUsedBlockNum /dev/a"));
    use_blocks({block(1, 1)});
    script.block_info_result = -5;
    EXPECT_EQ(_vfs_ScanDir("/dev/a", &list), -1);
    EXPECT_EQ(list, nullptr);
}

TEST_F(ScanListTest, APathThatFillsTheNameIsCut) {
    use_blocks({block(5, 1)});
    const std::string path(300, 'p');
    EXPECT_THAT(scan(path), ElementsAre(std::string(255, 'p')));
    EXPECT_EQ(list[0]->Padding[0], 0);
}

TEST_F(ScanListTest, BlocksAreComparedByAWrappingSubtraction) {
    const auto compared = [](uint32_t a, uint32_t b) {
        const vfs_block_record first = block(1, a);
        const vfs_block_record second = block(2, b);
        return _vfs_SortBlock(&first, &second);
    };
    EXPECT_EQ(compared(5, 3), 2);
    EXPECT_EQ(compared(3, 5), -2);
    EXPECT_EQ(compared(3, 3), 0);
    EXPECT_EQ(compared(0x80000000, 0), INT32_MIN);
    EXPECT_EQ(compared(0, 0xFFFFFFFF), 1);
    EXPECT_EQ(compared(0xFFFFFFFF, 0), -1);
}

} // namespace
