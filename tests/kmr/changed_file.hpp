// A recording in a folder of its own, before and after a command has changed it.
#pragma once

#include "mend/disk.hpp"
#include "tests/kmr/program.hpp"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace kmr_test {

inline constexpr timespec long_ago[2] = {{1'400'000'000, 11}, {1'400'000'111, 22}};

inline void make_old(const std::string& path) {
    EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), long_ago, 0), 0);
}

inline bool is_old(const std::string& path) {
    struct stat found = {};
    return stat(path.c_str(), &found) == 0 && kmr::mend::same_moment(found.st_atim, long_ago[0]) &&
           kmr::mend::same_moment(found.st_mtim, long_ago[1]);
}

// All of a file, whose access time stays as it is.
inline recording::bytes read_quietly(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_NOATIME | O_CLOEXEC);
    recording::bytes content(std::filesystem::file_size(path));
    EXPECT_EQ(read(file, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    close(file);
    return content;
}

// Names in a folder, sorted.
inline std::vector<std::string> names_in(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& each : std::filesystem::directory_iterator(folder))
        names.push_back(each.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

// Runs of a copy of the program as a user who may not do everything.
class as_nobody {
public:
    explicit as_nobody(const workplace& place) : place_(place) {
        namespace fs = std::filesystem;
        fs::copy_file(KMR, place.folder().path() / "kmr", fs::copy_options::overwrite_existing);
        fs::permissions(place.folder().path(), fs::perms(0755));
    }
    run::result kmr(const std::string& arguments) const {
        const std::string user = geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
        return place_.shell(user + "./kmr " + arguments);
    }

private:
    const workplace& place_;
};

} // namespace kmr_test
