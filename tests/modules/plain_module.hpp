// The plain-file modules as the layer meets them: libraries that are opened at run time.
#pragma once

#include "libvfs/vfs_module.h"
#include "tests/support/scratch.hpp"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <stdexcept>
#include <string>

class plain_module {
public:
    plain_module(const char* library, const char* prefix)
        : prefix_(prefix), handle_(dlopen((std::string(MODULE_FOLDER "/") + library).c_str(), RTLD_NOW)) {
        if (handle_ == nullptr)
            throw std::runtime_error(dlerror());
    }

    static plain_module module_0() { return {"libznfs.so", "znfs_"}; }
    static plain_module module_1() { return {"libsznfs.so", "sznfs_"}; }

    // The function of that name, called with the arguments.
    template <typename Result, typename... Parameters>
    Result call(const char* operation, Parameters... parameters) const {
        const auto function =
            reinterpret_cast<Result (*)(Parameters...)>(dlsym(handle_, (prefix_ + operation).c_str()));
        if (function == nullptr)
            throw std::runtime_error("no " + prefix_ + operation);
        return function(parameters...);
    }

    int32_t open(const std::string& path, int32_t flags = 0) const {
        return call<int32_t>("Open", int32_t{0}, path.c_str(), flags);
    }
    int32_t read(int32_t file, void* buffer, uint32_t count) const {
        return call<int32_t>("Read", file, buffer, count);
    }
    int32_t write(int32_t file, const void* buffer, uint32_t count) const {
        return call<int32_t>("Write", file, buffer, count);
    }
    int64_t seek(int32_t file, int64_t offset, int32_t origin) const {
        return call<int64_t>("Seek", file, offset, origin);
    }
    // Operations with nothing but a file number, and with nothing but a path.
    int32_t of_file(const char* operation, int32_t file) const { return call<int32_t>(operation, file); }
    int32_t of_path(const char* operation, const std::string& path) const {
        return call<int32_t>(operation, path.c_str());
    }
    int32_t close(int32_t file) const { return of_file("Close", file); }
    int32_t stat(const std::string& path, vfs_stat_record& record) const {
        return call<int32_t>("Stat", path.c_str(), &record);
    }

private:
    std::string prefix_;
    void* handle_;
};

// Numbers are handed out lowest first, so a test must leave nothing open behind it.
class PlainModuleTest : public ::testing::Test {
protected:
    void TearDown() override {
        for (int32_t file = 3; file < 16; ++file) {
            plain_module::module_0().close(file);
            plain_module::module_1().close(file);
        }
    }

    // Below a folder "dev", so that both modules take the path for the host's.
    std::string file(const std::string& name) const { return folder.file("dev/" + name); }
    std::string write_file(const std::string& name, const std::string& content) const {
        return folder.write_text("dev/" + name, content);
    }

    scratch::folder folder;
};

// What both modules do alike.
class BothModulesTest : public PlainModuleTest, public ::testing::WithParamInterface<int> {
protected:
    const plain_module module = GetParam() == 0 ? plain_module::module_0() : plain_module::module_1();
};
