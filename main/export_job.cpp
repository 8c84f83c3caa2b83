#include "main/front_end.h"

#include "base/host_file.hpp"
#include "file_op/common/rec_status.h"
#include "file_op/open_table.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace kmr {
namespace {

constexpr size_t block_size = 4096;

bool is_same_file(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool leads_to(int descriptor, const struct stat& target) {
    struct stat held;
    return fstat(descriptor, &held) == 0 && S_ISREG(held.st_mode) && is_same_file(held, target);
}

struct directory_close {
    void operator()(DIR* directory) const { closedir(directory); }
};

// Where the system does not list the descriptors of a process, each number that one can have.
bool is_held_below_the_limit(const struct stat& target) {
    constexpr long most_of_any_process = 1048576; // unless the system was told to grant more
    const long told = sysconf(_SC_OPEN_MAX);
    const long limit = told < 0 ? most_of_any_process : told;
    for (long descriptor = 0; descriptor < limit; ++descriptor)
        if (leads_to(static_cast<int>(descriptor), target))
            return true;
    return false;
}

// Descriptors may have numbers beyond the limit, when that was lowered behind them: those that exist are asked for.
bool is_held_open(const struct stat& target) {
    const std::unique_ptr<DIR, directory_close> descriptors(opendir("/proc/self/fd"));
    if (descriptors == nullptr)
        return is_held_below_the_limit(target);
    while (const dirent* entry = readdir(descriptors.get())) {
        char* end = nullptr;
        const long descriptor = std::strtol(entry->d_name, &end, 10);
        const bool is_number = end != entry->d_name; // and neither "." nor ".."
        if (is_number && leads_to(static_cast<int>(descriptor), target))
            return true;
    }
    return false;
}

// Opening the target truncates it. When it is the recording under another name, or whatever a module holds
// open to serve it, that would destroy the source.
bool would_destroy(const char* source, const char* target) {
    struct stat target_stat;
    if (stat(target, &target_stat) != 0)
        return false;
    struct stat source_stat;
    return (stat(source, &source_stat) == 0 && is_same_file(source_stat, target_stat)) ||
           is_held_open(target_stat);
}

host_file open_target(const char* source, const char* target) {
    if (would_destroy(source, target))
        return nullptr;
    host_file file = open_host_file(target, "w");
    // Without a buffer of its own every failed write shows at the block that it belongs to, the last one
    // included.
    if (file)
        std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

void copy(vfs_file* recording, std::FILE* target) {
    std::array<char, block_size> block;
    uint64_t total = 0; // of 64 bits on the board too, where a long has 32
    do {
        const int32_t read = vfs_fread(block.data(), 1, block_size, recording);
        if (read < 0)
            break; // nothing more can be read, which is no failure of the target
        const size_t written = std::fwrite(block.data(), 1, static_cast<size_t>(read), target);
        if (written != static_cast<size_t>(read)) {
            std::printf("fwrite error. iLen=%d iRet=%d\n", read, static_cast<int>(written));
            break;
        }
        total += written;
    } while (vfs_feof(recording) == 0);
    std::printf("file size=%" PRIu64 "\n", total);
}

} // namespace
} // namespace kmr

void inner_OutputFile(const char* src, const char* dst) {
    vfs_file* recording = nullptr;
    vfs_stat_record stat_record{};
    if (rec_OpenFile(&recording, src, &stat_record) != REC_OK)
        return;
    const kmr::host_file target = kmr::open_target(src, dst);
    if (target)
        kmr::copy(recording, target.get());
    else
        std::printf("fopen %s error\n", dst);
    // Before the target is closed. The table's entry stays taken: the program ends behind this copy.
    vfs_fclose(recording);
}
