// The names in a folder of the host, without "." and "..", in ascending order of their bytes.
#pragma once

#include <dirent.h>

namespace kmr::plain {

bool names_an_entry(const char* name); // neither "." nor ".."

class directory_names {
public:
    explicit directory_names(const char* host_path);
    ~directory_names();
    directory_names(const directory_names&) = delete;
    directory_names& operator=(const directory_names&) = delete;

    int count() const { return count_; } // -1 when the folder cannot be read
    const char* operator[](int index) const { return entries_[index]->d_name; }

private:
    dirent** entries_ = nullptr;
    int count_;
};

} // namespace kmr::plain
