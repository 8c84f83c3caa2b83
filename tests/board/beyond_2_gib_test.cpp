// Recordings and index files that reach beyond 2 GiB. The layer's offsets are signed 32-bit numbers: what lies
// beyond them is not reached, and nothing wrong is said about it (docs/board.md).
#include "tests/board/program_folder.hpp"
#include "tests/board/sparse_file.hpp"

#include <algorithm>
#include <gmock/gmock.h>

namespace {

using board::program_folder;
using board::sparse_file;
using ::testing::Contains;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;

constexpr int64_t frame_size = 0x100000; // the longest frame there may be
constexpr int64_t file_header_size = 88;

int64_t position_of(uint32_t frame) {
    return file_header_size + frame * frame_size;
}

// The header alone of an I-frame of 1 MiB; number and time stamp (40 ms apart) start at 1.
recording::bytes long_frame_header(uint32_t index) {
    recording::bytes header(32, 0);
    recording::put_u32(header, 0, 0x02000000);
    recording::put_u32(header, 4, frame_size);
    recording::put_u32(header, 12, index + 1);
    recording::put_u32(header, 16, 40 * (index + 1));
    recording::put_u32(header, 20, frame_size - 32);
    return header;
}

// Frames of 1 MiB and an index of two records at the end.
std::string write_recording(program_folder& folder, uint32_t frames) {
    const std::string path = folder.files.file("long.kmr");
    sparse_file file(path);
    file.put(0, recording::file_header(frames));
    for (uint32_t i = 0; i < frames; ++i)
        file.put(position_of(i), long_frame_header(i));
    file.put(position_of(frames),
             recording::index_block(
                 {{.time = 1420167845, .position = 88}, {.time = 1420167846, .position = 88 + frame_size}}));
    return path;
}

std::vector<std::string> rows_of(std::vector<std::string> lines) {
    std::erase_if(lines,
                  [](const std::string& line) { return line.find("\t       I\t") == std::string::npos; });
    return lines;
}

TEST(Beyond2GiBTest, ARecordingThatEndsBeforeIsReportedWhole) {
    program_folder folder;
    const auto lines = folder.run({"-a", "-f", write_recording(folder, 2047)});
    EXPECT_THAT(rows_of(lines), SizeIs(2047));
    EXPECT_THAT(rows_of(lines).back(), HasSubstr("\t7fe00058\t"));
    EXPECT_THAT(lines, Contains("KMR FileEndTime   :2015/01/02 03:04:06"));
    EXPECT_THAT(lines, Contains("Well done :)"));
}

TEST(Beyond2GiBTest, TheWalkEndsAtTheFirstFrameBeyondWithoutAVerdict) {
    program_folder folder;
    const auto lines = folder.run({"-a", "-u", "-f", write_recording(folder, 2560)});
    const auto rows = rows_of(lines);
    ASSERT_THAT(rows, SizeIs(2048)); // the last one starts in front of 2 GiB and ends behind
    EXPECT_EQ(rows.front(),
              "               1\t00000058\t       I\t 1048576\t 1048544\t       0\t       0\t      40\t"
              "      40\t       0\t        ");
    EXPECT_EQ(rows.back(),
              "            2048\t7ff00058\t       I\t 1048576\t 1048544\t       0\t       0\t   81920\t"
              "      40\t       0\t        ");
    EXPECT_THAT(lines, Each(Not(HasSubstr("Well done"))));
    EXPECT_THAT(lines, Each(Not(HasSubstr("POOR FILE"))));
    EXPECT_EQ(scratch::read_text(folder.files.file("EndFrame")), "2048\n");
}

TEST(Beyond2GiBTest, TheSearchBehindABadHeaderEndsWithoutAFrame) {
    program_folder folder;
    const std::string path = write_recording(folder, 2560);
    {
        // Two good frames, then nothing where the third header should be: the file's size is negative as a signed
        // number, so no place lies in front of the end and nothing is searched.
        sparse_file file(path);
        file.put(0, recording::file_header(2560));
        for (uint32_t i : {0u, 1u, 3u})
            file.put(position_of(i), long_frame_header(i));
        file.set_size(position_of(2560));
    }
    const auto rows = rows_of(folder.run({"-a", "-f", path}));
    ASSERT_THAT(rows, SizeIs(3));
    EXPECT_THAT(rows[2], HasSubstr("\t00200058\t"));
    EXPECT_THAT(rows[2], HasSubstr("\t      -2\t"));
}

TEST(Beyond2GiBTest, AnIndexInFrontOfFramesIsJudgedByTheTrailerAtTheEnd) {
    program_folder folder;
    const std::string path = folder.files.file("long.kmr");
    {
        sparse_file file(path);
        file.put(0, recording::file_header(100));
        file.put(position_of(0), long_frame_header(0));
        file.put(position_of(1), recording::index_block({})); // looks like an index where it is reached
        file.put(position_of(2560), recording::index_block({{.time = 0, .position = 88}}));
    }
    const auto lines = folder.run({"-a", "-f", path});
    EXPECT_THAT(rows_of(lines), SizeIs(1));
    // The record's own offset is 2560 MiB + 88 + 44.
    EXPECT_THAT(lines,
                Contains("       0\t[00:00:00]\t00000058\ta0000084\t       0\t    1080\t    1920\t        "));
    EXPECT_THAT(lines, Contains("Well done :)"));
}

TEST(Beyond2GiBTest, ASizeThatIsAMultipleOf4GiBSearchesNothing) {
    program_folder folder;
    const std::string path = folder.files.file("long.kmr");
    {
        sparse_file file(path);
        file.put(0, recording::file_header(100));
        file.put(position_of(0), long_frame_header(0));
        file.put(position_of(2), long_frame_header(2));
        file.set_size(int64_t{1} << 32);
    }
    EXPECT_THAT(rows_of(folder.run({"-a", "-f", path})), SizeIs(2)); // the good frame and the empty header
}

TEST(Beyond2GiBTest, AnExportCopiesAllOfIt) {
    program_folder folder;
    const int64_t size = (int64_t{1} << 31) + 4097;
    const std::string path = folder.files.file("long.kmr");
    sparse_file(path).set_size(size);
    EXPECT_THAT(folder.run({"-f", path, "-o/dev/null"}),
                ::testing::ElementsAre("file size=" + std::to_string(size)));
}

TEST(Beyond2GiBTest, AQueryFindsWhatStandsThereInTheIndexFile) {
    program_folder folder;
    constexpr int64_t record_size = 184;
    constexpr int64_t count = 16'000'000; // nearly 3 GiB
    recording::bytes record(record_size, 0);
    recording::put_u32(record, 4, 1000);
    const std::string path_text = "rec/last.kmr";
    std::copy(path_text.begin(), path_text.end(), record.begin() + 116);
    {
        sparse_file file(folder.files.file("Index.dat"));
        file.put(72 + (count - 1) * record_size, record);
    }
    EXPECT_THAT(folder.run({"-q", "1000,1001"}), ::testing::ElementsAre("/dev/mmcblk0p2/rec/last.kmr"));
}

} // namespace
