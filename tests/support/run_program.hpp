// Runs a program as a user would, and hands back all that it said.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace run {

struct result {
    int status; // exit status; minus the number of the signal that ended the program
    std::string out;
    std::string err;
};

struct options {
    std::filesystem::path directory = {};      // working directory; empty: the test's own
    std::vector<std::string> environment = {}; // "TZ=UTC": set in addition to what the test itself was given
    std::chrono::seconds timeout{60};
    std::string stdout_path = {}; // standard output goes to this file and not into `out`
};

// Standard input is empty. Throws std::runtime_error when the program cannot be started, when the timeout is
// over (the program is ended then), or when the host refuses a pipe. Runs below KMR_EMULATOR where the tests
// are built for another machine.
result program(const std::string& path, const std::vector<std::string>& arguments, const options& how = {});

} // namespace run
