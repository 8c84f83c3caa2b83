#include "kmr/files.hpp"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>

namespace kmr::program {
namespace {

struct close_folder {
    void operator()(DIR* folder) const { closedir(folder); }
};

std::string below(const std::string& folder, std::string_view name) {
    std::string path = folder;
    if (!path.ends_with('/'))
        path += '/';
    return path += name;
}

// Type of an entry, asked of the file itself only where the folder does not tell it.
unsigned char type_of(const dirent& entry, const std::string& path) {
    if (entry.d_type != DT_UNKNOWN)
        return entry.d_type;
    struct stat found = {};
    return lstat(path.c_str(), &found) == 0 ? static_cast<unsigned char>(IFTODT(found.st_mode))
                                            : entry.d_type;
}

class folder_walk {
public:
    explicit folder_walk(std::vector<found_file>& into) : into_(into) {}

    void walk(const std::string& top) {
        left_.push_back(top);
        while (!left_.empty()) {
            const std::string folder = std::move(left_.back());
            left_.pop_back();
            list(folder);
        }
    }

private:
    void list(const std::string& path) {
        const std::unique_ptr<DIR, close_folder> folder(opendir(path.c_str()));
        if (!folder) {
            into_.push_back({path, true, errno});
            return;
        }
        for (;;) {
            errno = 0;
            const dirent* const entry = readdir(folder.get());
            if (entry == nullptr) {
                if (errno != 0)
                    into_.push_back({path, true, errno});
                return;
            }
            take(path, *entry);
        }
    }

    void take(const std::string& folder, const dirent& entry) {
        const std::string_view name = entry.d_name;
        if (name == "." || name == "..")
            return;
        std::string path = below(folder, name);
        const unsigned char type = type_of(entry, path);
        if (type == DT_DIR)
            left_.push_back(std::move(path));
        else if (type == DT_REG)
            into_.push_back({std::move(path), true, 0});
    }

    std::vector<found_file>& into_;
    std::vector<std::string> left_ = {};
};

} // namespace

std::vector<found_file> files_of(const std::vector<std::string>& paths) {
    std::vector<found_file> files;
    for (const std::string& path : paths) {
        struct stat found = {};
        if (stat(path.c_str(), &found) != 0 || !S_ISDIR(found.st_mode)) {
            files.push_back({path, false, 0});
            continue;
        }
        const auto first = static_cast<std::ptrdiff_t>(files.size());
        folder_walk(files).walk(path);
        std::sort(files.begin() + first, files.end(),
                  [](const found_file& one, const found_file& other) { return one.path < other.path; });
    }
    return files;
}

uint64_t bytes_of(const std::vector<found_file>& files) {
    uint64_t bytes = 0;
    for (const found_file& each : files) {
        struct stat found = {};
        if (stat(each.path.c_str(), &found) == 0 && S_ISREG(found.st_mode))
            bytes += static_cast<uint64_t>(found.st_size);
    }
    return bytes;
}

} // namespace kmr::program
