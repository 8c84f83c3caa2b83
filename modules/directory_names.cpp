#include "modules/directory_names.hpp"

#include <cstdlib>
#include <cstring>

namespace kmr::plain {
namespace {

int is_listed(const dirent* entry) {
    return names_an_entry(entry->d_name);
}

int by_name(const dirent** a, const dirent** b) {
    return std::strcmp((*a)->d_name, (*b)->d_name);
}

} // namespace

bool names_an_entry(const char* name) {
    return std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0;
}

directory_names::directory_names(const char* host_path)
    : count_(scandir(host_path, &entries_, is_listed, by_name)) {}

directory_names::~directory_names() {
    for (int i = 0; i < count_; ++i)
        std::free(entries_[i]);
    std::free(entries_);
}

} // namespace kmr::plain
