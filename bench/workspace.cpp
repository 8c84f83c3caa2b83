#include "bench/workspace.hpp"

#include "libvfs/vfs.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <unistd.h>

namespace fs = std::filesystem;

namespace bench {
namespace {

fs::path folder;
fs::path programs;

[[noreturn]] void give_up(const std::string& why) {
    std::cerr << why << '\n';
    std::exit(1);
}

} // namespace

void enter_workspace() {
    programs = fs::read_symlink("/proc/self/exe").parent_path();
    std::string pattern = (fs::temp_directory_path() / "kmr_bench_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        give_up("no temporary folder");
    folder = pattern;
    std::atexit([] {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    });
    fs::current_path(folder);
    fs::create_directory_symlink(programs / "lib", "lib");
    znfs_Init(vfs_Init());
}

std::string composed(const std::string& name, const std::string& arguments) {
    const fs::path target = folder / name;
    if (!fs::exists(target)) {
        const std::string command = (programs / "kmr_make").string() + " " + arguments + " >/dev/null";
        if (std::system(command.c_str()) != 0 || !fs::exists(target))
            give_up("failed: " + command);
    }
    return target.string();
}

std::string noise(const std::string& name, size_t size) {
    const fs::path target = folder / name;
    if (!fs::exists(target)) {
        std::mt19937 random(1);
        std::uniform_int_distribution<int> byte(3, 255); // no 2, so no sync word
        std::ofstream out(target, std::ios::binary);
        std::string block(1 << 20, '\0');
        for (size_t written = 0; written < size; written += block.size()) {
            for (char& each : block)
                each = static_cast<char>(byte(random));
            out.write(block.data(), static_cast<std::streamsize>(block.size()));
        }
    }
    return target.string();
}

} // namespace bench
