#include "mend/plain_disk.hpp"

#include "mend/plan.hpp"
#include "mend/recording.hpp"
#include "tests/mend/mended.hpp"
#include "tests/support/scratch.hpp"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace mend_test;
using kmr::mend::mend_status;
using kmr::mend::open_mode;

class PlainDiskTest : public ::testing::Test {
protected:
    std::string write(const bytes& content) {
        const std::string file = folder_.write("r.kmr", content);
        const timespec both[2] = {{1'400'000'000, 123'456'789}, {1'400'000'111, 987'654'321}};
        EXPECT_EQ(utimensat(AT_FDCWD, file.c_str(), both, 0), 0);
        return file;
    }

    kmr::mend::outcome repair(const std::string& file) {
        auto opening = kmr::mend::recording::open(disk_, file, true);
        if (!opening.result.is_done())
            return opening.result;
        return opening.opened->apply(kmr::mend::plan_repair(opening.opened->source()).planned);
    }
    kmr::mend::outcome undo(const std::string& file) {
        auto opening = kmr::mend::recording::open(disk_, file, true);
        return opening.result.is_done() ? opening.opened->undo() : opening.result;
    }

    void expect_old_dates(const std::string& file) {
        struct stat found = {};
        ASSERT_EQ(stat(file.c_str(), &found), 0);
        EXPECT_EQ(found.st_mtim.tv_sec, 1'400'000'111);
        EXPECT_EQ(found.st_mtim.tv_nsec, 987'654'321);
        EXPECT_EQ(found.st_atim.tv_sec, 1'400'000'000);
        EXPECT_EQ(found.st_atim.tv_nsec, 123'456'789);
    }

    scratch::folder folder_;
    kmr::mend::plain_disk disk_;
    bytes damaged_ = cut(scan_test::recording_of(scan_test::sound_frames(10)), 1100);
};

TEST_F(PlainDiskTest, RepairsAndGivesBackWithDates) {
    const std::string file = write(damaged_);
    ASSERT_EQ(repair(file).status, mend_status::done);
    expect_old_dates(file);
    EXPECT_EQ(scratch::read_file(file), mended(damaged_));
    struct stat found = {};
    ASSERT_EQ(stat((file + ".kmr-undo").c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777, 0600U) << "it holds parts of the recording";
    ASSERT_EQ(undo(file).status, mend_status::done);
    expect_old_dates(file);
    EXPECT_EQ(scratch::read_file(file), damaged_);
    EXPECT_NE(stat((file + ".kmr-undo").c_str(), &found), 0);
}

TEST_F(PlainDiskTest, LinksFoldersAndDevicesAreRefused) {
    const std::string file = write(damaged_);
    const std::string link = folder_.file("link.kmr");
    ASSERT_EQ(symlink(file.c_str(), link.c_str()), 0);
    EXPECT_EQ(repair(link).status, mend_status::is_a_link);
    EXPECT_EQ(repair(folder_.path().string()).status, mend_status::not_a_file);
    EXPECT_EQ(repair("/dev/null").status, mend_status::not_a_file);
    const auto missing = repair(folder_.file("missing.kmr"));
    EXPECT_EQ(missing.status, mend_status::failed);
    EXPECT_EQ(missing.error, ENOENT);
    EXPECT_EQ(disk_.open(link, open_mode::read).error, ELOOP);
    EXPECT_EQ(disk_.open(file, open_mode::make).error, EEXIST);
}

TEST_F(PlainDiskTest, ALinkInPlaceOfTheUndoFileIsNotFollowed) {
    const std::string file = write(damaged_);
    const std::string other = folder_.write("other", {1, 2, 3});
    ASSERT_EQ(symlink(other.c_str(), (file + ".kmr-undo").c_str()), 0);
    EXPECT_EQ(repair(file).status, mend_status::undo_is_no_file);
    ASSERT_EQ(unlink((file + ".kmr-undo").c_str()), 0);
    ASSERT_EQ(symlink(other.c_str(), (file + ".kmr-undo-new").c_str()), 0);
    EXPECT_EQ(repair(file).status, mend_status::done);
    EXPECT_EQ(scratch::read_file(other), (bytes{1, 2, 3}));
}

TEST_F(PlainDiskTest, TheLockKeepsTwoApart) {
    const std::string file = write(damaged_);
    const auto first = kmr::mend::recording::open(disk_, file, true);
    ASSERT_TRUE(first.result.is_done());
    EXPECT_EQ(repair(file).status, mend_status::locked);
}

TEST_F(PlainDiskTest, ANewFileIsWholeOrNotThere) {
    const std::string file = write(damaged_);
    const bytes content = {4, 5, 6};
    kmr::scan::memory_source source(content);
    const std::string out = folder_.file("out.kmr");
    EXPECT_EQ(write_new_file(disk_, out, source, false).status, mend_status::done);
    EXPECT_EQ(scratch::read_file(out), content);
    EXPECT_EQ(write_new_file(disk_, out, source, false).error, EEXIST);
    EXPECT_EQ(write_new_file(disk_, out, source, true).status, mend_status::done);
    kmr::mend::file_facts facts;
    ASSERT_EQ(disk_.look(file, facts), 0);
    EXPECT_EQ(write_new_file(disk_, file, source, true, &facts).error, EEXIST);
    const std::string twin = folder_.file("twin.kmr");
    ASSERT_EQ(link(file.c_str(), twin.c_str()), 0);
    EXPECT_EQ(write_new_file(disk_, twin, source, true, &facts).error, EEXIST);
    EXPECT_EQ(scratch::read_file(file), damaged_);
}

// Unfinished, out.kmr is called out.kmr.kmr-new.
TEST_F(PlainDiskTest, ARecordingThatIsCalledLikeAnUnfinishedFileStays) {
    const std::string file = folder_.write("out.kmr.kmr-new", damaged_);
    const bytes content = {4, 5, 6};
    kmr::scan::memory_source source(content);
    kmr::mend::file_facts facts;
    ASSERT_EQ(disk_.look(file, facts), 0);
    for (const bool replace : {false, true})
        EXPECT_EQ(write_new_file(disk_, folder_.file("out.kmr"), source, replace, &facts).error, EEXIST);
    EXPECT_EQ(scratch::read_file(file), damaged_);
    struct stat found = {};
    EXPECT_NE(stat(folder_.file("out.kmr").c_str(), &found), 0);
}

TEST_F(PlainDiskTest, AnUnfinishedFileIsLeftToWhoWritesIt) {
    const bytes content = {4, 5, 6};
    kmr::scan::memory_source source(content);
    folder_.write("out.kmr.kmr-new", {1});
    auto other = disk_.open(folder_.file("out.kmr.kmr-new"), open_mode::change);
    ASSERT_EQ(other.file->lock(), 0);
    EXPECT_EQ(write_new_file(disk_, folder_.file("out.kmr"), source, false).status, mend_status::locked);
    EXPECT_EQ(scratch::read_file(folder_.file("out.kmr.kmr-new")), bytes{1});
    other.file.reset(); // the other one is gone, and left it behind
    EXPECT_EQ(write_new_file(disk_, folder_.file("out.kmr"), source, false).status, mend_status::done);
    EXPECT_EQ(scratch::read_file(folder_.file("out.kmr")), content);
}

// Makes a file of that name while it is read.
class racing_source final : public kmr::scan::byte_source {
public:
    explicit racing_source(const std::function<void()>& race) : race_(race) {}
    uint64_t size() const override { return 3; }
    kmr::scan::read_result read_at(uint64_t, std::span<uint8_t> into) override {
        race_();
        return {.count = into.size(), .error = 0};
    }

private:
    std::function<void()> race_;
};

TEST_F(PlainDiskTest, AFileThatCameMeanwhileStays) {
    const std::string out = folder_.file("out.kmr");
    racing_source source([&] { folder_.write("out.kmr", {7}); });
    EXPECT_EQ(write_new_file(disk_, out, source, false).error, EEXIST);
    EXPECT_EQ(scratch::read_file(out), bytes{7});
    struct stat found = {};
    EXPECT_NE(stat((out + ".kmr-new").c_str(), &found), 0);
}

TEST_F(PlainDiskTest, NothingIsLeftWhereMemoryEnds) {
    racing_source source([] { throw std::bad_alloc(); });
    EXPECT_THROW(write_new_file(disk_, folder_.file("out.kmr"), source, false), std::bad_alloc);
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(PlainDiskTest, PathsWithoutAFolderAreOfTheWorkingDirectory) {
    write(damaged_);
    const scratch::working_directory inside(folder_.path());
    EXPECT_EQ(repair("r.kmr").status, mend_status::done);
    EXPECT_EQ(undo("r.kmr").status, mend_status::done);
    EXPECT_EQ(scratch::read_file("r.kmr"), damaged_);
}

} // namespace
