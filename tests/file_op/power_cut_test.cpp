// The power goes before every single call of a module, one after the other: what is left in the file, and what a
// second run makes of it.
#include "file_op/rebuild.h"
#include "file_op/tags.h"
#include "tests/file_op/recording_fixture.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <functional>

// In place of the platform's sync(), which would wait for the disks of the machine each time.
extern "C" void __wrap_sync() {}

namespace {

using recording::frame_record;
using recording::get_u32;
using recording::index_block;
using recording::put_u32;

constexpr int child_cut_off = 77;
constexpr int child_done = 0;

class PowerCutTest : public RecordingTest {
protected:
    // Runs the operation in a process of its own that ends before the nth call. Whether it was cut off.
    static bool cut_off_before(int nth, const std::function<void()>& operation) {
        const pid_t child = fork();
        if (child == 0) {
            module_probe::reset();
            module_probe::stop_before(nth);
            operation();
            _exit(child_done);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_TRUE(WEXITSTATUS(status) == child_cut_off || WEXITSTATUS(status) == child_done);
        return WEXITSTATUS(status) == child_cut_off;
    }

    // Cuts the operation on `before` off at every call and has `check` look at the file. The number of calls.
    int cut_off_everywhere(const std::string& name, const bytes& before,
                           const std::function<void()>& operation,
                           const std::function<void(int)>& check) const {
        for (int nth = 1;; ++nth) {
            put(name, before);
            if (!cut_off_before(nth, operation))
                return nth - 1;
            check(nth);
        }
    }
};

// --- tags ---

constexpr size_t tag_count_offset = 88 + 12;

bytes tagged_records() {
    bytes file = recording::file_header(0);
    recording::append(file, index_block({{.time = 100}, {.time = 200, .tag = "goal"}, {.time = 300}}));
    return file;
}

uint32_t tags_that_stand(const bytes& file) {
    uint32_t count = 0;
    for (size_t record = 132; record + 80 <= file.size() - 8; record += 80)
        count += file[record + 16] != 0;
    return count;
}

class TagPowerCutTest : public PowerCutTest {
protected:
    void modify(int32_t operation, int32_t key, const char* text) const {
        rec_TagModify(operation, path_.c_str(), &key, text);
    }
    bytes content() const { return scratch::read_file(path_); }

    std::string path_ = folder_.file("mnt/rec");
};

TEST_F(TagPowerCutTest, AddedTagIsNeverCountedBeforeItStands) {
    const bytes before = tagged_records();
    put_recording(before);
    modify(REC_TAG_ADD, 150, "kick-off");
    const bytes after = content();
    bytes tag_only = after;
    put_u32(tag_only, tag_count_offset, 1);
    std::vector<bytes> seen;
    const int calls = cut_off_everywhere(
        "mnt/rec", before, [&] { modify(REC_TAG_ADD, 150, "kick-off"); },
        [&](int nth) {
            const bytes left = content();
            EXPECT_TRUE(left == before || left == tag_only || left == after) << nth;
            EXPECT_LE(get_u32(left, tag_count_offset), tags_that_stand(left)) << nth;
            seen.push_back(left);
        });
    EXPECT_EQ(calls, 24);
    for (const bytes& state : {before, tag_only, after})
        EXPECT_NE(std::find(seen.begin(), seen.end(), state), seen.end());
}

TEST_F(TagPowerCutTest, ReplacedOrChangedTagIsOldOrNew) {
    const bytes before = tagged_records();
    struct change {
        int32_t operation;
        int32_t key;
    };
    for (const auto& [operation, key] : {change{REC_TAG_ADD, 300}, change{REC_TAG_CHANGE, 200}}) {
        put_recording(before);
        modify(operation, key, "save");
        const bytes after = content();
        cut_off_everywhere(
            "mnt/rec", before, [&, op = operation, at = key] { modify(op, at, "save"); },
            [&](int nth) {
                const bytes left = content();
                EXPECT_TRUE(left == before || left == after) << nth;
                EXPECT_EQ(get_u32(left, tag_count_offset), tags_that_stand(left)) << nth;
            });
    }
}

TEST_F(TagPowerCutTest, RemovalThatIsDoneAgainCountsRight) {
    // The tag goes first. Until its count follows, the count is one too high; the same removal, done again, finds the
    // record by its time and sets that right.
    const bytes before = tagged_records();
    put_recording(before);
    modify(REC_TAG_REMOVE, 200, "");
    const bytes after = content();
    bytes tag_gone = after;
    put_u32(tag_gone, tag_count_offset, 1);
    cut_off_everywhere(
        "mnt/rec", before, [&] { modify(REC_TAG_REMOVE, 200, ""); },
        [&](int nth) {
            const bytes left = content();
            EXPECT_TRUE(left == before || left == tag_gone || left == after) << nth;
            modify(REC_TAG_REMOVE, 200, "");
            EXPECT_EQ(content(), after) << nth;
        });
}

// --- repair ---

recording::frame nth_frame(uint32_t number, uint32_t stamp) {
    return small_frame(number, stamp + 1600 * (number - 1), number % 2 == 1 ? i_frame : p_frame);
}

bytes frames(uint32_t count, uint32_t stamp) {
    bytes file = recording::file_header(count);
    for (uint32_t number = 1; number <= count; ++number)
        recording::append(file, frame_record(nth_frame(number, stamp)));
    return file;
}

bytes with_old_index(bytes file) {
    recording::append(file, index_block({{.time = 1, .position = 88, .tag = "goal"}}));
    return file;
}

bytes without_last(bytes file, size_t count) {
    file.resize(file.size() - count);
    return file;
}

class RepairPowerCutTest : public PowerCutTest {
protected:
    // `path` is how the layer names the file, `name` where it lies below the folder.
    void expect_same_after_second_run(const std::string& name, const bytes& damaged,
                                      const std::function<void()>& repair) const {
        const std::string file = put(name, damaged);
        repair();
        const bytes undisturbed = scratch::read_file(file);
        ASSERT_GT(undisturbed.size(), 88u);
        const int calls = cut_off_everywhere(name, damaged, repair, [&](int nth) {
            const bytes left = scratch::read_file(file);
            repair();
            EXPECT_EQ(scratch::read_file(file), undisturbed) << nth << " left " << left.size() << " bytes";
        });
        EXPECT_GE(calls, 12);
    }

