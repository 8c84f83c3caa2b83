// Runs a target without a fuzzer.
//
//   NAME_replay                  its seeds, and all files of found/NAME
//   NAME_replay PATH...          these files, and all files of these folders
//   NAME_replay --seeds FOLDER   writes the seeds there
#include "fuzz/target.hpp"
#include "tests/support/scratch.hpp"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

namespace fs = std::filesystem;

// From a block of exactly its size, so that a sanitizer sees any byte that is read beyond it.
void run_input(const fuzz::bytes& content) {
    const auto copy = std::make_unique<uint8_t[]>(content.size());
    std::copy(content.begin(), content.end(), copy.get());
    LLVMFuzzerTestOneInput(copy.get(), content.size());
}

// Names what is run before it is: a crash then says where.
size_t run_file(const fs::path& path) {
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);
    run_input(scratch::read_file(path));
    return 1;
}

size_t run_path(const fs::path& path) {
    if (!fs::is_directory(path))
        return run_file(path);
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(path))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    size_t count = 0;
    for (const fs::path& each : files)
        count += run_file(each);
    return count;
}

size_t run_seeds() {
    size_t count = 0;
    for (const fuzz::seed& each : fuzz::seeds()) {
        std::printf("seed %s\n", each.name.c_str());
        std::fflush(stdout);
        run_input(each.content);
        ++count;
    }
    return count;
}

int write_seeds(const fs::path& folder) {
    fs::create_directories(folder);
    for (const fuzz::seed& each : fuzz::seeds()) {
        const std::string path = folder / each.name;
        std::FILE* const file = std::fopen(path.c_str(), "wb");
        const bool whole = file != nullptr && std::fwrite(each.content.data(), 1, each.content.size(),
                                                          file) == each.content.size();
        if (file == nullptr || std::fclose(file) != 0 || !whole) {
            std::perror(path.c_str());
            return 1;
        }
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string_view(argv[1]) == "--seeds")
        return write_seeds(argv[2]);
    size_t count = 0;
    if (argc == 1) {
        count = run_seeds();
        if (const fs::path found = KMR_FUZZ_FOUND; fs::exists(found))
            count += run_path(found);
    }
    for (int i = 1; i < argc; ++i)
        count += run_path(argv[i]);
    std::printf("%zu inputs passed\n", count);
    return count > 0 ? 0 : 1;
}
