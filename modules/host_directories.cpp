#include "modules/host_directories.hpp"

#include "base/copy_text.hpp"
#include "base/mutex_lock.hpp"
#include "modules/directory_names.hpp"

#include <cstdlib>
#include <dirent.h>
#include <new>

namespace kmr::plain {
namespace {

struct open_directory_entry {
    int32_t marker = -1; // tells the layer that the handle is module 1's
    DIR* directory = nullptr;
    vfs_scan_entry current = {};
    open_directory_entry* next = nullptr;
};

// Guards the list and everything in it.
pthread_mutex_t directories_lock = PTHREAD_MUTEX_INITIALIZER;
open_directory_entry* first_directory = nullptr;

// Where the list points at the handle, or at null for one that is not open.
open_directory_entry** find_link(const void* handle) {
    open_directory_entry** link = &first_directory;
    while (*link != nullptr && *link != handle)
        link = &(*link)->next;
    return link;
}

vfs_scan_entry* new_scan_entry(const char* name) {
    auto* const entry = static_cast<vfs_scan_entry*>(std::calloc(1, sizeof(vfs_scan_entry)));
    if (entry != nullptr)
        copy_text(entry->Name, name);
    return entry;
}

vfs_scan_entry** new_scan_list(const directory_names& names) {
    const size_t length = static_cast<size_t>(names.count()) + 1; // never none, which might be no memory
    auto** const list = static_cast<vfs_scan_entry**>(std::calloc(length, sizeof(vfs_scan_entry*)));
    if (list == nullptr)
        return nullptr;
    for (int i = 0; i < names.count(); ++i) {
        list[i] = new_scan_entry(names[i]);
        if (list[i] != nullptr)
            continue;
        while (i-- > 0)
            std::free(list[i]);
        std::free(list);
        return nullptr;
    }
    return list;
}

} // namespace

int32_t scan_directory(const char* host_path, vfs_scan_entry*** list) {
    const directory_names names(host_path);
    if (names.count() < 0)
        return -1;
    vfs_scan_entry** const entries = new_scan_list(names);
    if (entries == nullptr)
        return -1;
    *list = entries;
    return names.count();
}

void* open_directory(const char* host_path) {
    DIR* const directory = opendir(host_path);
    if (directory == nullptr)
        return nullptr;
    void* const memory = std::malloc(sizeof(open_directory_entry));
    if (memory == nullptr) {
        closedir(directory);
        return nullptr;
    }
    auto* const entry = new (memory) open_directory_entry{.directory = directory};
    const mutex_lock guard(directories_lock);
    entry->next = first_directory;
    first_directory = entry;
    return entry;
}

vfs_scan_entry* read_directory(void* handle) {
    const mutex_lock guard(directories_lock);
    open_directory_entry* const entry = *find_link(handle);
    if (entry == nullptr)
        return nullptr;
    while (const dirent* const found = readdir(entry->directory)) {
        if (!names_an_entry(found->d_name))
            continue;
        copy_text(entry->current.Name, found->d_name);
        return &entry->current;
    }
    return nullptr;
}

int32_t close_directory(void* handle) {
    const mutex_lock guard(directories_lock);
    open_directory_entry** const link = find_link(handle);
    open_directory_entry* const entry = *link;
    if (entry == nullptr)
        return -1;
    *link = entry->next;
    closedir(entry->directory);
    std::free(entry);
    return 0;
}

} // namespace kmr::plain
