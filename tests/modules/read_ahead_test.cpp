// Reads are served from a window that was read ahead. Nobody may be able to tell.
#include "tests/modules/plain_module.hpp"

#include <fcntl.h>
#include <random>
#include <sys/stat.h>

namespace {

std::string numbered_bytes(size_t size) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 7 + i / 256);
    return bytes;
}

class ReadAheadTest : public PlainModuleTest {
protected:
    std::string read_at(int32_t number, int64_t position, uint32_t count) const {
        EXPECT_EQ(module.seek(number, position, SEEK_SET), position);
        std::string bytes(count, '?');
        const int32_t got = module.read(number, bytes.data(), count);
        return got < 0 ? "failed" : bytes.substr(0, static_cast<size_t>(got));
    }

    const plain_module module = plain_module::module_1();
};

TEST_F(ReadAheadTest, ReadsOfAnySizeAnywhereGiveTheFilesBytes) {
    constexpr size_t size = 300000;
    const std::string content = numbered_bytes(size);
    const int32_t number = module.open(write_file("x", content));
    std::mt19937 random(7);
    int64_t position = 0;
    for (int i = 0; i < 20000; ++i) {
        const auto count = static_cast<uint32_t>(random() % (i % 10 == 0 ? 100000 : 3000));
        if (i % 3 != 0) // the others go on where the last one ended
            position = static_cast<int64_t>(random() % (size + 2000));
        const auto from = std::min(static_cast<size_t>(position), size);
        const std::string expected = content.substr(from, count);
        ASSERT_EQ(read_at(number, position, count), expected) << position << ' ' << count;
        position += static_cast<int64_t>(expected.size());
    }
}

TEST_F(ReadAheadTest, AReadOfNothingIsTheHosts) {
    const auto path = write_file("x", numbered_bytes(100));
    const int32_t number = module.open(path);
    EXPECT_EQ(read_at(number, 0, 0), "") << "before there is a window";
    read_at(number, 0, 32);
    EXPECT_EQ(read_at(number, 10, 0), "");
    EXPECT_EQ(read_at(module.open(path, O_WRONLY), 0, 0), "failed");
}

TEST_F(ReadAheadTest, AWriteThroughTheSameFileShows) {
    const int32_t number = module.open(write_file("x", numbered_bytes(10000)), O_RDWR);
    read_at(number, 0, 32);
    module.seek(number, 100, SEEK_SET);
    ASSERT_EQ(module.write(number, "changed", 7), 7);
    EXPECT_EQ(read_at(number, 100, 7), "changed");
}

TEST_F(ReadAheadTest, AWriteThroughAnotherOpenFileShows) {
    const auto path = write_file("x", numbered_bytes(10000));
    const int32_t reader = module.open(path);
    const int32_t writer = module.open(path, O_WRONLY);
    read_at(reader, 0, 32);
    module.seek(writer, 100, SEEK_SET);
    ASSERT_EQ(module.write(writer, "changed", 7), 7);
    EXPECT_EQ(read_at(reader, 100, 7), "changed");
}

TEST_F(ReadAheadTest, ATruncationShows) {
    const auto path = write_file("x", numbered_bytes(10000));
    const int32_t reader = module.open(path);
    const int32_t writer = module.open(path, O_RDWR);
    read_at(reader, 0, 32);
    ASSERT_EQ(module.call<int32_t>("ftruncate", writer, int64_t{50}), 0);
    EXPECT_EQ(read_at(reader, 40, 32).size(), 10U);
    EXPECT_EQ(module.of_file("Eof", reader), 1);
}

TEST_F(ReadAheadTest, AFileThatGrowsIsReadToItsNewEnd) {
    const auto path = write_file("x", "0123456789");
    const int32_t number = module.open(path);
    EXPECT_EQ(read_at(number, 0, 32), "0123456789");
    EXPECT_EQ(module.of_file("Eof", number), 1);
    write_file("x", "0123456789abcdef");
    EXPECT_EQ(module.of_file("Eof", number), 0);
    EXPECT_EQ(read_at(number, 8, 32), "89abcdef");
    EXPECT_EQ(read_at(number, 0, 32), "0123456789abcdef");
}

TEST_F(ReadAheadTest, TheEndIsToldAtItsByteAlone) {
    const int32_t number = module.open(write_file("x", numbered_bytes(8192)));
    std::string block(4096, '\0');
    EXPECT_EQ(module.read(number, block.data(), 4096), 4096);
    EXPECT_EQ(module.of_file("Eof", number), 0);
    EXPECT_EQ(module.read(number, block.data(), 4095), 4095);
    EXPECT_EQ(module.of_file("Eof", number), 0);
    EXPECT_EQ(module.read(number, block.data(), 4096), 1);
    EXPECT_EQ(module.of_file("Eof", number), 1);
    EXPECT_EQ(module.read(number, block.data(), 4096), 0);
}

TEST_F(ReadAheadTest, ANumberThatIsGivenAgainKeepsNothingOfTheFileBefore) {
    const int32_t number = module.open(write_file("x", numbered_bytes(5000)));
    read_at(number, 0, 32);
    module.close(number);
    ASSERT_EQ(module.open(write_file("y", "other")), number);
    EXPECT_EQ(read_at(number, 0, 32), "other");
}

TEST_F(ReadAheadTest, ReadingLeavesTheAccessTimeAlone) {
    const auto path = write_file("x", numbered_bytes(5000));
    const timespec long_ago[] = {{.tv_sec = 1000, .tv_nsec = 0}, {.tv_sec = 2000, .tv_nsec = 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), long_ago, 0), 0);
    const int32_t number = module.open(path);
    read_at(number, 0, 32);
    read_at(number, 0, 5000);
    module.close(number);
    vfs_stat_record record = {};
    ASSERT_EQ(module.stat(path, record), 0);
    EXPECT_EQ(record.AccessTime, 1000U);
    EXPECT_EQ(record.ModifyTime, 2000U);
}

} // namespace
