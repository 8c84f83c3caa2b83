#include "scan/file_source.hpp"
#include "scan/judge.hpp"
#include "scan/quick_look.hpp"
#include "tests/scan/compose.hpp"
#include "tests/support/scratch.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace scan = kmr::scan;
using scan_test::bytes;
using testing::ElementsAre;

TEST(MemorySourceTest, ReadsUpToItsEnd) {
    const bytes content = {1, 2, 3, 4};
    scan::memory_source source(content);
    bytes into(3);
    EXPECT_EQ(source.size(), 4U);
    EXPECT_EQ(source.read_at(2, into).count, 2U);
    EXPECT_THAT(into, ElementsAre(3, 4, 0));
    EXPECT_EQ(source.read_at(4, into).count, 0U);
    EXPECT_FALSE(source.read_at(uint64_t{1} << 60, into).failed());
}

TEST(FileSourceTest, ReadsAPlainFile) {
    const scratch::folder folder;
    const auto opened = scan::file_source::open(folder.write("a", {5, 6, 7}).c_str());
    ASSERT_EQ(opened.status, scan::open_status::opened);
    bytes into(8);
    EXPECT_EQ(opened.source->size(), 3U);
    EXPECT_EQ(opened.source->read_at(1, into).count, 2U);
    EXPECT_EQ(into[0], 6);
    EXPECT_EQ(opened.source->change(), scan::source_change::none);
}

TEST(FileSourceTest, TellsWhatIsNoPlainFile) {
    const scratch::folder folder;
    EXPECT_EQ(scan::file_source::open(folder.path().c_str()).status, scan::open_status::not_a_file);
    EXPECT_EQ(scan::file_source::open("/dev/null").status, scan::open_status::not_a_file);
    const std::string pipe = folder.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(scan::file_source::open(pipe.c_str()).status, scan::open_status::not_a_file);
    const auto missing = scan::file_source::open(folder.file("none").c_str());
    EXPECT_EQ(missing.status, scan::open_status::failed);
    EXPECT_EQ(missing.error, ENOENT);
    EXPECT_EQ(missing.source, nullptr);
}

TEST(FileSourceTest, LeavesNoDescriptorAndNoAccessTime) {
    const scratch::folder folder;
    const std::string path = folder.write("a", bytes(5000, 1));
    const timespec old[2] = {{1000, 0}, {2000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), old, 0), 0);
    const int before = scratch::open_descriptors();
    {
        const auto opened = scan::file_source::open(path.c_str());
        bytes into(100);
        ASSERT_EQ(opened.source->read_at(0, into).count, 100U);
        EXPECT_EQ(opened.source->modified().tv_sec, 2000);
    }
    EXPECT_EQ(scratch::open_descriptors(), before);
    struct stat now = {};
    ASSERT_EQ(stat(path.c_str(), &now), 0);
    EXPECT_EQ(now.st_atim.tv_sec, 1000);
}

TEST(FileSourceTest, ThatShrinksIsUnreadable) {
    const scratch::folder folder;
    const std::string path = folder.write("a", scan_test::recording_of(scan_test::sound_frames(10)));
    const auto opened = scan::file_source::open(path.c_str());
    std::filesystem::resize_file(path, 1000);
    const auto judged = scan::judge(*opened.source);
    EXPECT_EQ(judged.judged, scan::verdict::unreadable);
    EXPECT_EQ(judged.ended, scan::end_state::shrunk);
    EXPECT_EQ(opened.source->change(), scan::source_change::shrunk);
}

TEST(FileSourceTest, ThatGrowsIsJudgedAsItWas) {
    const scratch::folder folder;
    const std::string path = folder.write("a", scan_test::recording_of(scan_test::sound_frames(10)));
    const auto opened = scan::file_source::open(path.c_str());
    std::ofstream(path, std::ios::app) << "more";
    const auto judged = scan::judge(*opened.source);
    EXPECT_EQ(judged.judged, scan::verdict::sound);
    EXPECT_EQ(judged.size, 1372U);
    EXPECT_TRUE(judged.changed);
}

// Fails every read that touches one byte.
class failing_source final : public scan::byte_source {
public:
    failing_source(const bytes& content, uint64_t from) : inner_(content), from_(from) {}
    uint64_t size() const override { return inner_.size(); }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        if (offset <= from_ && from_ < offset + into.size())
            return {.count = 0, .error = EIO};
        return inner_.read_at(offset, into);
    }

private:
    scan::memory_source inner_;
    uint64_t from_;
};

