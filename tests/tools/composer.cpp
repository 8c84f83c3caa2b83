#include "tests/tools/composer.hpp"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>

const composer::words two_small_frames = {"--frames",  "2", "--i-interval", "2",
                                          "--payload", "8", "--p-payload",  "3"};

composer::words operator+(composer::words all, const composer::words& more) {
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

recording::bytes composer::recording_of(const words& arguments) const {
    return output_of(arguments, "--output");
}

recording::bytes composer::index_file_of(const words& arguments) const {
    return output_of(arguments, "--index-dat");
}

recording::bytes composer::output_of(words arguments, const std::string& option) const {
    const run::result done = run_with(arguments + words{option, "composed"});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    return scratch::read_file(folder_.file("composed"));
}

run::result composer::run_with(const words& arguments, const words& environment) const {
    return run::program(KMR_MAKE, arguments, {.directory = folder_.path(), .environment = environment});
}

composer::words composer::files() const {
    words names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path()))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}
