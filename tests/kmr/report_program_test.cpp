// kmr report as a program: what a page holds, what it is called, and what becomes of it when something goes wrong.
#include "tests/kmr/making_test.hpp"
#include "tests/kmr/on_terminal.hpp"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <rapidjson/document.h>
#include <sstream>

namespace {

namespace fs = std::filesystem;

using kmr_test::words;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

size_t count_of(const std::string& what, const std::string& in) {
    size_t count = 0;
    for (size_t at = in.find(what); at != std::string::npos; at = in.find(what, at + 1))
        ++count;
    return count;
}

class ReportTest : public kmr_test::making_test {
protected:
    ReportTest() : making_test("report") { place_.compose("a.kmr", {"--tag", "1=six"}); }

    // The page of a recording.
    std::string page_of(const std::string& name, int status = 0) const {
        const auto run = command({name, "-o", "page.html", "--force"});
        EXPECT_EQ(run.status, status);
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(run.out, "");
        return text("page.html");
    }

    static std::string block(const std::string& page, const std::string& name) {
        const std::string opening = "<script type=\"application/json\" id=\"" + name + "\">";
        const size_t begin = page.find(opening) + opening.size();
        EXPECT_EQ(count_of(opening, page), 1U) << name;
        return page.substr(begin, page.find("</script>", begin) - begin);
    }
    static rapidjson::Document parsed(const std::string& json) {
        rapidjson::Document of;
        of.Parse(json.data(), json.size());
        EXPECT_FALSE(of.HasParseError());
        return of;
    }
};

TEST_F(ReportTest, HoldsWhatCheckAndShowSay) {
    const std::string page = page_of("a.kmr");
    EXPECT_THAT(page, StartsWith("<!DOCTYPE html>\n<html lang=\"en\">\n"));
    EXPECT_THAT(page, testing::EndsWith("</body>\n</html>\n"));
    EXPECT_EQ(block(page, "check"), place_.kmr({"check", "--json", "a.kmr"}).out);
    EXPECT_EQ(block(page, "show"), place_.kmr({"show", "--json", "a.kmr"}).out);
}

// Names once, values as in the lines of `kmr frames`, whose time of day the page has from its start.
TEST_F(ReportTest, HoldsWhatFramesSays) {
    place_.compose(
        "b.kmr", {"--segment", "osd=here", "--segment", "gps=there", "--lose", "4:2", "--insert-after", "6"});
    const auto frames = parsed(block(page_of("b.kmr", 1), "frames"));
    const auto& columns = frames["columns"];
    std::istringstream lines(place_.kmr({"frames", "--user-data", "--format", "json", "b.kmr"}).out);
    rapidjson::SizeType row = 0;
    for (std::string line; std::getline(lines, line); ++row) {
        const auto frame = parsed(line);
        ASSERT_LT(row, frames["rows"].Size());
        EXPECT_EQ(columns.Size() + 1, frame.MemberCount());
        for (rapidjson::SizeType column = 0; column < columns.Size(); ++column)
            EXPECT_TRUE(frames["rows"][row][column] == frame[columns[column].GetString()])
                << row << " " << columns[column].GetString();
    }
    EXPECT_EQ(row, 9U); // ten less two, and one inserted
    EXPECT_EQ(frames["rows"].Size(), 9U);
    EXPECT_EQ(frames["user_data_left_out"].GetInt(), 0);
}

// Of the last frame there are 20 bytes of the header, which say nothing of it.
TEST_F(ReportTest, LeavesOutAFrameWithoutAHeader) {
    place_.compose("torn.kmr", {"--torn-last", "20"});
    const auto frames = parsed(block(page_of("torn.kmr", 1), "frames"));
    EXPECT_EQ(frames["rows"].Size(), 9U);
}

TEST_F(ReportTest, LetsNothingOfARecordingBecomeMarkup) {
    const std::string attack = "</script><img src=x onerror=alert(1)>";
    const std::string harmless = page_of("a.kmr");
    const std::string name = "<script><!--.kmr";
    place_.compose(name, {"--tag", "0=" + attack, "--tag", "1=<!--<script>", "--cover-word",
                          "</script><svg onload=1>", "--segment", "osd=" + attack});
    const std::string page = page_of(name);
    for (const std::string mark : {"<", "</script", "<script", "<!--", "<img", "<svg"})
        EXPECT_EQ(count_of(mark, page), count_of(mark, harmless)) << mark;
    EXPECT_EQ(parsed(block(page, "show"))["tags"][0]["text"].GetString(), attack);
    EXPECT_EQ(parsed(block(page, "check"))["path"].GetString(), name);
    const auto frames = parsed(block(page, "frames"));
    EXPECT_EQ(frames["rows"][0][frames["columns"].Size() - 1][0]["value"].GetString(), attack);
}

TEST_F(ReportTest, AllowsNothingThatItDoesNotBring) {
    const std::string page = page_of("a.kmr");
    EXPECT_THAT(page, HasSubstr("content=\"default-src 'none'; script-src 'sha256-"));
    EXPECT_THAT(page, Not(HasSubstr("unsafe")));
    EXPECT_THAT(page, Not(HasSubstr(" src=")));
    EXPECT_THAT(page, Not(HasSubstr("<link")));
    EXPECT_EQ(count_of("<script>", page), count_of("<style>", page)); // of the library and of the page
    EXPECT_EQ(count_of("'sha256-", page), count_of("<script>", page) + count_of("<style>", page));
}

TEST_F(ReportTest, IsTheSameEachTime) {
    EXPECT_EQ(page_of("a.kmr"), page_of("a.kmr"));
}

TEST_F(ReportTest, TellsByItsStatusWhatWasFound) {
    place_.compose("damaged.kmr", {"--zero", "frame3:32"});
    place_.compose("unfinished.kmr", {"--no-index"});
    place_.folder().write_text("notes", "no recording at all");
    const auto verdict = [&](const std::string& name, int status) {
        return std::string(parsed(block(page_of(name, status), "check"))["verdict"].GetString());
    };
    EXPECT_EQ(verdict("a.kmr", 0), "sound");
    EXPECT_EQ(verdict("damaged.kmr", 1), "damaged");
    EXPECT_EQ(verdict("unfinished.kmr", 1), "unfinished");
    EXPECT_EQ(verdict("notes", 1), "not a recording");
}

TEST_F(ReportTest, RefusesWhatCannotBeReadAndWrongUsage) {
    fs::create_directory(place_.folder().path() / "folder");
    const std::string help = "\nkmr: see kmr --help, or kmr COMMAND --help";
    expect_refused({"none.kmr", "-o", "p.html"}, "none.kmr: No such file or directory");
    expect_refused({"folder", "-o", "p.html"}, "folder: not a regular file");
    expect_refused({"a.kmr"}, "--output is required" + help);
    expect_refused({"a.kmr", "-o", ""}, "--output: the value is empty" + help);
    expect_refused({"a.kmr", "-o", "-"}, "-: a page is written to a file, not to standard output");
    expect_refused({"-o", "p.html"}, "FILE is required" + help);
}

TEST_F(ReportTest, NeverWritesOntoTheRecordingNorThroughLinks) {
    expect_no_way_onto_the_recording(".html");
    expect_refused({"a.kmr", "-o", "a.kmr"}, "a.kmr: is the recording itself");
    expect_refused({"a.kmr", "-o", "/dev/null", "--force"}, "/dev/null: not a regular file");
}

TEST_F(ReportTest, ReplacesWhatIsThereOnlyWhenItIsTold) {
    place_.folder().write_text("p.html", "mine");
    expect_refused({"a.kmr", "-o", "p.html"}, "p.html: is there already (--force replaces it)");
    EXPECT_EQ(text("p.html"), "mine");
    EXPECT_EQ(command({"a.kmr", "-o", "p.html", "--force"}).status, 0);
    EXPECT_THAT(text("p.html"), StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(names(), ElementsAre("a.kmr", "p.html"));
}

// As a disk that is full.
TEST_F(ReportTest, LeavesNothingBehindWhereThereIsNoRoom) {
    const auto run =
        place_.shell("ulimit -f 8; \"$1\" report a.kmr -o p.html 2>&1 | cat; exit ${PIPESTATUS[0]}");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "kmr: p.html: File too large\n");
    EXPECT_THAT(names(), ElementsAre("a.kmr"));
}

TEST_F(ReportTest, LeavesNothingBehindWhenItIsInterrupted) {
    place_.folder().write_text("zeros", "");
    fs::resize_file(place_.folder().path() / "zeros", uint64_t{1} << 40); // hours of work
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        kmr_test::on_terminal run(place_, {"report", "zeros", "-o", "p.html"});
        EXPECT_THAT(run.read_until(" left"), HasSubstr("\r\x1b[Kfiles 0 of 1, "));
        kill(run.child(), signal);
        EXPECT_EQ(run.wait_status(), -signal);
        EXPECT_THAT(names(), ElementsAre("a.kmr", "zeros"));
    }
}

