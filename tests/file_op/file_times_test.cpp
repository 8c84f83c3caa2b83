#include "file_op/file_times.h"

#include "file_op/open_table.h"
#include "tests/file_op/recording_fixture.hpp"

#include <cstdlib>

namespace {

using recording::put_u32;

constexpr char short_name[] = "H0000120150102030405C000001";
constexpr char place[] = "disks/host00/part1/H0000120150102030405C000001";

class FileTimesTest : public RecordingTest {
protected:
    void SetUp() override {
        RecordingTest::SetUp();
        setenv("TZ", "UTC", 1); // the plain-file module reads the header's date as local time
        tzset();
    }

    struct answer {
        int32_t status;
        uint32_t time;
        bool operator==(const answer&) const = default;
        friend std::ostream& operator<<(std::ostream& out, const answer& of) {
            return out << of.status << " at " << of.time;
        }
    };

    template <typename Service>
    static answer ask(Service service, const char* name) {
        uint32_t time = 77;
        const int32_t status = service(name, &time);
        return {status, time};
    }
};

bytes recording_with_index(uint32_t first_time = 500) {
    return recording::sound({small_frame(1, 1000, i_frame), small_frame(2, 1040, p_frame)}, first_time);
}

// --- start ---

TEST_F(FileTimesTest, StartOfAShortNameIsWhatTheFileSystemKeeps) {
    put(place, recording_with_index());
    EXPECT_EQ(ask(rec_GetFileStartTime, short_name), (answer{REC_OK, 1420167845})); // 2015-01-02 03:04:05
    EXPECT_EQ(module_probe::calls(),
              (call_log{"znfs_Stat(\"/dev/scsi/host00/part1/H0000120150102030405C000001\") = 0"}));
}

TEST_F(FileTimesTest, StartOfAShortNameIsNotLookedForOnOtherDisks) {
    put("disks/host01/part1/H0000120150102030405C000001", recording_with_index());
    EXPECT_EQ(ask(rec_GetFileStartTime, short_name), (answer{REC_FAILED, 0}));
    EXPECT_EQ(module_probe::count(), 1);
}

// A file system in place of module 0's, all of whose recordings start at the last second of 32 bits.
int32_t stat_at_the_last_second(const char*, vfs_stat_record* record) {
    record->StartTime = 0xFFFFFFFF;
    return 0;
}

TEST_F(FileTimesTest, StartOfAShortNameIsTakenAsItIsUpToTheLastSecond) {
    auto& stat = g_stvfsmnt.Entries[0].Operations.Stat;
    const auto before = stat;
    stat = stat_at_the_last_second;
    EXPECT_EQ(ask(rec_GetFileStartTime, short_name), (answer{REC_OK, 0xFFFFFFFF}));
    stat = before;
}

TEST_F(FileTimesTest, StartOfAFullPathIsTheFirstIndexRecords) {
    const std::string path = put_recording(recording_with_index(500));
    EXPECT_EQ(ask(rec_GetFileStartTime, path.c_str()), (answer{REC_OK, 500}));
    EXPECT_EQ(short_calls().front(), "Stat(rec) = 0");
}

TEST_F(FileTimesTest, StartThatCannotBeHadIsZero) {
    EXPECT_EQ(ask(rec_GetFileStartTime, nullptr), (answer{REC_FAILED, 0}));
    EXPECT_EQ(ask(rec_GetFileStartTime, ""), (answer{REC_FAILED, 0}));
    EXPECT_EQ(ask(rec_GetFileStartTime, "X0000120150102030405C000001"), (answer{REC_FAILED, 0}));
    EXPECT_EQ(ask(rec_GetFileStartTime, folder_.file("mnt/missing").c_str()), (answer{REC_FAILED, 0}));
    const std::string path = put_recording(bytes(500, 0));
    EXPECT_EQ(ask(rec_GetFileStartTime, path.c_str()), (answer{REC_FAILED, 0}));
    EXPECT_EQ(rec_GetFileStartTime(path.c_str(), nullptr), REC_FAILED);
}

TEST_F(FileTimesTest, RecordThatSaysMinusOneOrIsTooShortHasNoStart) {
    std::string path = put_recording(recording_with_index(0xFFFFFFFF));
    EXPECT_EQ(ask(rec_GetFileStartTime, path.c_str()), (answer{REC_FAILED, 0}));
    bytes short_records = recording_with_index(500); // the block starts at 168
    put_u32(short_records, 168 + 36, 79);
    path = put_recording(short_records);
    EXPECT_EQ(ask(rec_GetFileStartTime, path.c_str()), (answer{REC_FAILED, 0}));
    bytes none = recording_with_index(500);
    put_u32(none, 168 + 32, 0);
    path = put_recording(none);
    EXPECT_EQ(ask(rec_GetFileStartTime, path.c_str()), (answer{REC_FAILED, 0}));
}

// --- end ---

TEST_F(FileTimesTest, EndOfAShortNameIsItsModificationTimeOnWhicheverDisk) {
    put("disks/host07/part1/H0000120150102030405L000001", recording_with_index());
    EXPECT_EQ(ask(rec_GetFileStopTime, short_name), (answer{REC_OK, static_cast<uint32_t>(modified_)}));
}

TEST_F(FileTimesTest, EndOfAShortNameThatIsNowhere) {
    EXPECT_EQ(ask(rec_GetFileStopTime, short_name), (answer{REC_NOT_FOUND, 0}));
    EXPECT_EQ(ask(rec_GetFileStopTime, ""), (answer{REC_NOT_FOUND, 0}));
    EXPECT_EQ(ask(rec_GetFileStopTime, nullptr), (answer{REC_NOT_FOUND, 0}));
    EXPECT_EQ(rec_GetFileStopTime(short_name, nullptr), REC_FAILED);
}

TEST_F(FileTimesTest, EndOfAFullPathIsNeverKnown) {
    const std::string path = put_recording(recording_with_index());
    EXPECT_EQ(ask(rec_GetFileStopTime, path.c_str()), (answer{REC_FAILED, 0}));
    EXPECT_EQ(ask(rec_GetFileStopTime, folder_.file("mnt/missing").c_str()), (answer{REC_FAILED, 0}));
}

// --- length ---

TEST_F(FileTimesTest, LengthIsNeverKnown) {
    const std::string path = put_recording(recording_with_index());
    EXPECT_EQ(ask(rec_GetFileTimeLen, path.c_str()), (answer{-1, 0}));
    EXPECT_EQ(short_calls(), (call_log{"Stat(rec) = 0", "Open(0, rec, 0) = 3", "Close(3) = 0"}));
    EXPECT_EQ(tOpenFile[0].uiInUse, 0u);
    EXPECT_EQ(ask(rec_GetFileTimeLen, "nothing"), (answer{-1, 0}));
    EXPECT_EQ(ask(rec_GetFileTimeLen, nullptr), (answer{-1, 0}));
    EXPECT_EQ(rec_GetFileTimeLen(path.c_str(), nullptr), -1);
}

TEST_F(FileTimesTest, EachFailedCallLeavesNoFileOpen) {
    const std::string path = put_recording(recording_with_index());
    for (int n = 1; n <= 20; ++n) {
        module_probe::reset();
        module_probe::fail("*", n);
        const auto before = layer_descriptors();
        uint32_t time = 77;
        const int32_t status = rec_GetFileStartTime(path.c_str(), &time);
        const bool failed =
            n <= 16 && n != 13; // the first close, and what lies behind the walk, changes nothing
        const call_log calls = short_calls();
        if (n <= static_cast<int>(calls.size()) && calls[static_cast<size_t>(n) - 1].starts_with("Close")) {
            EXPECT_EQ(vfs_Close(1), 0); // the layer keeps a file whose close failed, for another try
            continue;
        }
        EXPECT_EQ(status, failed ? REC_FAILED : REC_OK) << n;
        EXPECT_EQ(time, failed ? 0u : 500u) << n;
        EXPECT_EQ(layer_descriptors(), before) << n;
    }
}

} // namespace
