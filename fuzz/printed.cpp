#include "fuzz/printed.hpp"

#include "fuzz/target.hpp"

namespace fuzz {
namespace {

ssize_t append(void* text, const char* bytes, size_t size) {
    static_cast<std::string*>(text)->append(bytes, size);
    return static_cast<ssize_t>(size);
}

} // namespace

printed::printed(std::FILE*& stream) : stream_(stream), before_(stream) {
    stream_ = fopencookie(&text_, "w", {.read = nullptr, .write = append, .seek = nullptr, .close = nullptr});
    expect(stream_ != nullptr, "a stream of memory can be opened");
}

printed::~printed() {
    std::fclose(stream_);
    stream_ = before_;
}

std::string_view printed::text() {
    expect(std::fflush(stream_) == 0 && std::ferror(stream_) == 0, "what is printed arrives");
    return text_;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos)
            return parts;
        text.remove_prefix(end + 1);
    }
}

} // namespace fuzz
