// The questions of docs/fleet.md, asked of a database whose answers are known.
#include "tests/kmr/store/store_fixture.hpp"

#include <ctime>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kmr::store::result_store;
using store_test::old_stamp;
using store_test::usual_cap;
using testing::ElementsAre;

// The block under "<!-- name -->", as it stands.
std::string question(const std::string& name) {
    const std::string document = scratch::read_text(KMR_FLEET_DOCUMENT);
    const std::string lead = "<!-- " + name + " -->\n```sql\n";
    const size_t place = document.find(lead);
    if (place == document.npos)
        throw std::runtime_error("no question " + name);
    const size_t begin = place + lead.size();
    return document.substr(begin, document.find("```", begin) - begin);
}

class QuestionTest : public testing::Test, protected store_test::folder_with_database {
protected:
    std::vector<std::string> ask_for(const std::string& name) const { return ask(question(name)); }

    void keep(const std::string& host, const std::string& path, kmr::scan::report judged) const {
        open(host).keep(path, old_stamp, judged, usual_cap);
    }
};

kmr::scan::report lost(uint64_t frames, int64_t start_ms) {
    auto judged = scan_test::judge(store_test::sound_recording());
    judged.frames.lost = frames;
    judged.start_ms = start_ms;
    judged.start_from_index = true;
    return judged;
}

// So many hours after the last midnight here, in milliseconds.
int64_t hour_of_today(int hour) {
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    local.tm_hour = hour;
    local.tm_min = local.tm_sec = 0;
    local.tm_isdst = -1;
    return int64_t{std::mktime(&local)} * 1000;
}

// An argument of sqlite3 that begins with a dash is an option, and a shell changes some characters between quotation marks.
TEST_F(QuestionTest, StandsBetweenQuotationMarksOfAShell) {
    const std::string document = scratch::read_text(KMR_FLEET_DOCUMENT);
    size_t questions = 0;
    for (size_t at = document.find("```sql\n"); at != document.npos; at = document.find("```sql\n", at + 1)) {
        const std::string block = document.substr(at + 7, document.find("```", at + 7) - at - 7);
        EXPECT_THAT(block, testing::StartsWith("SELECT"));
        EXPECT_EQ(block.find_first_of("\"$`\\!"), block.npos) << block;
        ++questions;
    }
    EXPECT_EQ(questions, 7U);
}

TEST_F(QuestionTest, WhichChannelLostFramesLastNight) {
    keep("north", "/mnt/usb/1", lost(3, hour_of_today(-2)));  // yesterday at 22:00
    keep("north", "/mnt/usb/2", lost(4, hour_of_today(5)));   // this morning
    keep("north", "/mnt/usb/3", lost(50, hour_of_today(-7))); // yesterday at 17:00
    keep("north", "/mnt/usb/4", lost(60, hour_of_today(6)));  // 06:00 is day
    keep("south", "/rec/1", lost(9, hour_of_today(-6)));      // 18:00 is night
    keep("south", "/rec/2", lost(0, hour_of_today(0)));
    EXPECT_THAT(ask_for("lost-last-night"), ElementsAre("south|unknown|9|1", "north|1|7|2"));
}

TEST_F(QuestionTest, WhichRecordingsAreNotSound) {
    keep("north", "/rec/1", scan_test::judge(store_test::torn_recording())); // 96 bytes of ten frames
    keep("north", "/rec/2", scan_test::judge(store_test::sound_recording()));
    keep("south", "/rec/1", scan_test::judge(store_test::unfinished_recording()));
    keep("south", "/rec/2", kmr::scan::unreadable(EACCES));
    keep("south", "/rec/note.txt", scan_test::judge({1, 2, 3}));
    EXPECT_THAT(ask_for("not-sound"), ElementsAre("north|/rec/1|damaged|96|9", "south|/rec/1|unfinished|0|10",
                                                  "south|/rec/2|unreadable|0|0"));
}

TEST_F(QuestionTest, WhatIsWrongAndHowOften) {
    keep("north", "/rec/1", scan_test::judge(store_test::many_findings_recording(150))); // 50 beyond the cap
    keep("north", "/rec/2", scan_test::judge(store_test::torn_recording()));
    keep("south", "/rec/1", scan_test::judge(store_test::torn_recording()));
    EXPECT_THAT(ask_for("how-often"), ElementsAre("frames-lost|150|1", "bytes-torn|2|2"));
}

TEST_F(QuestionTest, WhereFramesMiss) {
    // Frames 1, 3 and 5, 40 ms apart, from the start of the recording in 2015 on.
    keep("north", "/rec/1", scan_test::judge(store_test::many_findings_recording(2)));
    EXPECT_THAT(ask_for("where-lost"), ElementsAre("north|/rec/1|240|1|2015-01-02 03:04:05",
                                                   "north|/rec/1|336|1|2015-01-02 03:04:05"));
}

TEST_F(QuestionTest, WhatARepairWouldKeep) {
    keep("north", "/rec/1", scan_test::judge(store_test::torn_recording()));
    keep("north", "/rec/2", scan_test::judge(store_test::unfinished_recording()));
    keep("north", "/rec/3", scan_test::judge(store_test::sound_recording()));
    keep("south", "/rec/1", scan_test::judge(store_test::wrong_index_recording()));
    EXPECT_THAT(ask_for("repair"), ElementsAre("north|2|19|96", "south|1|10|0"));
}

TEST_F(QuestionTest, WhatIsGone) {
    keep("north", folder.file("1"), scan_test::judge(store_test::sound_recording()));
    keep("north", folder.file("2"), scan_test::judge(store_test::sound_recording()));
    folder.write("2", {});
    open("north").finish({folder.path()});
    const auto gone = ask_for("gone");
    ASSERT_EQ(gone.size(), 1U);
    EXPECT_THAT(gone.front(), testing::StartsWith("north|" + folder.file("1") + "|20"));
    ask("UPDATE recordings SET gone_ms = 1000");
    EXPECT_TRUE(ask_for("gone").empty());
}

TEST_F(QuestionTest, WhichMachineHasNotBeenChecked) {
    open("north").finish({});
    open("east").finish({});
    { const result_store cut_off = open("south"); }
    ask("UPDATE runs SET ended_ms = 1000 WHERE host = 'east'");
    EXPECT_THAT(ask_for("not-checked"), ElementsAre("east|1970-01-01 00:00:01", "south|-"));
}

} // namespace
