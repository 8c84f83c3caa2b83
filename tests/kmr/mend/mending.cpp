#include "tests/kmr/mend/mending.hpp"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace kmr_test {

void MendingTest::compose(const std::string& name, const words& more) const {
    place_.compose(name, more);
    const timespec dates[2] = {{1'400'000'000, 123'456'789}, {1'400'000'001, 987'654'321}};
    ASSERT_EQ(utimensat(AT_FDCWD, place_.folder().file(name).c_str(), dates, 0), 0);
}

// Leaves the dates as they are.
file_state MendingTest::state_of(const std::string& name) const {
    const std::string path = place_.folder().file(name);
    struct stat found = {};
    EXPECT_EQ(stat(path.c_str(), &found), 0) << name;
    file_state state = {scratch::read_file(path), found.st_atim, found.st_mtim};
    const timespec dates[2] = {state.accessed, state.modified};
    EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), dates, 0), 0);
    return state;
}

file_state MendingTest::composed(const std::string& name, const words& more) const {
    compose(name, more);
    return state_of(name);
}

void MendingTest::expect_state(const std::string& name, const file_state& state) const {
    const file_state found = state_of(name);
    EXPECT_EQ(found.accessed.tv_sec, state.accessed.tv_sec);
    EXPECT_EQ(found.accessed.tv_nsec, state.accessed.tv_nsec);
    EXPECT_EQ(found.modified.tv_sec, state.modified.tv_sec);
    EXPECT_EQ(found.modified.tv_nsec, state.modified.tv_nsec);
    EXPECT_TRUE(found.content == state.content);
}

run::result MendingTest::kmr(const words& arguments, const words& environment) const {
    words all = {"-w", KMR};
    all.insert(all.end(), arguments.begin(), arguments.end());
    words more = environment;
    more.emplace_back("TZ=UTC0");
    return run::program("/usr/bin/setsid", all, {.directory = place_.folder().path(), .environment = more});
}

std::vector<std::string> MendingTest::files() const {
    std::vector<std::string> names;
    for (const auto& each : std::filesystem::directory_iterator(place_.folder().path()))
        names.push_back(each.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

void MendingTest::expect_mended(const std::string& name) const {
    const auto checked = kmr({"check", "-v", name});
    EXPECT_EQ(checked.out.find("\n    error "), std::string::npos) << checked.out;
    EXPECT_EQ(checked.out.find("index-missing"), std::string::npos) << checked.out;
    const auto again = kmr({"repair", "--yes", name});
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(again.out, name + ": nothing to do\n");
}

} // namespace kmr_test