TEST(AReadThatFailsTest, MakesARecordingUnreadableWhereverItIs) {
    const bytes file = scan_test::recording_of(scan_test::sound_frames(10));
    for (uint64_t from = 0; from < file.size(); from += 50) {
        failing_source source(file, from);
        const auto judged = scan::judge(source);
        EXPECT_EQ(judged.judged, scan::verdict::unreadable);
        EXPECT_EQ(judged.ended, scan::end_state::read_failed);
        EXPECT_EQ(judged.error, EIO);
        EXPECT_FALSE(judged.repair.possible);
    }
}

// 4200 frames of 1 MiB and an index: made up while it is read.
class huge_source final : public scan::byte_source {
public:
    explicit huge_source(bool with_index = true) {
        scan_test::records index;
        for (uint64_t i = 0; i < count; i += interval)
            index.push_back({.time = scan_test::start_time + static_cast<uint32_t>(i * 40 / 1000),
                             .position = static_cast<uint32_t>(88 + i * frame_size)});
        if (with_index)
            index_ = recording::index_block(index);
        header_ = recording::file_header(count);
        recording::put_u32(header_, 80, static_cast<uint32_t>(size()));
    }
    uint64_t size() const override { return 88 + count * frame_size + index_.size(); }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        const uint64_t end = std::min<uint64_t>(size(), offset + into.size());
        std::fill(into.begin(), into.end(), uint8_t{0xAA});
        copy(header_, 0, offset, end, into);
        for (uint64_t i = offset < 88 ? 0 : (offset - 88) / frame_size;
             i < count && 88 + i * frame_size < end; ++i)
            copy(start_of(static_cast<uint32_t>(i)), 88 + i * frame_size, offset, end, into);
        copy(index_, 88 + count * frame_size, offset, end, into);
        bytes_read += end - offset;
        return {.count = static_cast<size_t>(end - offset)};
    }

    static constexpr uint32_t count = 4200;
    static constexpr uint32_t interval = 10;
    static constexpr uint64_t frame_size = 1 << 20;
    uint64_t bytes_read = 0;

private:
    static bytes start_of(uint32_t i) {
        const bool i_frame = i % interval == 0;
        bytes start =
            recording::frame_record({.number = 1 + i,
                                     .time_stamp = 1000 + 40 * i,
                                     .kind = i_frame ? 0U : 1U,
                                     .video = i_frame ? scan_test::i_video() : scan_test::p_video()});
        recording::put_u32(start, 4, frame_size);
        recording::put_u32(start, 20, frame_size - 32);
        return start;
    }
    static void copy(const bytes& from, uint64_t place, uint64_t begin, uint64_t end,
                     std::span<uint8_t> into) {
        const uint64_t first = std::max(begin, place);
        const uint64_t last = std::min(end, place + from.size());
        if (first < last)
            std::copy_n(from.begin() + static_cast<std::ptrdiff_t>(first - place), last - first,
                        into.begin() + static_cast<std::ptrdiff_t>(first - begin));
    }

    bytes header_;
    bytes index_;
};

TEST(Beyond4GiBTest, ARecordingIsReadToItsEnd) {
    huge_source source;
    const auto judged = scan::judge(source);
    const uint64_t beyond = 88 + 4200 * (uint64_t{1} << 20) + 52 + uint64_t{80} * 420 - (uint64_t{1} << 32);
    EXPECT_THAT(scan_test::found(judged), ElementsAre("beyond-4-gib @4294967296 +" + std::to_string(beyond)));
    EXPECT_EQ(judged.judged, scan::verdict::sound);
    EXPECT_EQ(judged.frames.total, 4200U);
    EXPECT_EQ(judged.index.records, 420U);
    EXPECT_LT(source.bytes_read, 64U << 20); // not the payloads
}

TEST(Beyond4GiBTest, ALookFollowsTheRecordsAcrossTheBorder) {
    huge_source source;
    const auto look = scan::look_quickly(source);
    EXPECT_EQ(look.index.records, 420U);
    EXPECT_EQ(look.duration_ms, 4199 * 40);
    EXPECT_TRUE(look.start_certain);
    // Records stand 400 ms apart and tell whole seconds: their offsets are 0, -400, -800, -200 and -600 ms in turn.
    EXPECT_EQ(look.start_ms, int64_t{scan_test::start_time} * 1000 - 400);
}

