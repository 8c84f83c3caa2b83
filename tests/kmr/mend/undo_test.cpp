// kmr undo as a program, and what repair and undo make of each other's files.
#include "tests/kmr/mend/mending.hpp"

#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

using kmr_test::file_state;
using kmr_test::MendingTest;
using kmr_test::words;
using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

class UndoTest : public MendingTest {
protected:
    void repair() const { ASSERT_EQ(kmr({"repair", "--yes", "a.kmr"}).status, 0); }
    void change_byte(const std::string& name, size_t offset, const timespec* set_back = nullptr) const {
        auto content = content_of(name);
        content.at(offset) = static_cast<uint8_t>(content.at(offset) ^ 1);
        place_.folder().write(name, content);
        if (set_back == nullptr)
            return;
        const timespec dates[2] = {*set_back, *set_back};
        ASSERT_EQ(utimensat(AT_FDCWD, place_.folder().file(name).c_str(), dates, 0), 0);
    }
    void expect_refused(const words& arguments, const std::string& words_told) const {
        const auto a = state_of("a.kmr");
        const auto way_back = content_of("a.kmr.kmr-undo");
        const auto run = kmr(arguments);
        EXPECT_EQ(run.status, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(run.err, "kmr: a.kmr: " + words_told + "\n");
        EXPECT_EQ(content_of("a.kmr"), a.content);
        EXPECT_EQ(content_of("a.kmr.kmr-undo"), way_back);
    }
    // As the power leaves an undo file whose change was not known to be complete.
    void mark_interrupted(const char* state) const {
        auto way_back = content_of("a.kmr.kmr-undo");
        std::copy_n(state, 8, way_back.begin() + 16);
        place_.folder().write("a.kmr.kmr-undo", way_back);
    }

    const file_state damaged_ = composed("a.kmr", {"--zero", "frame3:32", "--tag", "1=gate"});
};

TEST_F(UndoTest, GivesBackEveryBitAndTheDates) {
    repair();
    const auto run = kmr({"undo", "a.kmr"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "a.kmr: as it was before\n");
    EXPECT_EQ(run.err, "");
    expect_state("a.kmr", damaged_);
    EXPECT_THAT(files(), ElementsAre("a.kmr"));
    const auto again = kmr({"undo", "a.kmr"});
    EXPECT_EQ(again.status, 2);
    EXPECT_EQ(again.err, "kmr: a.kmr: nothing to undo: there is no undo file\n");
}

TEST_F(UndoTest, OfSeveralFilesGoesOnBehindOneThatItRefuses) {
    repair();
    const auto run = kmr({"undo", "missing.kmr", "a.kmr"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "kmr: missing.kmr: No such file or directory\n");
    EXPECT_EQ(run.out, "a.kmr: as it was before\n");
    expect_state("a.kmr", damaged_);
}

TEST_F(UndoTest, StepsBackOneChangeAfterTheOther) {
    repair();
    const auto mended = state_of("a.kmr");
    ASSERT_EQ(kmr({"repair", "--like-recorder", "--yes", "a.kmr"}).status, 0); // drops the tag
    ASSERT_NE(content_of("a.kmr"), mended.content);
    ASSERT_EQ(kmr({"undo", "a.kmr"}).status, 0);
    EXPECT_EQ(content_of("a.kmr"), mended.content);
    ASSERT_EQ(kmr({"undo", "a.kmr"}).status, 0);
    expect_state("a.kmr", damaged_);
}

TEST_F(UndoTest, RefusesWhatHasChangedSince) {
    const std::string changed = "it was changed after the change that is to be undone; nothing was written";
    repair();
    const timespec modified = damaged_.modified;
    change_byte("a.kmr", 600);
    expect_refused({"undo", "a.kmr"}, changed); // by its date
    change_byte("a.kmr", 600);
    change_byte("a.kmr", 384, &modified);
    expect_refused({"undo", "a.kmr"}, changed); // in a place that the repair wrote
    change_byte("a.kmr", 384);
    fs::resize_file(place_.folder().path() / "a.kmr", 1219);
    expect_refused({"undo", "a.kmr"}, changed); // by its size
}

TEST_F(UndoTest, RefusesEveryUndoFileThatIsNotWhole) {
    repair();
    const auto whole = content_of("a.kmr.kmr-undo");
    const std::string torn = "its undo file is damaged; nothing was written";
    for (size_t length = 0; length < whole.size(); length += 13) {
        place_.folder().write("a.kmr.kmr-undo",
                              {whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)});
        expect_refused({"undo", "a.kmr"}, torn);
    }
    for (size_t offset = 0; offset < whole.size(); offset += 7) {
        place_.folder().write("a.kmr.kmr-undo", whole);
        change_byte("a.kmr.kmr-undo", offset);
        expect_refused({"undo", "a.kmr"}, torn);
    }
    for (const words& each :
         {words{"repair", "-n", "a.kmr"}, words{"repair", "-y", "a.kmr"},
          words{"repair", "-y", "--no-undo", "a.kmr"}, words{"repair", "-o", "b.kmr", "a.kmr"}})
        expect_refused(each, torn);
    EXPECT_THAT(files(), ElementsAre("a.kmr", "a.kmr.kmr-undo"));
}

TEST_F(UndoTest, RefusesAnUndoFileThatLeadsElsewhere) {
    repair();
    fs::rename(place_.folder().path() / "a.kmr.kmr-undo", place_.folder().path() / "elsewhere");
    fs::create_symlink("elsewhere", place_.folder().path() / "a.kmr.kmr-undo");
    const std::string words_told = "its undo file is no regular file; nothing was written";
    expect_refused({"undo", "a.kmr"}, words_told);
    expect_refused({"repair", "-y", "a.kmr"}, words_told);
}

// Half of what a repair does, as an end in its middle leaves it: the cover stands, the count does not.
TEST_F(UndoTest, TakesBackWhatWasInterrupted) {
    repair();
    auto half = content_of("a.kmr");
    half[84] = 10;
    for (const char* const state : {"changing", "undoing."}) {
        place_.folder().write("a.kmr", half);
        mark_interrupted(state);
        const auto way_back = content_of("a.kmr.kmr-undo");
        expect_refused({"repair", "-o", "b.kmr", "a.kmr"},
                       "a change was interrupted: kmr undo takes it back");
        const auto told = kmr({"repair", "-n", "a.kmr"});
        EXPECT_EQ(told.status, 1);
        EXPECT_EQ(told.err,
                  "kmr: a.kmr: a change was interrupted, or is under way: kmr repair takes it back and "
                  "plans anew, kmr undo takes it back\n");
        const auto json = kmr({"repair", "--json", "a.kmr"});
        EXPECT_EQ(json.status, 1);
        EXPECT_THAT(json.out, HasSubstr(R"("path":"a.kmr","changes":true,"frames_kept":null,)"));
        const auto asked = kmr({"repair", "a.kmr"});
        EXPECT_EQ(asked.status, 2);
        EXPECT_EQ(content_of("a.kmr"), half);
        ASSERT_EQ(kmr({"undo", "a.kmr"}).status, 0);
        expect_state("a.kmr", damaged_);
        place_.folder().write("a.kmr", half);
        place_.folder().write("a.kmr.kmr-undo", way_back);
    }
}

TEST_F(UndoTest, ARepairTakesBackWhatWasInterruptedAndMendsAnew) {
    repair();
    const auto mended = state_of("a.kmr");
    auto half = mended.content;
    half[84] = 10;
    place_.folder().write("a.kmr", half);
    mark_interrupted("changing");
    const auto run = kmr({"repair", "--yes", "a.kmr"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "kmr: a.kmr: an interrupted change was taken back\n");
    EXPECT_THAT(run.out, HasSubstr("  keeps         9 frames, "));
    EXPECT_EQ(content_of("a.kmr"), mended.content);
    ASSERT_EQ(kmr({"undo", "a.kmr"}).status, 0);
    expect_state("a.kmr", damaged_);
}

// Another change that kept no way back would leave the first undo file to something that it was not made for.
TEST_F(UndoTest, KeepsAWayBackThatIsThere) {
    repair();
    expect_refused(
        {"repair", "-y", "--no-undo", "--like-recorder", "a.kmr"},
        "it has an undo file already, which would no longer fit: leave out --no-undo, or move that "
        "file away");
}

} // namespace