TEST_F(ReportTest, MakesAPageWithoutATimeLineWhereNothingDrawsIt) {
    const auto run =
        run::program(KMR_PLAIN, {"report", "a.kmr", "-o", "p.html"}, {.directory = place_.folder().path()});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "kmr: p.html: without a time line: this program was built without Dygraphs\n");
    EXPECT_EQ(count_of("<script>", text("p.html")), 1U);
    EXPECT_THAT(block(text("p.html"), "check"), StartsWith("{\"schema\":\"kmr.check/1\""));
}

// 4 MiB hold 4194 times 1000 bytes.
TEST_F(ReportTest, CountsTheUserDataThatAreTooMuchForAPage) {
    words options = {"--frames", "4300", "--user-data", "every:1"};
    options.insert(options.end(), {"--segment", "user_define=" + std::string(1000, 'u')});
    place_.compose("much.kmr", options);
    const auto frames = parsed(block(page_of("much.kmr"), "frames"));
    const auto last = frames["columns"].Size() - 1;
    EXPECT_EQ(frames["user_data_left_out"].GetInt(), 4300 - 4194);
    EXPECT_EQ(frames["rows"][4193][last].Size(), 1U);
    EXPECT_EQ(frames["rows"][4194][last].Size(), 0U);
    EXPECT_EQ(frames["rows"].Size(), 4300U);
}

TEST_F(ReportTest, IsSmallForAHundredThousandFrames) {
    place_.compose("many.kmr", {"--frames", "100000", "--sparse"});
    page_of("many.kmr");
    EXPECT_LE(fs::file_size(place_.folder().path() / "page.html"), 40'000'000U);
}

} // namespace
