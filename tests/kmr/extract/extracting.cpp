#include "tests/kmr/extract/extracting.hpp"

#include "tests/kmr/changed_file.hpp"

#include <stdexcept>

namespace kmr_test {

void ExtractingTest::compose_clip(const std::string& name, const std::string& clip, const words& more) const {
    words arguments = {"--output", place_.folder().file(name), "--video", KMR_CLIPS + clip, "--size",
                       "320x240"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const run::result made = run::program(KMR_MAKE, arguments);
    if (made.status != 0)
        throw std::runtime_error(made.err);
}

run::result ExtractingTest::extract(const words& arguments, const words& environment) const {
    words all = {"extract"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return place_.kmr(all, {.environment = environment});
}

recording::bytes ExtractingTest::content(const std::string& name) const {
    return scratch::read_file(place_.folder().file(name));
}

recording::bytes ExtractingTest::clip(const std::string& name) {
    return scratch::read_file(KMR_CLIPS + name);
}

std::vector<std::string> ExtractingTest::names() const {
    return names_in(place_.folder().path());
}

void ExtractingTest::expect_refused(const words& arguments, const std::string& message) const {
    const auto before = names();
    const auto run = extract(arguments);
    EXPECT_EQ(run.status, 2) << testing::PrintToString(arguments);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "kmr: " + message + "\n");
    EXPECT_EQ(names(), before);
}

} // namespace kmr_test
