#include "modules/numbered_directories.hpp"

#include "base/copy_text.hpp"
#include "modules/directory_names.hpp"
#include "modules/host_paths.hpp"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

namespace kmr::plain {
namespace {

// A path put together from a folder and a name in it; empty, so naming nothing, when the folder is or when the
// path would be too long.
class joined_path {
public:
    joined_path(const char* folder, const char* name) { format("%s/%s", folder, name); }
    joined_path(const char* base, int32_t number) { format("%s%d", base, number); }

    const char* text() const { return text_; }

private:
    template <typename Name>
    void format(const char* pattern, const char* folder, Name name) {
        const int length = std::snprintf(text_, sizeof text_, pattern, folder, name);
        if (*folder == '\0' || length < 0 || length >= int{sizeof text_})
            text_[0] = '\0';
    }

    char text_[PATH_MAX];
};

bool has_kind(const char* host_path, mode_t kind) {
    struct stat status;
    return stat(host_path, &status) == 0 && (status.st_mode & S_IFMT) == kind;
}

// The number that a name spells, -1 when the number is not spelled that way.
int32_t number_spelled(const char* name) {
    const long number = std::strtol(name, nullptr, 10);
    char spelled[24];
    std::snprintf(spelled, sizeof spelled, "%ld", number);
    return number >= 0 && number <= INT32_MAX && std::strcmp(spelled, name) == 0
               ? static_cast<int32_t>(number)
               : -1;
}

// The number of the block that is the folder `name` of a partition, -1 when that is no block.
int32_t block_number(const char* partition, const char* name) {
    const int32_t number = number_spelled(name);
    return number >= 0 && has_kind(joined_path(partition, name).text(), S_IFDIR) ? number : -1;
}

bool is_file(const char* folder, const char* name) {
    return has_kind(joined_path(folder, name).text(), S_IFREG);
}

int32_t count_files_of(const char* folder) {
    const directory_names names(folder);
    if (names.count() < 0)
        return -1;
    int32_t files = 0;
    for (int i = 0; i < names.count(); ++i)
        files += is_file(folder, names[i]);
    return files;
}

vfs_block_record describe_block(const char* partition, const char* name, int32_t number) {
    vfs_block_record block = {};
    const int32_t files = count_files_of(joined_path(partition, name).text());
    block.BlockNo = static_cast<uint32_t>(number);
    block.Reserved4 = files < 0 ? 0 : static_cast<uint32_t>(files);
    block.SortKey = static_cast<uint32_t>(number);
    return block;
}

bool describe_file(const char* folder, const char* name, vfs_directory_record& record) {
    vfs_stat_record status = {};
    if (stat_path(joined_path(folder, name).text(), &status) != 0)
        return false;
    static_assert(sizeof record == sizeof status, "a directory record begins as a stat record");
    static_assert(offsetof(vfs_stat_record, Reserved132) == 132, "the name stands at 132");
    std::memcpy(&record, &status, sizeof record);
    const auto name_field = std::span(record.Bytes).subspan<offsetof(vfs_stat_record, Reserved132)>();
    copy_text({reinterpret_cast<char*>(name_field.data()), name_field.size()}, name);
    return true;
}

} // namespace

int32_t count_blocks(const char* host_path) {
    const directory_names names(host_path);
    if (names.count() < 0)
        return -1;
    int32_t blocks = 0;
    for (int i = 0; i < names.count(); ++i)
        blocks += block_number(host_path, names[i]) >= 0;
    return blocks;
}

int32_t fill_blocks(const char* host_path, vfs_block_record* blocks, int32_t length) {
    const directory_names names(host_path);
    if (names.count() < 0)
        return -1;
    int32_t filled = 0;
    for (int i = 0; i < names.count() && filled < length; ++i) {
        const int32_t number = block_number(host_path, names[i]);
        if (number >= 0)
            blocks[filled++] = describe_block(host_path, names[i], number);
    }
    return filled;
}

int32_t count_files(const char* host_base, int32_t directory) {
    return count_files_of(joined_path(host_base, directory).text());
}

int32_t fill_files(const char* host_base, int32_t directory, vfs_directory_record* records, int32_t length) {
    const joined_path folder(host_base, directory);
    const directory_names names(folder.text());
    if (names.count() < 0)
        return -1;
    int32_t filled = 0;
    for (int i = 0; i < names.count() && filled < length; ++i)
        if (is_file(folder.text(), names[i]))
            filled += describe_file(folder.text(), names[i], records[filled]);
    return filled;
}

} // namespace kmr::plain
