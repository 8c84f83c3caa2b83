#include "tests/program/viewer.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <iomanip>
#include <regex>
#include <sstream>

namespace fs = std::filesystem;

namespace viewer {
namespace {

const fs::path golden_folder = KMR_GOLDEN;

constexpr std::string_view prompt = "$ ";
constexpr std::string_view composer_name = "kmr_make";

arguments words_of(const std::string& line) {
    arguments words;
    std::istringstream stream(line);
    for (std::string word; stream >> std::quoted(word);)
        words.push_back(word);
    return words;
}

// Takes the line at the beginning of the text away.
std::string take_line(std::string& text) {
    const size_t end = text.find('\n');
    const std::string line = text.substr(0, end);
    text.erase(0, end + 1);
    return line;
}

bool is_assignment(const std::string& word) {
    return word.find('=') != std::string::npos;
}

} // namespace

place::place(const fs::path& modules) {
    if (!modules.empty())
        fs::create_directory_symlink(modules, path() / "lib");
}

run::result place::run(const arguments& words, const std::vector<std::string>& environment) const {
    run::options how{.directory = path(), .environment = {"TZ=UTC0"}};
    if (!environment.empty())
        how.environment = environment;
    run::result result = run::program(KMR_VIEWER, words, how);
    result.out = normalised(result.out);
    return result;
}

std::string place::report(const arguments& words, const std::vector<std::string>& environment) const {
    const run::result result = run(words, environment);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
}

void place::compose(const arguments& words) const {
    const run::result result =
        run::program(KMR_MAKE, words, {.directory = path(), .environment = {"TZ=UTC0"}});
    if (result.status != 0)
        throw std::runtime_error(result.err);
}

std::string normalised(std::string output) {
    static const std::regex cost_line("Cost Time :[0-9]+ \\(ms\\)\n");
    output = std::regex_replace(output, cost_line, "Cost Time :N (ms)\n");
    return replaced(output, std::string(KMR_VIEWER) + ": version", "kmr_viewer: version");
}

std::vector<std::string> golden_names() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(golden_folder))
        names.push_back(entry.path().stem());
    std::sort(names.begin(), names.end());
    return names;
}

golden read_golden(const std::string& name) {
    golden read{};
    read.report = scratch::read_text(golden_folder / (name + ".txt"));
    for (;;) {
        arguments words = words_of(take_line(read.report).substr(prompt.size()));
        const auto program = std::find_if_not(words.begin(), words.end(), is_assignment);
        const arguments behind_program(program + 1, words.end());
        if (*program == composer_name) {
            read.compositions.push_back(behind_program);
            continue;
        }
        read.environment.assign(words.begin(), program);
        read.words = behind_program;
        return read;
    }
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
    return text;
}

} // namespace viewer