    std::vector<bytes> damaged_files() const {
        std::vector<bytes> files;
        for (const uint32_t stamp : {1000u, 0u, 0xFFFFFF00u}) {
            files.push_back(frames(4, stamp));
            files.push_back(with_old_index(frames(4, stamp)));
            files.push_back(without_last(with_old_index(frames(4, stamp)), 1));
            files.push_back(without_last(with_old_index(frames(4, stamp)), 8));
            files.push_back(without_last(with_old_index(frames(4, stamp)), 100));
            files.push_back(without_last(frames(4, stamp), 1));  // a torn P-frame
            files.push_back(without_last(frames(5, stamp), 20)); // a torn I-frame's header
            files.push_back(without_last(frames(5, stamp), 1));  // a torn I-frame
            files.push_back(frames(0, stamp));
            files.push_back(with_old_index(frames(0, stamp)));
        }
        return files;
    }
};

TEST_F(RepairPowerCutTest, SecondRunGivesTheFileOfAnUndisturbedOne) {
    const std::string path = folder_.file("mnt/rec");
    for (const bytes& damaged : damaged_files())
        expect_same_after_second_run("mnt/rec", damaged, [&] { rec_RecoverRecordSize(path.c_str(), 5000); });
}

TEST_F(RepairPowerCutTest, SoDoesOneThatAsksTheFileSystemForTheStart) {
    const std::string path = "/dev/scsi/host00/part1/H0000120150102030405C000001";
    expect_same_after_second_run("disks/host00/part1/H0000120150102030405C000001",
                                 with_old_index(frames(5, 1000)),
                                 [&] { rec_RecoverRecordSize(path.c_str(), -1); });
}

TEST_F(RepairPowerCutTest, SoDoesOneThatRaisesThePictureSize) {
    const std::string path = folder_.file("mnt/rec");
    expect_same_after_second_run("mnt/rec", with_old_index(frames(5, 1000)), [&] {
        rec_MakeUpIframeIndex(path.c_str(), 2560 << 16 | 1440, nullptr, 5000);
    });
}

TEST_F(RepairPowerCutTest, IndexWrittenInPartAtAnyByteIsReplaced) {
    const std::string path = folder_.file("mnt/rec");
    for (const uint32_t stamp : {1000u, 0u, 0xFFFFFF00u}) {
        put_recording(frames(4, stamp));
        EXPECT_EQ(rec_RecoverRecordSize(path.c_str(), 5000), 0);
        const bytes whole = scratch::read_file(path);
        for (size_t size = 88 + 160; size < whole.size(); ++size) {
            put_recording(part(whole, 0, size));
            EXPECT_EQ(rec_RecoverRecordSize(path.c_str(), 5000), 0);
            EXPECT_EQ(scratch::read_file(path), whole) << size;
        }
    }
}

TEST_F(RepairPowerCutTest, FramesAreNeverLost) {
    const std::string path = folder_.file("mnt/rec");
    const bytes damaged = with_old_index(frames(5, 1000));
    cut_off_everywhere(
        "mnt/rec", damaged, [&] { rec_RecoverRecordSize(path.c_str(), 5000); },
        [&](int nth) {
            const bytes left = scratch::read_file(path);
            ASSERT_GE(left.size(), 88u + 200) << nth;
            EXPECT_EQ(part(left, 0, 88 + 200), part(damaged, 0, 88 + 200)) << nth;
        });
}

} // namespace
