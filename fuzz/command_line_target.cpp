// The command lines of both programs. What the viewer's is read as can be written as a command line again, which is read
// as the same.
//
//   words, each ended by NUL
#include "analyse/options.h"
#include "fuzz/byte_feed.hpp"
#include "fuzz/printed.hpp"
#include "main/command_line.hpp"
#include "tools/command_line.hpp"
#include "tools/compose/usage_error.hpp"

#include <cstring>
#include <getopt.h>
#include <stdexcept>

namespace fuzz {
namespace {

using words = std::vector<std::string>;

// What getopt remembers of other words.
void forget_words() {
    char program[] = "program";
    char* none[] = {program, nullptr};
    optind = 0;
    expect(getopt(1, none, "") == -1, "no word is left");
}

kmr::command_line parse(words arguments) {
    forget_words();
    std::vector<char*> pointers;
    for (std::string& each : arguments)
        pointers.push_back(each.data());
    pointers.push_back(nullptr);
    kmr::command_line command;
    const printed complaints(stderr);
    kmr::parse_command_line(static_cast<int>(arguments.size()), pointers.data(), command);
    // It points into the block, which is copied.
    if (command.query_end != nullptr)
        expect(command.query_end > command.query.data() &&
                   command.query_end <= command.query.data() + command.query.size(),
               "the second value of a query stands behind the first");
    return command;
}

template <size_t Size>
void expect_ended(const std::array<char, Size>& name) {
    expect(std::memchr(name.data(), 0, Size) != nullptr, "a name has its end");
}

void expect_sane(const kmr::command_line& command) {
    constexpr uint32_t known = KMR_OPTION_SAMPLE | KMR_OPTION_ALL | KMR_OPTION_I_FRAMES | KMR_OPTION_INDEX |
                               KMR_OPTION_USER_DATA | KMR_OPTION_MISSING_FRAMES | KMR_OPTION_EXPORT;
    expect((command.option_word & ~known) == 0, "an option word has known options alone");
    expect_ended(command.recording);
    expect_ended(command.output);
    expect_ended(command.query);
    const bool exports = (command.option_word & KMR_OPTION_EXPORT) != 0;
    expect(command.what != kmr::job::copy_out || exports, "a copy was asked for");
    expect(command.what != kmr::job::analysis || !exports, "and is made when it was");
    expect((command.what == kmr::job::query) == (command.query_end != nullptr), "a query has two values");
}

// The same command in other words; not of a help text, nor of a query, which is decided before all is read.
words written(const kmr::command_line& command) {
    words again = {"kmr_viewer"};
    constexpr std::pair<uint32_t, const char*> letters[] = {
        {KMR_OPTION_SAMPLE, "-s"}, {KMR_OPTION_ALL, "-a"},       {KMR_OPTION_I_FRAMES, "-i"},
        {KMR_OPTION_INDEX, "-t"},  {KMR_OPTION_USER_DATA, "-u"}, {KMR_OPTION_MISSING_FRAMES, "-m"},
    };
    for (const auto& [bit, letter] : letters)
        if ((command.option_word & bit) != 0)
            again.emplace_back(letter);
    again.insert(again.end(), {"-f", command.recording.data()});
    if (command.what == kmr::job::copy_out)
        again.push_back("-o" + std::string(command.output.data()));
    return again;
}

void read_again(const kmr::command_line& command) {
    if (command.what == kmr::job::help || command.what == kmr::job::query)
        return;
    const kmr::command_line same = parse(written(command));
    expect(same.what == command.what && same.option_word == command.option_word,
           "a command that is written down is read as the same");
    expect(std::strcmp(same.recording.data(), command.recording.data()) == 0, "of the same recording");
    expect(command.what != kmr::job::copy_out || std::strcmp(same.output.data(), command.output.data()) == 0,
           "to the same file");
}

// What would read a file, or make up as many records as a number says, is not looked at.
bool leads_outside(const words& arguments) {
    for (const std::string& each : arguments)
        if (each.starts_with("--records") || each.starts_with("--ma"))
            return true;
    return false;
}

void ask_composer(const words& arguments) {
    if (leads_outside(arguments))
        return;
    try {
        const request wanted = parse_request(arguments);
        expect(wanted.help || wanted.output.empty() != wanted.index_file.empty(), "one file is composed");
    } catch (const compose::usage_error& error) {
        expect(*error.what() != 0, "what is wrong is told");
    }
}

} // namespace

void run(input data) {
    byte_feed feed(data);
    words arguments = {"program"};
    while (!feed.is_empty() && arguments.size() < 40)
        arguments.push_back(feed.text(400));
    const kmr::command_line command = parse(arguments);
    expect_sane(command);
    read_again(command);
    ask_composer(arguments);
}

std::vector<seed> seeds() {
    using namespace std::string_literals;
    const auto words_of = [](const std::string& text) { return bytes(text.begin(), text.end()); };
    return {
        {"all", words_of("-f\0H3200020150102030405I000042\0-saitum\0"s)},
        {"copy", words_of("-f\0a.kmr\0-o/tmp/b.kmr\0"s)},
        {"query", words_of("-q\0001420000000,1430000000\0"s)},
        {"wrong", words_of("-x\0stray\0-f"s)},
        {"ended", words_of("-a\0--\0-f\0a.kmr\0"s)},
        {"composer",
         words_of(
             "--output\0a.kmr\0--frames\00020\0--i-interval\0005\0--lose\0007:2\0--size\0001280x720\0"s)},
        {"damage",
         words_of("--output\0a\0--zero\0frame3+8:24\0--noise\0index:100:7\0--overwrite\0end-8:00ff\0"
                  "--truncate\0end-1\0--frame-field\0003.FrameSize=0x10\0"s)},
        {"user_data",
         words_of("--output\0a\0--user-data\0every:2\0--segment\0osd=text\0--segment\0vca_size=4,5\0"
                  "--segment\0000xFED4=00ff\0--block-count\0009\0"s)},
        {"index_file", words_of("--index-dat\0a\0--record\0001,2,145,x.jpg,a/b.jpg\0"s)},
        {"header", words_of("--output\0a\0--start\0002015-01-02 03:04:05\0--codec\0h265\0--tag\0001=goal\0"
                            "--clock-jump\0005:-4000\0--header-field\0Mode=41\0--demo\0"s)},
    };
}

} // namespace fuzz
