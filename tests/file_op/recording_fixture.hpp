// Tests of services on one recording, which lies below a folder "mnt" so that its full path is taken as it is.
#pragma once

#include "file_op/common/rec_status.h"
#include "tests/file_op/layer_fixture.hpp"
#include "tests/support/recording_bytes.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <utility>

using recording::bytes;

class RecordingTest : public LayerTest {
protected:
    // Old, so that many file systems move the access time at the first reading.
    const long modified_ = 1'000'000'000;
    const long accessed_ = 1'100'000'000;

    // Writes a file with the two dates above.
    std::string put(const std::string& name, const bytes& content) const {
        const std::string path = folder_.write(name, content);
        const timespec dates[] = {{accessed_, 0}, {modified_, 0}};
        EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), dates, 0), 0);
        return path;
    }
    std::string put_recording(const bytes& content) const { return put("mnt/rec", content); }

    std::pair<long, long> dates(const std::string& path) const {
        struct stat status = {};
        EXPECT_EQ(stat(path.c_str(), &status), 0);
        return {status.st_atim.tv_sec, status.st_mtim.tv_sec};
    }
    long modification_time(const std::string& path) const { return dates(path).second; }
    std::pair<long, long> original_dates() const { return {accessed_, modified_}; }

    std::string change_time() const {
        return "ChangeTime(rec, " + std::to_string(accessed_) + ", " + std::to_string(modified_) + ") = 0";
    }

    // The calls of module 1 without its prefix, and paths reduced to their names without quotes.
    static call_log short_calls() {
        call_log shortened;
        for (std::string call : module_probe::calls()) {
            if (call.starts_with("sznfs_"))
                call.erase(0, 6);
            if (const auto quote = call.find('"'); quote != std::string::npos) {
                const auto slash = call.rfind('/', call.rfind('"'));
                const auto from = slash == std::string::npos ? quote : slash;
                call.erase(call.rfind('"'), 1);
                call.erase(quote, from + 1 - quote);
            }
            shortened.push_back(call);
        }
        return shortened;
    }
};

inline std::string text(size_t number) {
    return std::to_string(number);
}

inline bytes part(const bytes& of, size_t from, size_t to) {
    return {of.begin() + static_cast<std::ptrdiff_t>(from), of.begin() + static_cast<std::ptrdiff_t>(to)};
}

// A small frame: 8 bytes of video, so 40 bytes in all.
inline recording::frame small_frame(uint32_t number, uint32_t stamp, uint32_t kind) {
    return {.number = number, .time_stamp = stamp, .kind = kind, .video = bytes(8, 0xAA)};
}

inline constexpr uint32_t i_frame = 0;
inline constexpr uint32_t p_frame = 1;
