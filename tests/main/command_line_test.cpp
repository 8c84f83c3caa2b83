// How the words of the command line become one job, and that every libc reads them alike.
#include "main/command_line.hpp"

#include <cstdlib>
#include <gmock/gmock.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using kmr::job;

class reader {
public:
    // Arguments behind the program's name.
    kmr::command_line operator()(const std::vector<std::string>& arguments) {
        forget_the_line_before();
        std::vector<std::string> words{"kmr_viewer"};
        words.insert(words.end(), arguments.begin(), arguments.end());
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        kmr::command_line command;
        kmr::parse_command_line(static_cast<int>(words.size()), argv.data(), command);
        if (command.query_end != nullptr)
            query_end_ = command.query_end;
        return command;
    }

    const std::string& query_end() const { return query_end_; }

private:
    // getopt may have stopped within "-ha"; a program reads its line only once, a test many.
    static void forget_the_line_before() {
        char name[] = "kmr_viewer";
        char* none[] = {name, nullptr};
        optind = 0;
        (void)getopt(1, none, "h");
        optind = 1;
        opterr = 0;
    }

    std::string query_end_;
};

class CommandLineTest : public ::testing::TestWithParam<bool> {
protected:
    CommandLineTest() {
        if (GetParam())
            setenv("POSIXLY_CORRECT", "1", 1);
        else
            unsetenv("POSIXLY_CORRECT");
    }
    ~CommandLineTest() override { unsetenv("POSIXLY_CORRECT"); }

    reader read;
};

TEST_P(CommandLineTest, AComplaintHasTheSameWordsOnEveryLibc) {
    const auto complaint = [this](const std::vector<std::string>& arguments) {
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(read(arguments).what, job::help);
        return ::testing::internal::GetCapturedStderr();
    };
    EXPECT_EQ(complaint({"-h"}), "");
    EXPECT_EQ(complaint({"-x"}), "kmr_viewer: invalid option -- 'x'\n");
    EXPECT_EQ(complaint({"-a?"}), "kmr_viewer: invalid option -- '?'\n");
    EXPECT_EQ(complaint({"-:"}), "kmr_viewer: invalid option -- ':'\n");
    EXPECT_EQ(complaint({"--all"}), "kmr_viewer: invalid option -- '-'\n");
    EXPECT_EQ(complaint({"-f"}), "kmr_viewer: option requires an argument -- 'f'\n");
    EXPECT_EQ(complaint({"-a", "-q"}), "kmr_viewer: option requires an argument -- 'q'\n");
}

INSTANTIATE_TEST_SUITE_P(, CommandLineTest, ::testing::Bool(), [](const auto& stops_at_names) {
    return stops_at_names.param ? "getopt_that_stops_at_names" : "getopt_that_reorders";
});

TEST_P(CommandLineTest, WithoutWordsAsksForAnAnalysisOfNothing) {
    const kmr::command_line command = read({});
    EXPECT_EQ(command.what, job::analysis);
    EXPECT_EQ(command.option_word, 0U);
    EXPECT_STREQ(command.recording.data(), "");
}

TEST_P(CommandLineTest, EveryLetterSetsItsBit) {
    EXPECT_EQ(read({"-s"}).option_word, 0x01U);
    EXPECT_EQ(read({"-a"}).option_word, 0x02U);
    EXPECT_EQ(read({"-i"}).option_word, 0x04U);
    EXPECT_EQ(read({"-t"}).option_word, 0x10U);
    EXPECT_EQ(read({"-u"}).option_word, 0x20U);
    EXPECT_EQ(read({"-m"}).option_word, 0x40U);
    EXPECT_EQ(read({"-o"}).option_word, 0x80U);
}

TEST_P(CommandLineTest, BitsOfRepeatedAndJoinedLettersAreCombined) {
    EXPECT_EQ(read({"-a", "-a", "-s"}).option_word, 0x03U);
    EXPECT_EQ(read({"-saitum"}).option_word, 0x77U);
    EXPECT_EQ(read({"-saitum"}).what, job::analysis);
}

