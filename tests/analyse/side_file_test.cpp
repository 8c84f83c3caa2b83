#include "analyse/side_file.h"

#include "tests/analyse/analysis_fixture.hpp"

#include <filesystem>

namespace {

class SideFileTest : public analysis::AnalysisTest {
protected:
    // The value and the result of reading a file with this content into 77.
    std::pair<int32_t, int32_t> read_back(const std::string& content) const {
        folder().write_text("side", content);
        int32_t value = 77;
        const int32_t items = myReadFile("side", &value);
        return {items, value};
    }
};

using testing::Pair;

TEST_F(SideFileTest, HoldsADecimalNumberAndALineFeed) {
    EXPECT_EQ(myWriteFile("Diff", 12345), 1);
    EXPECT_EQ(text("Diff"), "12345\n");
    EXPECT_EQ(myWriteFile("Diff", -5), 1);
    EXPECT_EQ(text("Diff"), "-5\n");
    EXPECT_EQ(myWriteFile("Diff", 0), 1);
    EXPECT_EQ(text("Diff"), "0\n");
    EXPECT_EQ(myWriteFile("Diff", INT32_MIN), 1);
    EXPECT_EQ(text("Diff"), "-2147483648\n");
}

TEST_F(SideFileTest, IsReplacedAsAWhole) {
    folder().write_text("EndFrame", "a very long text that was here before\n");
    EXPECT_EQ(myWriteFile("EndFrame", 1), 1);
    EXPECT_EQ(text("EndFrame"), "1\n");
}

TEST_F(SideFileTest, IsReadBack) {
    int32_t value = 0;
    for (const int32_t each : {0, 1, -1, INT32_MAX, INT32_MIN}) {
        ASSERT_EQ(myWriteFile("EndFrame", each), 1);
        EXPECT_EQ(myReadFile("EndFrame", &value), 1);
        EXPECT_EQ(value, each);
    }
}

TEST_F(SideFileTest, IsReadAsScanfReadsANumber) {
    EXPECT_THAT(read_back("42\n"), Pair(1, 42));
    EXPECT_THAT(read_back("42"), Pair(1, 42));
    EXPECT_THAT(read_back("  \n -42 rest"), Pair(1, -42));
    EXPECT_THAT(read_back("+7\n\n\n"), Pair(1, 7));
    EXPECT_THAT(read_back("12abc"), Pair(1, 12));
}

TEST_F(SideFileTest, KeepsTheLow32BitsOfALongerNumber) {
    EXPECT_THAT(read_back("99999999999\n"), Pair(1, 1215752191)); // 23 * 2^32 + 1215752191
    EXPECT_THAT(read_back("2147483648\n"), Pair(1, INT32_MIN));
}

TEST_F(SideFileTest, LeavesTheValueAloneWithoutANumber) {
    EXPECT_THAT(read_back("abc\n"), Pair(0, 77));
    EXPECT_THAT(read_back("-\n"), Pair(0, 77));
    EXPECT_THAT(read_back(""), Pair(-1, 77));
    EXPECT_THAT(read_back(" \n"), Pair(-1, 77));
}

TEST_F(SideFileTest, ThatCannotBeOpenedGivesMinus1) {
    int32_t value = 77;
    EXPECT_EQ(myReadFile("missing", &value), -1);
    EXPECT_EQ(value, 77);
    EXPECT_FALSE(exists("missing"));
    EXPECT_EQ(myWriteFile("no folder/Diff", 1), -1);
    std::filesystem::create_directory(path("folder"));
    EXPECT_EQ(myWriteFile("folder", 1), -1);
}

} // namespace
