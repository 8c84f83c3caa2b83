// A working directory with the modules in ./lib, as a technician has it, and the program run there.
#pragma once

#include "tests/support/run_program.hpp"
#include "tests/support/scratch.hpp"

#include <filesystem>
#include <string>
#include <vector>

namespace board {

class program_folder {
public:
    program_folder() { std::filesystem::create_directory_symlink(KMR_MODULES, files.path() / "lib"); }

    // All lines that the program printed.
    std::vector<std::string> run(const std::vector<std::string>& arguments,
                                 const std::string& program = KMR_VIEWER) {
        const run::result said = run::program(
            program, arguments,
            {.directory = files.path(), .environment = {"TZ=UTC"}, .timeout = std::chrono::seconds(300)});
        if (said.status != 0)
            throw std::runtime_error("exit status " + std::to_string(said.status) + ": " + said.err);
        return lines_of(said.out);
    }

    static std::vector<std::string> lines_of(const std::string& text) {
        std::vector<std::string> lines;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        return lines;
    }

    scratch::folder files;
};

} // namespace board
