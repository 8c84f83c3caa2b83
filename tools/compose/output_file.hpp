// The file being composed. It carries a name of its own until it is complete, so that a failure leaves neither half a
// file nor harm to the one that was there before.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace compose {

// Every operation throws std::runtime_error with the file's name and the reason when the host refuses it.
class output_file {
public:
    explicit output_file(const std::string& path);
    ~output_file(); // removes what was not committed
    output_file(const output_file&) = delete;
    output_file& operator=(const output_file&) = delete;

    void append(const void* data, size_t size);
    void append_fill(uint8_t value, uint64_t count);
    void append_hole(uint64_t count); // reads as zeros and takes no space where the host can do that

    uint64_t size() const { return flushed_ + buffer_.size(); }

    // Within the file as it stands.
    void overwrite(uint64_t offset, const void* data, size_t size);
    void truncate(uint64_t size);

    // Gives the complete file its name.
    void commit();

private:
    void flush();
    [[noreturn]] void fail() const;

    std::string path_;
    std::string temporary_;
    int descriptor_ = -1;
    uint64_t flushed_ = 0; // where the buffer belongs in the file
    std::vector<uint8_t> buffer_;
};

} // namespace compose
