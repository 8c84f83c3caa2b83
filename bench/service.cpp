// One service of the library on one file, as a process of its own, so that it can be measured as a whole.
//
//   kmr_service rebuild FILE     a new index; FILE is changed
//   kmr_service search FILE      the next I-frame behind the file header
//   kmr_service memmem FILE      what a search costs at least: the same blocks read, and memmem over each
//   kmr_service query FILE       what a query costs at least: every record of an index file read and compared
#include "file_op/frame_search.h"
#include "file_op/rebuild.h"
#include "libvfs/vfs.h"
#include "vfslist16a/record_query.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

int rebuild(const char* path) {
    znfs_Init(vfs_Init());
    constexpr int32_t start = 1420167845;
    uint32_t walked = 0;
    const int32_t status = rec_MakeUpIframeIndex(path, 0, &walked, start);
    std::printf("%d, %u frames\n", status, walked);
    return 0;
}

int search(const char* path) {
    znfs_Init(vfs_Init());
    struct stat status;
    vfs_file* file = vfs_fopen(0, path, "rb");
    if (file == nullptr || stat(path, &status) != 0)
        return 1;
    uint32_t found = 0;
    const int32_t result =
        rec_FindNextValidIFramefromLoc(file, static_cast<int32_t>(status.st_size), 88, &found);
    vfs_fclose(file);
    std::printf("%d\n", result);
    return 0;
}

int bare_search(const char* path) {
    constexpr char sync_word[] = {0, 0, 0, 2};
    std::vector<char> block(1 << 20);
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    lseek(file, 88, SEEK_SET);
    int hits = 0;
    for (;;) {
        const ssize_t got = read(file, block.data(), block.size());
        if (got <= 0)
            break;
        hits += memmem(block.data(), static_cast<size_t>(got), sync_word, sizeof sync_word) != nullptr;
    }
    std::printf("%d\n", hits);
    return 0;
}

int bare_query(const char* path) {
    std::FILE* file = std::fopen(path, "rb");
    if (file == nullptr)
        return 1;
    std::fseek(file, 72, SEEK_SET);
    rec_query_record record;
    int videos = 0;
    while (std::fread(&record, sizeof record, 1, file) == 1)
        videos +=
            strstr(record.file_name, ".jpg") == nullptr && record.start_time >= 0 && record.start_time < 1000;
    std::fclose(file);
    std::printf("%d\n", videos);
    return 0;
}

struct service {
    std::string_view name;
    int (*run)(const char* path);
};

constexpr service services[] = {
    {"rebuild", rebuild}, {"search", search}, {"memmem", bare_search}, {"query", bare_query}};

} // namespace

int main(int argc, char** argv) {
    if (argc == 3)
        for (const service& each : services)
            if (each.name == argv[1])
                return each.run(argv[2]);
    return 2;
}
