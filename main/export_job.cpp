#include "main/front_end.h"

#include "base/host_file.hpp"
#include "file_op/common/rec_status.h"
#include "file_op/open_table.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace kmr {
namespace {

constexpr size_t block_size = 4096;

bool is_same_file(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool is_held_open(const struct stat& target) {
    constexpr long most_descriptors = 65536;
    const auto descriptors = static_cast<int>(std::clamp(sysconf(_SC_OPEN_MAX), 1024L, most_descriptors));
    for (int descriptor = 0; descriptor < descriptors; ++descriptor) {
        struct stat held;
        if (fstat(descriptor, &held) == 0 && S_ISREG(held.st_mode) && is_same_file(held, target))
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
    if (const kmr::host_file target = kmr::open_target(src, dst))
        kmr::copy(recording, target.get());
    else
        std::printf("fopen %s error\n", dst);
    // The table's entry stays taken: the program ends behind this copy.
    vfs_fclose(recording);
}
