// Several threads in the layer at once.
#include "tests/libvfs/layer_test.hpp"

#include <atomic>
#include <cstdio>
#include <set>
#include <thread>

namespace {

constexpr int thread_count = 4;
constexpr int round_count = 100;

class ThreadsTest : public LayerTest {
protected:
    template <typename Work>
    static void run(Work work) {
        std::vector<std::thread> running;
        for (int thread = 0; thread < thread_count; ++thread)
            running.emplace_back(work, thread);
        for (std::thread& each : running)
            each.join();
    }
};

TEST_F(ThreadsTest, UseFilesOfTheirOwnUndisturbed) {
    std::atomic<int> mistakes = 0;
    run([&](int thread) {
        const std::string content(10 + static_cast<size_t>(thread), static_cast<char>('a' + thread));
        const auto path = thread % 2 == 0 ? write_plain(std::string("f") + std::to_string(thread), content)
                                          : write_disk(std::string("f") + std::to_string(thread), content);
        for (int round = 0; round < round_count; ++round) {
            vfs_file* const stream = vfs_fopen(0, path.c_str(), "rb");
            char buffer[32] = {};
            mistakes += stream == nullptr || vfs_fseek(stream, 2, SEEK_SET) != 0 ||
                        vfs_fread(buffer, 1, 32, stream) != 8 + thread || buffer[0] != content[0] ||
                        vfs_ftell(stream) != 10 + thread || vfs_feof(stream) == 0 || vfs_fclose(stream) != 0;
        }
    });
    EXPECT_EQ(mistakes, 0);
    for (int32_t fd = 1; fd <= VFS_MAX_FILES; ++fd)
        EXPECT_EQ(iIsValidFd(fd), -1);
}

TEST_F(ThreadsTest, NeverGetTheSameDescriptor) {
    const auto path = write_plain("x", "abc");
    std::vector<std::vector<int32_t>> given(thread_count);
    run([&](int thread) {
        for (int i = 0; i < 20; ++i)
            given[static_cast<size_t>(thread)].push_back(vfs_Open(0, path.c_str(), 0));
    });
    std::set<int32_t> all;
    for (const auto& each : given)
        all.insert(each.begin(), each.end());
    EXPECT_EQ(all.size(), 80u);
    EXPECT_EQ(*all.begin(), 1);
    EXPECT_EQ(*all.rbegin(), 80);
}

TEST_F(ThreadsTest, NeverGetTheSameDirectoryHandle) {
    for (int thread = 0; thread < thread_count; ++thread)
        for (int file = 0; file <= thread; ++file)
            write_disk("sda1/" + std::to_string(thread) + "/" + std::to_string(file), "");
    std::atomic<int> mistakes = 0;
    run([&](int thread) {
        for (int round = 0; round < round_count; ++round) {
            void* const handle = vfs_OpenDir(disk("sda1/" + std::to_string(thread)).c_str());
            int files = 0;
            while (handle != nullptr && vfs_ReadDir(handle) != nullptr)
                ++files;
            mistakes += files != thread + 1 || vfs_CloseDir(handle) != 0;
        }
    });
    EXPECT_EQ(mistakes, 0);
}

} // namespace
