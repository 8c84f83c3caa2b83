// What the documents show is what a reader gets who types it.
#include "tests/kmr/program.hpp"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kmr_test::words;
using kmr_test::workplace;
using testing::HasSubstr;

class DocumentTest : public testing::Test {
protected:
    // The folder that the guide composes, by its own commands.
    void SetUp() override {
        const std::string lead = "are composed";
        const size_t fence = guide_.find("```\n", guide_.find(lead)) + 4;
        const std::string commands = guide_.substr(fence, guide_.find("```", fence) - fence);
        ASSERT_THAT(commands, HasSubstr("kmr_make"));
        const auto composed = place_.shell("set -e\nkmr_make() { " + std::string(KMR_MAKE) +
                                           " \"$@\" >/dev/null; }\n" + commands);
        ASSERT_EQ(composed.status, 0) << composed.err;
    }

    // As the guide shows it, an hour east of Greenwich.
    std::string shown(const std::string& command, const words& arguments) const {
        return "$ kmr " + command + "\n" + place_.kmr(arguments, {.environment = {"TZ=CET-1"}}).out + "```\n";
    }

    const std::string guide_ = scratch::read_text(KMR_SOURCES "/docs/kmr.md");
    workplace place_;
};

TEST_F(DocumentTest, ShowsWhatTheProgramPrints) {
    EXPECT_THAT(guide_, HasSubstr(shown("check disk", {"check", "disk"})));
    EXPECT_THAT(guide_, HasSubstr(shown("check -v disk/hit.kmr", {"check", "-v", "disk/hit.kmr"})));
    EXPECT_THAT(guide_, HasSubstr(shown("show disk/demo.kmr", {"show", "disk/demo.kmr"})));
    EXPECT_THAT(guide_,
                HasSubstr(shown("frames --from 24 --to 27 --user-data disk/demo.kmr",
                                {"frames", "--from", "24", "--to", "27", "--user-data", "disk/demo.kmr"})));
}

TEST_F(DocumentTest, ShowsWhatARepairWouldDo) {
    EXPECT_THAT(guide_,
                HasSubstr(shown("repair --dry-run disk/hit.kmr", {"repair", "--dry-run", "disk/hit.kmr"})));
}

TEST_F(DocumentTest, ShowsWhatTagsAreListedAndChanged) {
    EXPECT_THAT(guide_, HasSubstr(shown("tag disk/demo.kmr", {"tag", "disk/demo.kmr"})));
    EXPECT_THAT(guide_, HasSubstr(shown("tag add disk/demo.kmr 0:01.5 'Door shut'",
                                        {"tag", "add", "disk/demo.kmr", "0:01.5", "Door shut"})));
}

TEST_F(DocumentTest, ShowsWhatIsDrawn) {
    EXPECT_EQ(place_.kmr({"plot", "disk/hit.kmr", "-o", "-"}, {.environment = {"TZ=CET-1"}}).out,
              scratch::read_text(KMR_SOURCES "/docs/plot.svg"));
}

TEST_F(DocumentTest, ShowsWhatACopyIs) {
    EXPECT_THAT(guide_, HasSubstr(shown("copy --from 0:01.5 disk/demo.kmr disk/part.kmr",
                                        {"copy", "--from", "0:01.5", "disk/demo.kmr", "disk/part.kmr"})));
}

TEST_F(DocumentTest, ShowsWhatAnExtractionTells) {
    const auto told = place_.kmr({"extract", "disk/hit.kmr", "-o", "disk/hit.h264"}); // of any suffix
    EXPECT_EQ(told.status, 1);
    EXPECT_THAT(guide_, HasSubstr("$ kmr extract disk/hit.kmr -o disk/hit.mp4\n" + told.err + "```\n"));
}

TEST_F(DocumentTest, BeginsWithWhatTheProgramPrints) {
    const std::string first_screen = scratch::read_text(KMR_SOURCES "/README.md");
    const auto checked = place_.kmr({"check", "-v", "disk"});
    EXPECT_EQ(checked.status, 1);
    EXPECT_THAT(first_screen, HasSubstr("```\n" + checked.out + "```\n"));
}

} // namespace