TEST_P(CommandLineTest, ANameIsAttachedOrTheNextWord) {
    EXPECT_STREQ(read({"-fx.kmr"}).recording.data(), "x.kmr");
    EXPECT_STREQ(read({"-f", "x.kmr"}).recording.data(), "x.kmr");
    EXPECT_STREQ(read({"-amf", "x.kmr"}).recording.data(), "x.kmr");
    EXPECT_STREQ(read({"-f", "-a"}).recording.data(), "-a");
    EXPECT_EQ(read({"-f", "-a"}).option_word, 0U);
    EXPECT_STREQ(read({"-f", "--"}).recording.data(), "--");
}

TEST_P(CommandLineTest, ALaterNameReplacesAnEarlierOne) {
    const kmr::command_line command = read({"-f", "a-long-name.kmr", "-f", "b"});
    EXPECT_EQ(std::string(command.recording.data(), command.recording.size()), "b" + std::string(127, '\0'));
}

TEST_P(CommandLineTest, WordsThatAreNoOptionsArePassedOver) {
    EXPECT_EQ(read({"x", "-a"}).option_word, 0x02U);
    EXPECT_EQ(read({"-s", "x", "y", "-a"}).option_word, 0x03U);
    EXPECT_EQ(read({"-a", "x"}).option_word, 0x02U);
    EXPECT_EQ(read({"x"}).what, job::analysis);
    EXPECT_EQ(read({"-", "-a", "-", "-s", "-"}).option_word, 0x03U);
    EXPECT_EQ(read({"", "-a", ""}).option_word, 0x02U);
    EXPECT_EQ(read({"x", "-h"}).what, job::help);
    EXPECT_STREQ(read({"x", "-f", "name", "y"}).recording.data(), "name");
}

TEST_P(CommandLineTest, TwoDashesEndTheOptions) {
    EXPECT_EQ(read({"-a", "--", "-s"}).option_word, 0x02U);
    EXPECT_EQ(read({"--", "-h"}).what, job::analysis);
    EXPECT_EQ(read({"x", "--", "-a"}).option_word, 0U);
    EXPECT_EQ(read({"-s", "x", "--", "y", "-a"}).option_word, 0x01U);
    EXPECT_EQ(read({"--", "x", "-", "-a"}).option_word, 0U);
}

TEST_P(CommandLineTest, ABadOptionAsksForHelpWhateverCameBefore) {
    EXPECT_EQ(read({"-h"}).what, job::help);
    EXPECT_EQ(read({"-a", "-f", "x", "-h"}).what, job::help);
    EXPECT_EQ(read({"-oname", "-f", "x", "-h"}).what, job::help);
    EXPECT_EQ(read({"-ah"}).what, job::help);
    EXPECT_EQ(read({"-z"}).what, job::help);
    EXPECT_EQ(read({"-?"}).what, job::help);
    EXPECT_EQ(read({"-:"}).what, job::help);
    EXPECT_EQ(read({"--all"}).what, job::help);
    EXPECT_EQ(read({"-f"}).what, job::help);
    EXPECT_EQ(read({"-a", "-q"}).what, job::help);
}

TEST_P(CommandLineTest, OptionsBehindABadOneAreNotLookedAt) {
    EXPECT_EQ(read({"-h", "-q", "1,2"}).what, job::help);
    EXPECT_EQ(read({"-f", std::string(128, 'n'), "-q", "1,2"}).what, job::help);
}

TEST_P(CommandLineTest, ExportTakesAnAttachedNameOnly) {
    const kmr::command_line attached = read({"-f", "in.kmr", "-o/dbg/a.kmr"});
    EXPECT_EQ(attached.what, job::copy_out);
    EXPECT_STREQ(attached.output.data(), "/dbg/a.kmr");
    EXPECT_STREQ(attached.recording.data(), "in.kmr");

    const kmr::command_line blank = read({"-f", "in.kmr", "-o", "out.kmr"});
    EXPECT_EQ(blank.what, job::copy_out);
    EXPECT_STREQ(blank.output.data(), "in.kmr");

    EXPECT_STREQ(read({"-o", "-f", "in.kmr"}).output.data(), "in.kmr");
    EXPECT_STREQ(read({"-oa", "-f", "in.kmr", "-o"}).output.data(), "a");
    EXPECT_STREQ(read({"-olong-name", "-ob"}).output.data(), "b");
    EXPECT_STREQ(read({"-aof"}).output.data(), "f");
    EXPECT_STREQ(read({"-o-f", "x"}).output.data(), "-f");
}

