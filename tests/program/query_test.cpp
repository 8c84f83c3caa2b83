// -q: the paths of the videos in an interval of time, and nothing else.
#include "tests/program/viewer.hpp"

#include <gmock/gmock.h>

namespace {

using recording::bytes;

struct entry {
    uint32_t time;
    std::string path;
    std::string name = "video.kmr";
};

// 72 bytes of header, records of 184 bytes: time at 4, name at 12, path at 116.
bytes index_file(const std::vector<entry>& entries) {
    bytes file(72, 0xEE);
    for (const entry& each : entries) {
        const size_t record = file.size();
        file.resize(record + 184, 0);
        recording::put_u32(file, record + 4, each.time);
        std::copy(each.name.begin(), each.name.end(),
                  file.begin() + static_cast<std::ptrdiff_t>(record) + 12);
        std::copy(each.path.begin(), each.path.end(),
                  file.begin() + static_cast<std::ptrdiff_t>(record) + 116);
    }
    return file;
}

class QueryTest : public ::testing::Test {
protected:
    void write_index(const std::vector<entry>& entries) {
        place.folder().write("Index.dat", index_file(entries));
    }

    // No module is needed.
    viewer::place place{""};
};

const std::vector<entry> four_records{{50, "a/50"}, {100, "b/100"}, {150, "c/150"}, {200, "d/200"}};

TEST_F(QueryTest, TakesTheStartAndLeavesTheEnd) {
    write_index(four_records);
    EXPECT_EQ(place.report({"-q", "100,200"}), "/dev/mmcblk0p2/b/100\n/dev/mmcblk0p2/c/150\n");
    EXPECT_EQ(place.report({"-q100,101"}), "/dev/mmcblk0p2/b/100\n");
    EXPECT_EQ(place.report({"-q", "201,300"}), "");
    EXPECT_EQ(place.report({"-q", "200,100"}), "");
}

TEST_F(QueryTest, ReadsNumbersAsFarAsTheyGo) {
    write_index(four_records);
    EXPECT_EQ(place.report({"-q", "abc,def"}), "");
    EXPECT_EQ(place.report({"-q", ",120"}), "/dev/mmcblk0p2/a/50\n/dev/mmcblk0p2/b/100\n");
    EXPECT_EQ(place.report({"-q", " 150s,+0200,1"}), "/dev/mmcblk0p2/c/150\n");
    EXPECT_EQ(place.report({"-q", "-5,60"}), "/dev/mmcblk0p2/a/50\n");
}

TEST_F(QueryTest, RunsWhereItStandsAndEndsTheProgram) {
    write_index(four_records);
    place.folder().write("sound.kmr", recording::sound({{}}));
    EXPECT_EQ(place.report({"-a", "-f", "sound.kmr", "-oout", "-q", "50,51", "-h"}), "/dev/mmcblk0p2/a/50\n");
    EXPECT_EQ(place.report({"-q", "50,51", "-f", std::string(128, 'n')}), "/dev/mmcblk0p2/a/50\n");
    EXPECT_FALSE(place.has("out"));
    EXPECT_FALSE(place.has("EndFrame"));
}

TEST_F(QueryTest, LeavesPicturesOut) {
    write_index({{100, "a", "x.jpg.kmr"}, {100, "b.jpg"}, {101, "c", "shot.jpg"}});
    EXPECT_EQ(place.report({"-q", "100,200"}), "/dev/mmcblk0p2/b.jpg\n");
}

TEST_F(QueryTest, PrintsNothingWithoutRecords) {
    EXPECT_EQ(place.report({"-q", "0,1000"}), "");
    write_index({});
    EXPECT_EQ(place.report({"-q", "0,1000"}), "");
    bytes torn = index_file({{100, "a"}});
    torn.pop_back();
    place.folder().write("Index.dat", torn);
    EXPECT_EQ(place.report({"-q", "0,1000"}), "");
    place.folder().write("Index.dat", {});
    EXPECT_EQ(place.report({"-q", "0,1000"}), "");
}

TEST_F(QueryTest, EndsAPathWithItsField) {
    write_index({{100, std::string(68, 'p')}, {101, "second"}});
    EXPECT_EQ(place.report({"-q", "0,1000"}),
              "/dev/mmcblk0p2/" + std::string(68, 'p') + "\n/dev/mmcblk0p2/second\n");
}

TEST_F(QueryTest, PrintsTheFirst3000OfMoreMatches) {
    std::string expected;
    std::vector<entry> entries;
    for (uint32_t i = 0; i < 3001; ++i) {
        entries.push_back({i, "path" + std::to_string(i)});
        if (i < 3000)
            expected += "/dev/mmcblk0p2/path" + std::to_string(i) + "\n";
    }
    write_index(entries);
    EXPECT_EQ(place.report({"-q", "0,5000"}), expected);
}

} // namespace
