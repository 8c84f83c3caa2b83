#include "main/module_0.hpp"

#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <sys/auxv.h>
#include <unistd.h>

namespace kmr {
namespace {

constexpr char search_variable[] = "LD_LIBRARY_PATH";
constexpr char library_name[] = "libznfs.so";

using path_text = std::array<char, PATH_MAX>;

template <size_t Size>
bool join(std::array<char, Size>& to, const char* front, const char* between, const char* back) {
    const int length = std::snprintf(to.data(), to.size(), "%s%s%s", front, between, back);
    return length > 0 && static_cast<size_t>(length) < to.size();
}

// `library` is then its name.
bool has_library(const char* folder, path_text& library) {
    return join(library, folder, "/", library_name) && access(library.data(), R_OK) == 0;
}

// Not by naming the loader, whose own file would then pass for the program's: the system has no loader to report there.
bool was_started_itself() {
    return getauxval(AT_BASE) != 0;
}

// The program's own file.
bool find_program(path_text& program) {
    const ssize_t length = readlink("/proc/self/exe", program.data(), program.size() - 1);
    if (length <= 0)
        return false;
    program[static_cast<size_t>(length)] = '\0';
    return true;
}

// Below the program's own folder, in this order: in lib, beside the program, where an installation has the modules.
constexpr const char* own_folders[] = {"/lib", "", KMR_MODULES_FROM_PROGRAM};

// The folder that module 0 belongs to: ./lib of the working directory, or the first of our own that has one.
bool find_folder(const path_text& program, path_text& folder, path_text& library) {
    if (has_library("./lib", library))
        return join(folder, "./lib", "", "");
    path_text beside = program;
    if (char* slash = std::strrchr(beside.data(), '/')) // uncovered: the system tells whole paths
        *slash = '\0';
    for (const char* own : own_folders)
        if (join(folder, beside.data(), own, "") && has_library(folder.data(), library))
            return true;
    return false;
}

// The loader compares files, not names: a library that is in use already is found under every path.
bool is_in_use(const path_text& library) {
    void* const handle = dlopen(library.data(), RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr)
        return false;
    dlclose(handle);
    return true;
}

// What has been tried already is not tried again: then the library cannot be loaded from there.
bool leads_there_first(const char* folders, const path_text& folder) {
    const size_t length = std::strlen(folder.data());
    return std::strncmp(folders, folder.data(), length) == 0 &&
           (folders[length] == ':' || folders[length] == '\0');
}

void start_anew(const path_text& program, char** argv, const path_text& folder, const char* folders) {
    std::array<char, size_t{2} * PATH_MAX> all;
    if (join(all, folder.data(), ":", folders) && setenv(search_variable, all.data(), 1) == 0)
        execv(program.data(), argv);
}

} // namespace

void use_own_module_0(char** argv) {
    const char* const folders = std::getenv(search_variable);
    path_text program;
    path_text folder;
    path_text library;
    if (folders == nullptr || *folders == '\0' || !was_started_itself() || !find_program(program) ||
        !find_folder(program, folder, library) || is_in_use(library) || leads_there_first(folders, folder))
        return;
    start_anew(program, argv, folder, folders);
    std::fprintf(stderr, "%s: %s leads to another %s than %s\n", argv[0], search_variable, library_name,
                 folder.data());
}

} // namespace kmr
