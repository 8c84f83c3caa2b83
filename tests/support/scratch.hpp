// A temporary folder that a test works in and that is gone afterwards, and whole files read and written.
#pragma once

#include "tests/support/recording_bytes.hpp"

#include <filesystem>
#include <string>

namespace scratch {

class folder {
public:
    folder();
    ~folder();
    folder(const folder&) = delete;
    folder& operator=(const folder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::string file(const std::string& name) const { return (path_ / name).string(); }
    // Writes a file below the folder (parents are made) and returns its full path.
    std::string write(const std::string& name, const recording::bytes& content) const;
    std::string write_text(const std::string& name, const std::string& content) const;

private:
    std::filesystem::path path_;
};

// Makes `directory` the working directory for the length of a scope.
class working_directory {
public:
    explicit working_directory(const std::filesystem::path& directory);
    ~working_directory();
    working_directory(const working_directory&) = delete;
    working_directory& operator=(const working_directory&) = delete;

private:
    std::filesystem::path before_;
};

recording::bytes read_file(const std::filesystem::path& path);
std::string read_text(const std::filesystem::path& path);
// Number of descriptors this process holds open.
int open_descriptors();

} // namespace scratch
