#include "tests/modules/plain_module.hpp"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class PlainPathsTest : public BothModulesTest {
protected:
    PlainPathsTest() {
        setenv("TZ", "CET-1", 1); // one hour ahead of UTC, without summer time
        tzset();
    }
    ~PlainPathsTest() override {
        unsetenv("TZ");
        tzset();
    }

    std::string write_recording(const recording::bytes& content) const {
        return folder.write("dev/recording", content);
    }
    uint32_t start_of(const recording::bytes& content) const {
        vfs_stat_record record = {};
        EXPECT_EQ(module.stat(write_recording(content), record), 0);
        return record.StartTime;
    }
    // The header of a recording with one of its 16-bit fields changed.
    static recording::bytes header_with(size_t offset, uint16_t value) {
        recording::bytes header = recording::file_header(1);
        recording::put_u16(header, offset, value);
        return header;
    }
};

INSTANTIATE_TEST_SUITE_P(Modules, PlainPathsTest, ::testing::Values(0, 1));

constexpr uint32_t start_in_cet = 1420167845 - 3600; // 2015-01-02 03:04:05

// --- Stat ---

TEST_P(PlainPathsTest, StatFillsItsFieldsAndNothingElse) {
    const auto path = write_file("x", "abcde");
    const vfs_times times = {1000000001, 852516354};
    ASSERT_EQ(module.call<int32_t>("ChangeTime", path.c_str(), &times), 0);
    vfs_stat_record record;
    std::memset(&record, 0xEE, sizeof record);
    ASSERT_EQ(module.stat(path, record), 0);

    unsigned char expected[232];
    std::memset(expected, 0xEE, sizeof expected);
    const auto put = [&](size_t offset, std::initializer_list<unsigned char> bytes) {
        std::copy(bytes.begin(), bytes.end(), expected + offset);
    };
    put(48, {5, 0, 0, 0, 0, 0, 0, 0});
    put(72, {0x01, 0xCA, 0x9A, 0x3B}); // 1000000001
    put(80, {0x02, 0x5E, 0xD0, 0x32}); // 852516354
    put(104, {0, 0, 0, 0});
    put(128, {0, 0, 0, 0});
    EXPECT_EQ(std::memcmp(&record, expected, sizeof expected), 0);
}

TEST_P(PlainPathsTest, StatOfARecordingGivesItsTimes) {
    const auto path = write_recording(recording::sound({recording::frame{}}));
    const vfs_times times = {1420168000, 1420171445};
    ASSERT_EQ(module.call<int32_t>("ChangeTime", path.c_str(), &times), 0);
    vfs_stat_record record = {};
    ASSERT_EQ(module.stat(path, record), 0);
    EXPECT_EQ(record.StartTime, start_in_cet) << "the header's date, as local time";
    EXPECT_EQ(record.ModifyTime, 1420171445u);
    EXPECT_EQ(record.AccessTime, 1420168000u) << "looking at the header leaves no trace in the record";
    EXPECT_EQ(record.Channel, 0);
    EXPECT_EQ(record.Size, static_cast<int64_t>(fs::file_size(path)));
}

TEST_P(PlainPathsTest, StatFollowsTheFilesSize) {
    const auto path = write_file("x", "");
    fs::resize_file(path, 0x123456789);
    vfs_stat_record record = {};
    ASSERT_EQ(module.stat(path, record), 0);
    EXPECT_EQ(record.Size, 0x123456789);
}

TEST_P(PlainPathsTest, OnlyAPlausibleHeaderHasAStartTime) {
    EXPECT_EQ(start_of(recording::file_header(1)), start_in_cet);
    EXPECT_EQ(start_of(header_with(0, 0)), start_in_cet); // frame rate
    EXPECT_EQ(start_of(header_with(0, 60)), start_in_cet);
    EXPECT_EQ(start_of(header_with(0, 61)), 0u);
    EXPECT_EQ(start_of(header_with(10, 1969)), 0u);                        // year
    EXPECT_EQ(start_of(header_with(10, 2105)), start_in_cet + 2840140800); // 90 years with 22 leap days
    EXPECT_EQ(start_of(header_with(10, 2106)), 0u);
    EXPECT_EQ(start_of(header_with(12, 0)), 0u); // month
    EXPECT_EQ(start_of(header_with(12, 12)), start_in_cet + 334 * 86400);
    EXPECT_EQ(start_of(header_with(12, 13)), 0u);
    EXPECT_EQ(start_of(header_with(14, 0)), 0u); // day
    EXPECT_EQ(start_of(header_with(14, 31)), start_in_cet + 29 * 86400);
    EXPECT_EQ(start_of(header_with(14, 32)), 0u);
    EXPECT_EQ(start_of(header_with(16, 23)), start_in_cet + 20 * 3600); // hour
    EXPECT_EQ(start_of(header_with(16, 24)), 0u);
    EXPECT_EQ(start_of(header_with(18, 59)), start_in_cet + 55 * 60); // minute
    EXPECT_EQ(start_of(header_with(18, 60)), 0u);
    EXPECT_EQ(start_of(header_with(20, 59)), start_in_cet + 54); // second
    EXPECT_EQ(start_of(header_with(20, 60)), 0u);
}

