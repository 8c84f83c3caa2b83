#include "kmr/output/standard_output.hpp"

#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace kmr::output {
namespace {

// Whoever shares the output may have set it so that a write does not wait by itself.
void wait_for_room() {
    pollfd output = {.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
    poll(&output, 1, -1); // whatever ends it, the next write tells
}

} // namespace

void standard_output::flush() {
    std::string_view left = buffer_;
    if (!left.empty())
        beside_.show_progress({});
    while (!left.empty()) {
        const ssize_t count = ::write(STDOUT_FILENO, left.data(), left.size());
        if (count < 0 && errno == EAGAIN)
            wait_for_room();
        else if (count < 0 && errno != EINTR)
            throw not_written{errno};
        if (count > 0)
            left.remove_prefix(static_cast<size_t>(count));
    }
    buffer_.clear();
}

void standard_output::finish() {
    flush();
    // A program that wrote nothing has no quarrel with an output that was closed.
    if (close(STDOUT_FILENO) != 0 && errno != EBADF)
        throw not_written{errno};
}

} // namespace kmr::output
