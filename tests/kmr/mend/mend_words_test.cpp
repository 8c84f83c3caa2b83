// What is said of changes that were not made, and what is looked at before and behind the writing of a new file.
#include "kmr/mend/changed_recording.hpp"
#include "kmr/mend/mend_words.hpp"
#include "kmr/new_file/new_file.hpp"
#include "mend/plain_disk.hpp"
#include "tests/scan/compose.hpp"
#include "tests/support/scratch.hpp"

#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using kmr::mend::mend_status;
using kmr::mend::plan_status;
using kmr::mend::undo_situation;
using kmr::program::words_of;

TEST(MendWordsTest, EveryOutcomeHasItsOwn) {
    const struct {
        mend_status status;
        int error;
        const char* words;
    } all[] = {
        {mend_status::done, 0, ""},
        {mend_status::failed, ENOSPC, "No space left on device"},
        {mend_status::is_a_link, 0, "a symbolic link: name the file that it leads to"},
        {mend_status::not_a_file, 0, "not a regular file"},
        {mend_status::locked, 0, "another program is changing it"},
        {mend_status::changed_meanwhile, 0, "it was changed meanwhile; nothing was written"},
        {mend_status::interrupted, 0, "a change was interrupted: kmr undo takes it back"},
        {mend_status::interrupted, EIO,
         "Input/output error; not finished: kmr undo or kmr repair takes back what was written"},
        {mend_status::undo_torn, 0, "its undo file is damaged; nothing was written"},
        {mend_status::undo_is_no_file, 0, "its undo file is no regular file; nothing was written"},
        {mend_status::nothing_to_undo, 0, "nothing to undo: there is no undo file"},
        {mend_status::changed_since, 0,
         "it was changed after the change that is to be undone; nothing was written"},
    };
    for (const auto& each : all)
        EXPECT_EQ(words_of({.status = each.status, .error = each.error}), each.words);
}

TEST(MendWordsTest, EveryPlanThatIsNoneHasItsOwn) {
    const kmr::scan::report whole;
    EXPECT_EQ(words_of(plan_status::nothing_to_do, whole), "");
    EXPECT_EQ(words_of(plan_status::ready, whole), "");
    EXPECT_EQ(words_of(plan_status::unreadable, kmr::scan::unreadable(EIO)), "Input/output error");
    EXPECT_EQ(words_of(plan_status::unreadable, whole), "cannot be read"); // only what was to come out
    EXPECT_EQ(words_of(plan_status::changing, whole),
              "changed while it was read: is it still being recorded?");
    EXPECT_EQ(words_of(plan_status::not_a_recording, whole), "not a recording");
    EXPECT_EQ(words_of(plan_status::no_picture_size, whole),
              "the file header is to be made anew, and nothing tells the size of the picture");
    EXPECT_EQ(words_of(plan_status::too_damaged, whole), "damaged in more places than can be mended at once");
    EXPECT_EQ(words_of(plan_status::no_way, whole), "no way was found that keeps every whole frame");
}

// A change that keeps no way back would make the one that is there useless; to look at it does no harm.
TEST(MendWordsTest, WhatStandsAgainstAChange) {
    using kmr::program::problem_of;
    EXPECT_EQ(problem_of(undo_situation::none, {.no_undo = true}), "");
    EXPECT_EQ(problem_of(undo_situation::complete, {}), "");
    EXPECT_NE(problem_of(undo_situation::complete, {.no_undo = true}), "");
    EXPECT_EQ(problem_of(undo_situation::complete, {.dry_run = true, .no_undo = true}), "");
    EXPECT_EQ(problem_of(undo_situation::unreadable, {}),
              "its undo file cannot be read; nothing was written");
}

// --- a new file, where names change while it is made ---

class NewFileTest : public testing::Test {
protected:
    std::string write_to(const std::string& name) const {
        kmr::mend::plain_disk disk;
        kmr::scan::memory_source content(file_);
        return kmr::program::write_whole_file(disk, {.from = recording_, .to = place_.file(name)}, content,
                                              content);
    }
    std::string why_not_from(const std::string& recording) const {
        kmr::mend::plain_disk disk;
        return kmr::program::why_not_written(disk, {.from = recording, .to = place_.file("b.kmr")});
    }

    scratch::folder place_;
    recording::bytes file_ = scan_test::recording_of(scan_test::sound_frames(10));
    std::string recording_ = place_.write("a.kmr", file_);
};

TEST_F(NewFileTest, IsTheRecordingAllOver) {
    EXPECT_EQ(why_not_from(recording_), "");
    EXPECT_EQ(write_to("b.kmr"), "");
    EXPECT_EQ(scratch::read_file(place_.file("b.kmr")), file_);
}

TEST_F(NewFileTest, IsNotWrittenWhereTheRecordingHasGone) {
    fs::remove(recording_);
    EXPECT_EQ(why_not_from(recording_), "No such file or directory");
    EXPECT_EQ(write_to("b.kmr"), "No such file or directory");
    EXPECT_TRUE(fs::is_empty(place_.path()));
}

TEST_F(NewFileTest, IsNotWrittenOverWhatHasComeMeanwhile) {
    place_.write_text("b.kmr", "mine");
    fs::create_symlink("b.kmr", place_.path() / "link");
    EXPECT_EQ(write_to("b.kmr"), "is there already (--force replaces it)");
    EXPECT_EQ(write_to("link"), "a symbolic link: nothing is written through it");
    EXPECT_EQ(scratch::read_text(place_.file("b.kmr")), "mine");
    EXPECT_FALSE(fs::exists(place_.path() / "b.kmr.kmr-new"));
}

} // namespace