TEST_P(PlainPathsTest, AHeaderCutShortHasNoStartTime) {
    recording::bytes header = recording::file_header(1);
    header.pop_back();
    EXPECT_EQ(start_of(header), 0u);
}

TEST_P(PlainPathsTest, StatOfAFolderSucceedsWithoutAStartTime) {
    vfs_stat_record record = {};
    EXPECT_EQ(module.stat(folder.path(), record), 0);
    EXPECT_EQ(record.StartTime, 0u);
}

TEST_P(PlainPathsTest, AMissingFileIsRefusedByEveryOperation) {
    vfs_stat_record record = {};
    const vfs_times times = {1, 2};
    struct statfs statistics = {};
    const std::string long_path = "/dev/" + std::string(5000, 'a');
    for (const char* path : {"/dev/kmr/missing", "", static_cast<const char*>(nullptr), long_path.c_str()}) {
        EXPECT_EQ(module.call<int32_t>("Stat", path, &record), -1);
        EXPECT_EQ(module.call<int32_t>("Unlink", path), -1);
        EXPECT_EQ(module.call<int32_t>("Statfs", path, &statistics), -1);
        EXPECT_EQ(module.call<int32_t>("ChangeTime", path, &times), -1);
        EXPECT_EQ(module.call<int32_t>("SetUsrParam", path, int32_t{1}, int32_t{2}), -1);
        EXPECT_EQ(module.call<int32_t>("Format", path), -1);
    }
}

TEST_P(PlainPathsTest, StatLeavesTheAccessTimeOfAFileOfOnesOwn) {
    const auto path = write_recording(recording::file_header(1));
    const vfs_times times = {1000000001, 1000000002}; // last read before last written, so reading would count
    ASSERT_EQ(module.call<int32_t>("ChangeTime", path.c_str(), &times), 0);
    vfs_stat_record record = {};
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(module.stat(path, record), 0);
        EXPECT_EQ(record.AccessTime, 1000000001u);
    }
}

// --- The other operations ---

TEST_P(PlainPathsTest, UnlinkRemovesTheFile) {
    const auto path = write_file("x", "abc");
    EXPECT_EQ(module.of_path("Unlink", path), 0);
    EXPECT_FALSE(fs::exists(path));
}

TEST_P(PlainPathsTest, ChangeTimeSetsAccessAndModificationTime) {
    const auto path = write_file("x", "abc");
    const vfs_times times = {1000000001, 1000000002};
    EXPECT_EQ(module.call<int32_t>("ChangeTime", path.c_str(), &times), 0);
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_atime, 1000000001);
    EXPECT_EQ(status.st_mtime, 1000000002);
}

TEST_P(PlainPathsTest, TimesBeyond2038ComeBackFromStatAsTheyWereSet) {
    const auto path = write_file("x", "abc");
    // A long of 32 bits holds them as negative numbers.
    const vfs_times times = {static_cast<long>(3000000001u), static_cast<long>(4000000002u)};
    ASSERT_EQ(module.call<int32_t>("ChangeTime", path.c_str(), &times), 0);
    vfs_stat_record record = {};
    ASSERT_EQ(module.stat(path, record), 0);
    EXPECT_EQ(record.AccessTime, 3000000001u);
    EXPECT_EQ(record.ModifyTime, 4000000002u);
}

TEST_P(PlainPathsTest, SetUsrParamKeepsNothing) {
    const auto path = write_file("x", "abc");
    EXPECT_EQ(module.call<int32_t>("SetUsrParam", path.c_str(), int32_t{1}, int32_t{2}), 0);
    EXPECT_EQ(scratch::read_text(path), "abc");
}

TEST_P(PlainPathsTest, FormatIsRefusedAndRemovesNothing) {
    const auto path = write_file("x", "abc");
    EXPECT_EQ(module.of_path("Format", folder.path()), -1);
    EXPECT_TRUE(fs::exists(path));
}

} // namespace
