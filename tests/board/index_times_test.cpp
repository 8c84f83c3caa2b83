// Index times are unsigned: they reach to the year 2106, whatever width the libc's time_t has.
#include "tests/board/program_folder.hpp"

#include <gmock/gmock.h>

namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

std::vector<std::string> report_of_times(const std::vector<uint32_t>& times) {
    recording::bytes file = recording::file_header(1);
    recording::append(file, recording::frame_record({}));
    std::vector<recording::index_record> records;
    for (const uint32_t time : times)
        records.push_back({.time = time, .position = 88});
    recording::append(file, recording::index_block(records));
    board::program_folder folder;
    return folder.run({"-a", "-f", folder.files.write("times.kmr", file)});
}

TEST(IndexTimesTest, TheLastSecondOf31BitsAndTheOneBehind) {
    const auto lines = report_of_times({0x7FFFFFFF, 0x80000000});
    EXPECT_THAT(lines, Contains(HasSubstr("\t[03:14:07]\t")));
    EXPECT_THAT(lines, Contains(HasSubstr("\t[03:14:08]\t")));
    EXPECT_THAT(lines, Contains("KMR FileStartTime :2038/01/19 03:14:07"));
    EXPECT_THAT(lines, Contains("KMR FileEndTime   :2038/01/19 03:14:08"));
    EXPECT_THAT(lines, Contains("KMR File Time     :       1(s)"));
}

TEST(IndexTimesTest, TheLastSecondOf32Bits) {
    const auto lines = report_of_times({0xFFFFFFFF});
    EXPECT_THAT(lines, Contains(HasSubstr("\t[06:28:15]\t")));
    EXPECT_THAT(lines, Contains("KMR FileStartTime :2106/02/07 06:28:15"));
    EXPECT_THAT(lines, Contains("KMR FileEndTime   :2106/02/07 06:28:15"));
}

} // namespace
