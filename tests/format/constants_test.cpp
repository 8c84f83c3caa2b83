#include "UserDataOpt/user_data_block.h"
#include "analyse/format/index_block.h"
#include "vfslist16a/index_file.h"

#include <gtest/gtest.h>

#include <cstring>

extern "C" {
size_t c_size_of_all_records(void);
const char* c_name_of_word(uint32_t word);
uint32_t c_index_block_size(uint32_t record_count);
}

namespace {

TEST(ConstantsTest, SizeArraysInC) {
    // 88 + 32 + 44 + 64 records of 80 + 8 + 64 + 8 + 4 + 72 + 184
    EXPECT_EQ(c_size_of_all_records(), 5624u);
}

TEST(ConstantsTest, LabelCasesInC) {
    EXPECT_STREQ(c_name_of_word(0x02000000), "sync word");
    EXPECT_STREQ(c_name_of_word(0x0123ABCD), "index magic");
    EXPECT_STREQ(c_name_of_word(0x54534E5A), "user-data magic");
    EXPECT_STREQ(c_name_of_word(1048576), "largest frame");
    EXPECT_STREQ(c_name_of_word(0x7788), "inserted frame");
    EXPECT_STREQ(c_name_of_word(450), "capacity step");
    EXPECT_STREQ(c_name_of_word(25), "frame rate");
    EXPECT_STREQ(c_name_of_word(0xFED7), "analysis size");
    EXPECT_STREQ(c_name_of_word(0xFED9), "analysis target");
    EXPECT_STREQ(c_name_of_word(0x12345678), "plain log");
    EXPECT_STREQ(c_name_of_word(0x82000000), "");
}

TEST(ConstantsTest, OfTheUserData) {
    EXPECT_EQ(KMR_USER_DATA_HEAD_SIZE, 8u);
    EXPECT_EQ(KMR_SEGMENT_HEAD_SIZE, 4u);
    const uint32_t magic = KMR_USER_DATA_MAGIC;
    EXPECT_EQ(std::memcmp(&magic, "ZNST", 4), 0);
    EXPECT_EQ(USERDATA_FLAG_USER_DEFINE, 0x0001u);
    EXPECT_EQ(USERDATA_FLAG_OSD, 0xFED1u);
    EXPECT_EQ(USERDATA_FLAG_VCA, 0xFED2u);
    EXPECT_EQ(USERDATA_FLAG_FRAMETIME, 0xFED3u);
    EXPECT_EQ(USERDATA_FLAG_GPS, 0xFED4u);
    EXPECT_EQ(USERDATA_FLAG_PLATE, 0xFED5u);
    EXPECT_EQ(USERDATA_FLAG_AUDIO, 0xFED6u);
    EXPECT_EQ(USERDATA_FLAG_VCA_SIZE, 0xFED7u);
    EXPECT_EQ(USERDATA_FLAG_VCA_VI, 0xFED8u);
    EXPECT_EQ(USERDATA_FLAG_VCA_TARGET, 0xFED9u);
}

TEST(ConstantsTest, OfTheIndexFile) {
    EXPECT_EQ(KMR_INDEX_FILE_HEADER_SIZE, 72u);
    EXPECT_EQ(KMR_INDEX_FILE_RECORD_SIZE, 184u);
}

TEST(ConstantsTest, TheLengthOfAnIndexIs32BitsWide) {
    EXPECT_EQ(c_index_block_size(0), 52u);
    EXPECT_EQ(c_index_block_size(1), 132u);
    EXPECT_EQ(kmr_index_block_size(450), 36052u);
    EXPECT_EQ(c_index_block_size(53687090), 4294967252u);
    EXPECT_EQ(c_index_block_size(53687091), 36u); // 4294967332 - 2^32
    EXPECT_GT(kmr_index_block_size(30000000), 0x7FFFFFFFu);
}

} // namespace
