// kmr repair in front of somebody at a terminal.
#include "tests/kmr/mend/mending.hpp"
#include "tests/kmr/on_terminal.hpp"

#include <gmock/gmock.h>

namespace {

using kmr_test::MendingTest;
using kmr_test::on_terminal;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

class QuestionTest : public MendingTest {
protected:
    const kmr_test::file_state damaged_ = composed("a.kmr", {"--zero", "frame3:32"});
};

constexpr char question[] = "a.kmr: mend it? [y/N] ";

TEST_F(QuestionTest, MendsAfterAYes) {
    for (const std::string yes : {"y\n", "Yes\n"}) {
        compose("a.kmr", {"--zero", "frame3:32"});
        on_terminal run(place_, {"repair", "a.kmr"});
        const std::string told = run.read_until(question);
        EXPECT_THAT(told, HasSubstr("  keeps         9 frames, 0:00:00.360\r\n")); // first what it will do
        EXPECT_THAT(told, EndsWith(question));
        EXPECT_EQ(content_of("a.kmr"), damaged_.content);
        run.type(yes);
        EXPECT_THAT(run.read_until(), HasSubstr("mended; kmr undo takes it back"));
        EXPECT_EQ(run.wait_status(), 0);
        expect_mended("a.kmr");
        EXPECT_EQ(kmr({"undo", "a.kmr"}).status, 0);
        expect_state("a.kmr", damaged_);
    }
}

TEST_F(QuestionTest, MendsAfterNothingElse) {
    for (const std::string no : {"n\n", "\n", "yesterday\n", "yes and no, and so on, and so on\n", "\x04"}) {
        on_terminal run(place_, {"repair", "a.kmr"});
        run.read_until(question);
        run.type(no);
        EXPECT_THAT(run.read_until(), HasSubstr("kmr: a.kmr: declined; nothing was written\r\n"));
        EXPECT_EQ(run.wait_status(), 1);
        expect_state("a.kmr", damaged_);
        EXPECT_THAT(files(), ElementsAre("a.kmr"));
    }
}

TEST_F(QuestionTest, NeedsNoneForWhatIsAnswered) {
    on_terminal told(place_, {"repair", "-n", "a.kmr"});
    EXPECT_THAT(told.read_until(), testing::Not(HasSubstr("[y/N]")));
    EXPECT_EQ(told.wait_status(), 1);
    on_terminal done(place_, {"repair", "-y", "a.kmr"});
    EXPECT_THAT(done.read_until(), testing::Not(HasSubstr("[y/N]")));
    EXPECT_EQ(done.wait_status(), 0);
}

TEST_F(QuestionTest, IsAskedBeforeAnInterruptedChangeIsTakenBack) {
    ASSERT_EQ(kmr({"repair", "-y", "a.kmr"}).status, 0);
    const auto mended = content_of("a.kmr");
    auto way_back = content_of("a.kmr.kmr-undo");
    const std::string changing = "changing";
    std::copy(changing.begin(), changing.end(), way_back.begin() + 16);
    place_.folder().write("a.kmr.kmr-undo", way_back);
    {
        on_terminal run(place_, {"repair", "a.kmr"});
        run.read_until("a.kmr: a change was interrupted. Take it back and plan anew? [y/N] ");
        run.type("n\n");
        run.read_until();
        EXPECT_EQ(run.wait_status(), 1);
        EXPECT_EQ(content_of("a.kmr"), mended);
    }
    on_terminal run(place_, {"repair", "a.kmr"});
    run.read_until("plan anew? [y/N] ");
    run.type("y\n");
    run.read_until(question);
    EXPECT_EQ(content_of("a.kmr"), damaged_.content);
    run.type("n\n");
    run.read_until();
    EXPECT_EQ(run.wait_status(), 1);
    expect_state("a.kmr", damaged_);
}

TEST_F(QuestionTest, MendsNothingThatChangedWhileItWasAsked) {
    on_terminal run(place_, {"repair", "a.kmr"});
    run.read_until(question);
    auto other = damaged_.content;
    other[700] ^= 1;
    place_.folder().write("a.kmr", other);
    run.type("y\n");
    EXPECT_THAT(run.read_until(),
                HasSubstr("kmr: a.kmr: not mended: it was changed meanwhile; nothing was written\r\n"));
    EXPECT_EQ(run.wait_status(), 2);
    EXPECT_EQ(content_of("a.kmr"), other);
    EXPECT_THAT(files(), ElementsAre("a.kmr"));
}

TEST_F(QuestionTest, EndsByAnInterrupt) {
    on_terminal run(place_, {"repair", "a.kmr"});
    run.read_until(question);
    run.type("\x03");
    run.read_until();
    EXPECT_EQ(run.wait_status(), -SIGINT);
    expect_state("a.kmr", damaged_);
    EXPECT_THAT(files(), ElementsAre("a.kmr"));
}

} // namespace