TEST_P(CommandLineTest, ExportWinsOverTheLettersOfTheAnalysis) {
    EXPECT_EQ(read({"-a", "-o", "-f", "x", "-m"}).what, job::copy_out);
    EXPECT_EQ(read({"-a", "-o", "-m"}).option_word, 0xC2U);
}

TEST_P(CommandLineTest, AQueryIsCutAtItsFirstComma) {
    const kmr::command_line command = read({"-q", "abc,def"});
    EXPECT_EQ(command.what, job::query);
    EXPECT_STREQ(command.query.data(), "abc");
    EXPECT_EQ(read.query_end(), "def");

    EXPECT_STREQ(read({"-q1,2,3"}).query.data(), "1");
    EXPECT_EQ(read.query_end(), "2,3");
    EXPECT_EQ(read({"-q,"}).what, job::query);
    EXPECT_EQ(read.query_end(), "");
}

TEST_P(CommandLineTest, AQueryRunsWhereItStands) {
    EXPECT_EQ(read({"-a", "-oname", "-q", "1,2", "-h"}).what, job::query);
    EXPECT_EQ(read({"-q", "1,2", "-f", std::string(200, 'n')}).what, job::query);
    EXPECT_EQ(read({"-h", "-q", "1,2"}).what, job::help);
}

TEST_P(CommandLineTest, AQueryWithoutACommaIsAnExport) {
    const kmr::command_line command = read({"-f", "x", "-q", "abc"});
    EXPECT_EQ(command.what, job::copy_out);
    EXPECT_EQ(command.option_word, 0x80U);
    EXPECT_STREQ(command.output.data(), "abc");
    EXPECT_EQ(read({"-q", "abc", "-h"}).what, job::help);
    EXPECT_EQ(read({"-q", "abc", "-q", "1,2"}).what, job::query);
}

TEST_P(CommandLineTest, AnEmptyQueryIsAnExportToTheNameOfTheRecording) {
    const kmr::command_line command = read({"-f", "x", "-oname", "-q", ""});
    EXPECT_EQ(command.what, job::copy_out);
    EXPECT_STREQ(command.output.data(), "x");
}

TEST_P(CommandLineTest, NamesHoldUpTo127Characters) {
    const std::string longest(127, 'n');
    EXPECT_EQ(read({"-f", longest}).what, job::analysis);
    EXPECT_EQ(read({"-f", longest}).recording.data(), longest);
    EXPECT_EQ(read({"-f", longest + "n"}).what, job::help);
    EXPECT_EQ(read({"-f", longest + "nn"}).what, job::help);
    EXPECT_EQ(read({"-f", std::string(100000, 'n')}).what, job::help);
}

TEST_P(CommandLineTest, QueriesHoldUpTo127Characters) {
    const std::string longest = std::string(63, '1') + "," + std::string(63, '2');
    EXPECT_EQ(read({"-q", longest}).what, job::query);
    EXPECT_EQ(read.query_end(), std::string(63, '2'));
    EXPECT_EQ(read({"-q", longest + "2"}).what, job::help);
    EXPECT_EQ(read({"-q", longest + "22"}).what, job::help);
    EXPECT_EQ(read({"-q", std::string(127, 'q')}).output.data(), std::string(127, 'q'));
    EXPECT_EQ(read({"-q", std::string(128, 'q')}).what, job::help);
    EXPECT_EQ(read({"-q", std::string(129, 'q')}).what, job::help);
}

TEST_P(CommandLineTest, OutputNamesAreCutBehind128Characters) {
    const std::string name(128, 'o');
    EXPECT_EQ(read({"-o" + name.substr(1)}).output.data(), name.substr(1));
    EXPECT_EQ(read({"-o" + name}).output.data(), name);
    EXPECT_EQ(read({"-o" + name + "x"}).output.data(), name);
    EXPECT_EQ(read({"-o" + name + "x"}).what, job::copy_out);
    EXPECT_EQ(read({"-o" + std::string(100000, 'o')}).output.data(), name);
}

} // namespace
