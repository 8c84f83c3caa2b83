// Tests over the loaded layer: each runs in an empty working directory of its own, with the probe modules' log
// cleared, and must leave no file open behind it.
#pragma once

#include "libvfs/vfs.h"
#include "tests/fakes/module_probe.hpp"
#include "tests/support/scratch.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using call_log = std::vector<std::string>;

class LayerTest : public testing::Test {
protected:
    // The layer is started once per program, where ./lib has the probe modules.
    static void SetUpTestSuite() {
        [[maybe_unused]] static const int once = vfs_Init();
        ASSERT_EQ(g_stvfsmnt.Entries[0].iState, 1u);
        ASSERT_EQ(g_stvfsmnt.Entries[1].iState, 1u);
    }

    void SetUp() override { module_probe::reset(); }

    void TearDown() override {
        module_probe::reset();
        EXPECT_EQ(layer_descriptors(), 0);
        EXPECT_EQ(scratch::open_descriptors(), host_descriptors_);
    }

    static int layer_descriptors() {
        int count = 0;
        for (int fd = 1; fd <= VFS_MAX_FILES; ++fd)
            count += iIsValidFd(fd) == 0;
        return count;
    }

    // Puts a file where module 0 finds it and returns its path there.
    std::string write_on_disk(const std::string& disk, const std::string& name,
                              const recording::bytes& content = {}) const {
        folder_.write("disks/host" + disk + "/part1/" + name, content);
        return "/dev/scsi/host" + disk + "/part1/" + name;
    }

    scratch::folder folder_;
    scratch::working_directory inside_{folder_.path()};
    int host_descriptors_ = scratch::open_descriptors();
};
