#include "tests/support/scratch.hpp"

#include <unistd.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = std::filesystem;

namespace scratch {

folder::folder() {
    // No letter by chance: by letters of a path the services tell what it is of.
    static std::atomic<uint32_t> next{0};
    const std::string mine = "kmr_test_" + std::to_string(getpid()) + '_';
    do
        path_ = fs::temp_directory_path() / (mine + std::to_string(next++));
    while (!fs::create_directory(path_));
}

folder::~folder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string folder::write(const std::string& name, const recording::bytes& content) const {
    return write_text(name, std::string(content.begin(), content.end()));
}

std::string folder::write_text(const std::string& name, const std::string& content) const {
    const fs::path target = path_ / name;
    fs::create_directories(target.parent_path());
    std::ofstream out(target, std::ios::binary);
    out << content;
    if (!out.flush())
        throw std::runtime_error("cannot write " + target.string());
    return target.string();
}

working_directory::working_directory(const fs::path& directory) : before_(fs::current_path()) {
    fs::current_path(directory);
}

working_directory::~working_directory() {
    std::error_code ignored;
    fs::current_path(before_, ignored);
}

std::string read_text(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(in), {}};
}

recording::bytes read_file(const fs::path& path) {
    const std::string text = read_text(path);
    return {text.begin(), text.end()};
}

int open_descriptors() {
    int count = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/self/fd"))
        ++count;
    return count - 1; // the one that looks
}

} // namespace scratch
