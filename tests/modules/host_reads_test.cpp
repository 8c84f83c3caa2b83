// How often the modules ask the host: their window is there to make that rare, and nothing else shows that it works.
#include "tests/modules/plain_module.hpp"

#include <dlfcn.h>
#include <unistd.h>

namespace {

struct host_reads {
    int calls = 0;
    int64_t bytes = 0;
};

host_reads asked;

} // namespace

// Comes before the C library's own, for the modules too. (Large files: what is called pread here has another name in
// some libraries, which the declaration in unistd.h takes care of.)
extern "C" ssize_t pread(int descriptor, void* buffer, size_t count, off_t position) {
    using function = ssize_t (*)(int, void*, size_t, off_t);
    static const auto wide = reinterpret_cast<function>(dlsym(RTLD_NEXT, "pread64"));
    static const auto plain = reinterpret_cast<function>(dlsym(RTLD_NEXT, "pread"));
    const ssize_t got = (wide != nullptr ? wide : plain)(descriptor, buffer, count, position);
    ++asked.calls;
    asked.bytes += got;
    return got;
}

namespace {

constexpr int64_t file_header_size = 88;
constexpr uint32_t frame_header_size = 32;
constexpr uint32_t payload_looked_at = 1024;

class ReadsOfTheHostTest : public BothModulesTest {
protected:
    // A file of that size that takes no room on the disk.
    int32_t open_sparse(int64_t size) const {
        const auto path = write_file("x", "");
        std::filesystem::resize_file(path, static_cast<uintmax_t>(size));
        return module.open(path);
    }

    // What a walk over that many frames asks the host for: each header, and the start of each payload.
    host_reads of_a_walk(uint32_t frame_size, int frames) const {
        const int32_t number = open_sparse(file_header_size + int64_t{frame_size} * frames);
        const uint32_t payload = std::min(frame_size - frame_header_size, payload_looked_at);
        std::string buffer(payload_looked_at, '\0');
        asked = {};
        for (int64_t i = 0; i < frames; ++i) {
            module.seek(number, file_header_size + i * frame_size, SEEK_SET);
            EXPECT_EQ(module.read(number, buffer.data(), frame_header_size),
                      static_cast<int32_t>(frame_header_size));
            EXPECT_EQ(module.read(number, buffer.data(), payload), static_cast<int32_t>(payload));
        }
        const host_reads all = asked;
        module.close(number);
        return all;
    }
};

// Frames next to each other: a window of 64 KiB holds 655, 59 or 32 whole frames. The first window is a small one.
TEST_P(ReadsOfTheHostTest, AreFewForSmallFrames) {
    EXPECT_LE(of_a_walk(100, 65500).calls, 102);
    EXPECT_LE(of_a_walk(1100, 5900).calls, 102);
    EXPECT_LE(of_a_walk(2000, 3200).calls, 102);
}

// Frames far from each other: the header's read brings what is wanted of the payload along, and little else.
TEST_P(ReadsOfTheHostTest, AreOneForALargeFrame) {
    for (const uint32_t frame_size : {20480U, 102400U, 1048576U}) {
        const host_reads reads = of_a_walk(frame_size, 100);
        EXPECT_EQ(reads.calls, 100) << frame_size;
        EXPECT_LE(reads.bytes, 100 * 2048) << frame_size;
    }
}

// 16 blocks of an export in a window of 64 KiB, after a first one that a window behind a jump cannot hold.
TEST_P(ReadsOfTheHostTest, AreFewForBlocksThatFollowEachOther) {
    constexpr int blocks = 1601;
    const int32_t number = open_sparse(int64_t{blocks} * 4096);
    std::string block(4096, '\0');
    asked = {};
    for (int i = 0; i < blocks; ++i)
        EXPECT_EQ(module.read(number, block.data(), 4096), 4096);
    EXPECT_LE(asked.calls, 103);
}

// Records of an index: 819 fit into a window of 64 KiB.
TEST_P(ReadsOfTheHostTest, AreFewForRecords) {
    constexpr int records = 8190;
    const int32_t number = open_sparse(int64_t{records} * 80);
    std::string record(80, '\0');
    asked = {};
    for (int i = 0; i < records; ++i)
        EXPECT_EQ(module.read(number, record.data(), 80), 80);
    EXPECT_LE(asked.calls, 12);
}

// A block that no window could hold goes straight to where it is wanted.
TEST_P(ReadsOfTheHostTest, AreOneForALargeBlock) {
    const int32_t number = open_sparse(4 << 20);
    std::string block(1 << 20, '\0');
    asked = {};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(module.read(number, block.data(), 1 << 20), 1 << 20);
    EXPECT_EQ(asked.calls, 4);
    EXPECT_EQ(asked.bytes, 4 << 20);
}

INSTANTIATE_TEST_SUITE_P(Modules, ReadsOfTheHostTest, ::testing::Values(0, 1));

} // namespace
