// kmr query: the same recordings in the same order as the viewer lists, with more said about each.
#include "tests/scan/compose.hpp"
#include "tests/support/run_program.hpp"
#include "tests/support/scratch.hpp"
#include "tests/vfslist16a/index_bytes.hpp"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using index_bytes::bytes;
using index_bytes::entry;

constexpr int32_t start_time = 1420167845; // 2015-01-02 03:04:05 UTC

class QueryTest : public testing::Test {
protected:
    run::result query(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"query", "Index.dat"});
        return run::program(KMR, arguments, {.directory = folder.path(), .environment = {"TZ=CET-1"}});
    }

    std::string names(const std::vector<std::string>& arguments) const {
        const run::result result = query(arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        std::string found;
        for (size_t end = result.out.find('\n'), begin = 0; end != result.out.npos;
             begin = end + 1, end = result.out.find('\n', begin))
            found +=
                result.out.substr(result.out.rfind(' ', end) + 1, end - result.out.rfind(' ', end) - 1) + ' ';
        return found;
    }

    void write(const std::vector<entry>& entries) const {
        folder.write("Index.dat", index_bytes::file(entries));
    }

    scratch::folder folder = {};
};

std::vector<entry> four_entries() {
    return {{.time = start_time, .path = "p0", .channel = 1, .kind = 2},
            {.time = start_time + 60, .path = "p1", .channel = 2, .kind = 2},
            {.time = start_time + 60, .path = "p2", .name = "x.jpg", .channel = 1, .kind = 2},
            {.time = start_time + 120, .path = "p3", .channel = 1, .kind = 3}};
}

TEST_F(QueryTest, ListsVideosOfAnInterval) {
    write(four_entries());
    EXPECT_EQ(names({}), "p0 p1 p3 ");
    EXPECT_EQ(names({"--from", "2015-01-02T04:04:06"}), "p1 p3 "); // local time
    EXPECT_EQ(names({"--from", "2015-01-02T03:05:05Z", "--to", "2015-01-02T03:06:05Z"}), "p1 ");
    EXPECT_EQ(names({"--utc", "--from", "2015-01-02T03:05:04.001"}), "p1 p3 ");
    EXPECT_EQ(names({"--utc", "--to", "2015-01-02T03:05:05.001"}), "p0 p1 ");
    EXPECT_EQ(names({"--from", "2016-01-01"}), "");
}

TEST_F(QueryTest, ListsOneChannelOrKind) {
    write(four_entries());
    EXPECT_EQ(names({"--channel", "1"}), "p0 p3 ");
    EXPECT_EQ(names({"--kind", "2"}), "p0 p1 ");
    EXPECT_EQ(names({"--channel", "1", "--kind", "3"}), "p3 ");
    EXPECT_EQ(names({"--channel", "9"}), "");
}

// Zeros in front make no number of another kind.
TEST_F(QueryTest, TakesNumbersAsDecimalOnes) {
    write({{.time = start_time, .path = "p0", .channel = 10, .kind = 8}});
    EXPECT_EQ(names({"--channel", "010", "--kind", "08"}), "p0 ");
}

TEST_F(QueryTest, SaysWhatTheRecordHolds) {
    write({{.time = start_time, .path = "20150102/caf\xE9", .name = "a.kmr", .channel = 200, .kind = 7}});
    EXPECT_EQ(query({}).out, "2015-01-02T04:04:05.000+01:00  channel  200  kind    7  20150102/caf\\xe9\n");
    EXPECT_EQ(query({"--json"}).out,
              "{\"schema\":\"kmr.query/1\",\"time\":\"2015-01-02T04:04:05.000+01:00\","
              "\"channel\":200,\"kind\":7,\"name\":\"a.kmr\",\"path\":\"20150102/caf\\\\xe9\"}\n");
}

TEST_F(QueryTest, KeepsTheOrderOfTheViewer) {
    std::vector<int32_t> times;
    for (int32_t i = 0; i < 4000; ++i) // more than the viewer's table holds
        times.push_back(1000 + (i % 7 == 3 ? i - 5 : i));
    write(index_bytes::at_times(times));
    const run::result viewer = run::program(KMR_VIEWER, {"-q", "0,2000000000"}, {.directory = folder.path()});
    std::string listed;
    for (size_t begin = 0; begin < viewer.out.size(); begin = viewer.out.find('\n', begin) + 1) {
        const size_t path = begin + std::string("/dev/mmcblk0p2/").size();
        listed += viewer.out.substr(path, viewer.out.find('\n', path) - path) + ' ';
    }
    const std::string found = names({});
    EXPECT_EQ(found.substr(0, listed.size()), listed);
    EXPECT_EQ(std::count(listed.begin(), listed.end(), ' '), 3000);
    EXPECT_EQ(std::count(found.begin(), found.end(), ' '), 4000);
}

TEST_F(QueryTest, RefusesWhatIsNoQuestion) {
    write(four_entries());
    for (const std::vector<std::string>& wrong : {std::vector<std::string>{"--from", "yesterday"},
                                                  {"--to", ""},
                                                  {"--channel", "255"},
                                                  {"--kind", "-1"},
                                                  {"--page", "3"}}) {
        const run::result result = query(wrong);
        EXPECT_EQ(result.status, 2) << wrong.front();
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err, "");
    }
}

TEST_F(QueryTest, SaysWhatCannotBeRead) {
    EXPECT_EQ(query({}).status, 2);
    EXPECT_EQ(query({}).err, "kmr: Index.dat: No such file or directory\n");
    folder.write("Index.dat", recording::bytes(71, 0));
    EXPECT_EQ(query({}).err, "kmr: Index.dat: not an index file: it has no header\n");
    EXPECT_EQ(query({}).status, 2);
    folder.write("Index.dat", recording::bytes(72, 0));
    EXPECT_EQ(names({}), "");
}

// Whatever stands in a recording is no list of recordings, and an empty answer would be as wrong.
TEST_F(QueryTest, RefusesARecording) {
    const scan_test::frames all = scan_test::sound_frames(10);
    const bytes sound = scan_test::recording_of(all, scan_test::records_for(all));
    bytes without_header = sound;
    std::fill_n(without_header.begin(), 88, uint8_t{0});
    for (const bytes& each : {sound, scan_test::without_index(all), without_header}) {
        folder.write("Index.dat", each);
        const run::result result = query({});
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "kmr: Index.dat: a recording, not an index file\n");
    }
}

TEST_F(QueryTest, ListsWhatIsWholeOfACutFileAndSaysSo) {
    bytes cut = index_bytes::file(four_entries()); // 72 + 4 * 184 bytes
    cut.resize(72 + 3 * 184 + 183);
    folder.write("Index.dat", cut);
    const run::result most = query({"--utc"});
    EXPECT_EQ(most.status, 1);
    EXPECT_EQ(most.out, "2015-01-02T03:04:05.000+00:00  channel    1  kind    2  p0\n"
                        "2015-01-02T03:05:05.000+00:00  channel    2  kind    2  p1\n");
    EXPECT_EQ(most.err, "kmr: Index.dat: cut, or no index file: behind the last whole record 183 bytes\n");
    cut.resize(73);
    folder.write("Index.dat", cut);
    const run::result one = query({});
    EXPECT_EQ(one.status, 1);
    EXPECT_EQ(one.out, "");
    EXPECT_EQ(one.err, "kmr: Index.dat: cut, or no index file: behind the last whole record 1 byte\n");
}

} // namespace
