#include "tests/kmr/program.hpp"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace kmr_test {

std::string workplace::compose(const std::string& name, const words& more) const {
    std::filesystem::create_directories((folder_.path() / name).parent_path());
    words arguments = {"--output", folder_.file(name), "--frames", "10",          "--i-interval",
                       "5",        "--payload",        "100",      "--p-payload", "50"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const run::result made = run::program(KMR_MAKE, arguments);
    if (made.status != 0)
        throw std::runtime_error(made.err);
    return name;
}

run::result workplace::kmr(const words& arguments, run::options how) const {
    how.directory = folder_.path();
    if (std::none_of(how.environment.begin(), how.environment.end(),
                     [](const std::string& each) { return each.starts_with("TZ="); }))
        how.environment.push_back("TZ=UTC0");
    return run::program(KMR, arguments, how);
}

run::result workplace::shell(const std::string& script, const words& arguments) const {
    words all = {"-c", script, "bash", KMR};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return run::program("/bin/bash", all, {.directory = folder_.path(), .environment = {"TZ=UTC0"}});
}

} // namespace kmr_test
