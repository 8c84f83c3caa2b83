#include "kmr/output/messages.hpp"

#include "kmr/output/text.hpp"

#include <cerrno>
#include <unistd.h>

namespace kmr::output {
namespace {

constexpr std::string_view erase_line = "\r\x1b[K";

// Nothing is left to be told where a message cannot be written.
void write_all(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(STDERR_FILENO, text.data(), text.size());
        if (count < 0 && errno != EINTR)
            return;
        if (count > 0)
            text.remove_prefix(static_cast<size_t>(count));
    }
}

} // namespace

void messages::say(std::string_view text) {
    std::string line;
    if (progress_shown_)
        line += erase_line;
    progress_shown_ = false;
    line += "kmr: ";
    append_text(line, text);
    line += '\n';
    write_all(line);
}

void messages::say(std::string_view path, std::string_view text) {
    say(std::string(path.empty() ? "\"\"" : path).append(": ").append(text));
}

void messages::show_progress(std::string_view line) {
    if (line.empty() && !progress_shown_)
        return;
    write_all(std::string(erase_line).append(line));
    progress_shown_ = !line.empty();
}

bool messages::on_terminal() const {
    return isatty(STDERR_FILENO) == 1;
}

} // namespace kmr::output