// Where one byte is another.
class changed_source final : public scan::byte_source {
public:
    changed_source(scan::byte_source& inner, uint64_t place, uint8_t value)
        : inner_(inner), place_(place), value_(value) {}
    uint64_t size() const override { return inner_.size(); }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        const scan::read_result result = inner_.read_at(offset, into);
        if (offset <= place_ && place_ - offset < result.count)
            into[static_cast<size_t>(place_ - offset)] = value_;
        return result;
    }

private:
    scan::byte_source& inner_;
    uint64_t place_;
    uint8_t value_;
};

// The record of a torn frame is as little to blame as in front of the border.
TEST(Beyond4GiBTest, ATornFrameTakesItsRecordAlong) {
    constexpr uint64_t torn = 88 + 4100 * (uint64_t{1} << 20); // an I-frame, beyond the border
    static_assert(torn > uint64_t{1} << 32);
    huge_source whole;
    changed_source source(whole, torn + 3, 0xEE);
    EXPECT_THAT(scan_test::found(scan::judge(source)),
                testing::Contains("bytes-torn @" + std::to_string(torn) + " +1048576 #4102 t164040"));
    EXPECT_THAT(scan_test::found(scan::judge(source)), testing::SizeIs(2)); // beyond-4-gib the other
}

// An index could not name the frames there.
TEST(Beyond4GiBTest, AMissingIndexIsNotMended) {
    huge_source source(false);
    const auto judged = scan::judge(source);
    const uint64_t size = 88 + 4200 * (uint64_t{1} << 20);
    EXPECT_THAT(scan_test::found(judged),
                ElementsAre("beyond-4-gib @4294967296 +" + std::to_string(size - (uint64_t{1} << 32)),
                            "index-missing @" + std::to_string(size) + " +0"));
    EXPECT_EQ(judged.judged, scan::verdict::unfinished);
    EXPECT_FALSE(judged.repair.possible);
}

TEST(FileSourceTest, TellsWhatWasWrittenWithTheSameSize) {
    const scratch::folder folder;
    const std::string path = folder.write("a", {5, 6, 7});
    const timespec first[2] = {{1000, 0}, {2000, 10}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), first, 0), 0);
    const auto opened = scan::file_source::open(path.c_str());
    EXPECT_EQ(opened.source->change(), scan::source_change::none);
    for (const timespec later : {timespec{2000, 11}, timespec{2001, 10}}) {
        const timespec times[2] = {{1000, 0}, later};
        ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
        EXPECT_EQ(opened.source->change(), scan::source_change::rewritten);
    }
}

// The user `nobody` for a scope, where the tests run as root.
class as_nobody {
public:
    as_nobody() { EXPECT_TRUE(before_ != 0 || seteuid(65534) == 0); }
    ~as_nobody() { EXPECT_TRUE(before_ != 0 || seteuid(before_) == 0); }
    as_nobody(const as_nobody&) = delete;
    as_nobody& operator=(const as_nobody&) = delete;

private:
    uid_t before_ = geteuid();
};

TEST(FileSourceTest, ReadsWhatBelongsToSomebodyElse) {
    const as_nobody user;
    const auto opened = scan::file_source::open("/etc/passwd"); // root's, and for all to read
    ASSERT_EQ(opened.status, scan::open_status::opened);
    bytes into(1);
    EXPECT_EQ(opened.source->read_at(0, into).count, 1U);
}

TEST(FileSourceTest, TellsWhyAFileCannotBeOpened) {
    const scratch::folder folder;
    const std::string path = folder.write("a", {5, 6, 7});
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
    std::filesystem::permissions(path, std::filesystem::perms::none);
    const as_nobody user;
    const auto opened = scan::file_source::open(path.c_str());
    EXPECT_EQ(opened.status, scan::open_status::failed);
    EXPECT_EQ(opened.error, EACCES);
    EXPECT_EQ(opened.source, nullptr);
}

// Whose descriptor somebody has closed.
TEST(FileSourceTest, ThatCannotBeAskedAnyMoreFails) {
    const scratch::folder folder;
    const std::string path = folder.write("a", {5, 6, 7});
    const int next = dup(STDIN_FILENO); // the number that is handed out next
    close(next);
    const auto opened = scan::file_source::open(path.c_str());
    ASSERT_EQ(opened.status, scan::open_status::opened);
    ASSERT_EQ(close(next), 0);
    bytes into(3);
    const auto read = opened.source->read_at(0, into);
    EXPECT_EQ(read.count, 0U);
    EXPECT_EQ(read.error, EBADF);
    EXPECT_EQ(opened.source->change(), scan::source_change::unknown);
}

} // namespace
