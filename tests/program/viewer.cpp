#include "tests/program/viewer.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <regex>
#include <sstream>

namespace fs = std::filesystem;

namespace viewer {
namespace {

const fs::path golden_folder = KMR_GOLDEN;

constexpr std::string_view prompt = "$ ";
constexpr std::string_view program_name = "kmr_viewer";

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
    const std::string text = scratch::read_text(golden_folder / (name + ".txt"));
    const std::size_t line_end = text.find('\n');
    golden read{.environment = {}, .words = {}, .report = text.substr(line_end + 1)};
    std::istringstream line(text.substr(prompt.size(), line_end - prompt.size()));
    bool behind_program = false;
    for (std::string word; line >> word;) {
        if (behind_program)
            read.words.push_back(word == "\"\"" ? "" : word);
        else if (is_assignment(word))
            read.environment.push_back(word);
        behind_program = behind_program || word == program_name;
    }
    return read;
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
    return text;
}

} // namespace viewer
