// A test of the layer starts with both probe modules loaded, nothing open, and an empty log. Module 1 serves its
// folder on the host, and module 0 the folder "dev" in it.
#pragma once

#include "libvfs/vfs.h"
#include "tests/fakes/module_probe.hpp"
#include "tests/support/scratch.hpp"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>

class LayerTest : public ::testing::Test {
protected:
    LayerTest() {
        std::filesystem::create_directory(folder.path() / "dev");
        vfs_Init();
        module_probe::reset();
    }
    ~LayerTest() override {
        module_probe::reset();
        for (int32_t fd = 1; fd <= VFS_MAX_FILES; ++fd)
            vfs_Close(fd);
        module_probe::reset();
    }

    // A file that module 1 serves, and one that module 0 serves.
    std::string plain(const std::string& name) const { return folder.file(name); }
    std::string disk(const std::string& name) const { return folder.file("dev/" + name); }

    std::string write_plain(const std::string& name, const std::string& content) const {
        return folder.write_text(name, content);
    }
    std::string write_disk(const std::string& name, const std::string& content) const {
        return folder.write_text("dev/" + name, content);
    }

    // The call as the probe logs it.
    static std::string call(const std::string& function, const std::string& path, const std::string& rest) {
        return function + "(\"" + path + "\"" + rest;
    }
    static std::string open_call(const std::string& function, int selector, const std::string& path,
                                 const std::string& rest) {
        return function + "(" + std::to_string(selector) + ", \"" + path + "\", " + rest;
    }

    scratch::folder folder;
};
