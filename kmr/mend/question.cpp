#include "kmr/mend/question.hpp"

#include "kmr/output/text.hpp"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace kmr::program {
namespace {

class terminal {
public:
    terminal() : opened_(open("/dev/tty", O_RDWR | O_CLOEXEC)) {
        if (opened_ >= 0)
            read_from_ = write_to_ = opened_;
        else if (isatty(STDIN_FILENO) == 1)
            read_from_ = STDIN_FILENO;
    }
    ~terminal() {
        if (opened_ >= 0)
            close(opened_);
    }
    terminal(const terminal&) = delete;
    terminal& operator=(const terminal&) = delete;

    bool is_there() const { return read_from_ >= 0; }

    bool write(std::string_view text) const {
        while (!text.empty()) {
            const ssize_t count = ::write(write_to_, text.data(), text.size());
            if (count < 0 && errno != EINTR)
                return false;
            if (count > 0)
                text.remove_prefix(static_cast<size_t>(count));
        }
        return true;
    }

    // One line, of which the beginning is enough.
    std::string read_line() const {
        std::string line;
        for (char each = '\0';;) {
            const ssize_t count = read(read_from_, &each, 1);
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0 || each == '\n')
                return line;
            if (line.size() < longest)
                line += each;
        }
    }

private:
    static constexpr size_t longest = 16;

    int opened_;
    int read_from_ = -1;
    int write_to_ = STDERR_FILENO;
};

bool is_yes(std::string_view line) {
    std::string word;
    for (const char each : line)
        if (each != ' ' && each != '\t' && each != '\r')
            word += each >= 'A' && each <= 'Z' ? static_cast<char>(each - 'A' + 'a') : each;
    return word == "y" || word == "yes";
}

} // namespace

answer ask(std::string_view question) {
    const terminal at;
    if (!at.is_there() || !at.write(output::text(question) + " [y/N] "))
        return answer::nobody;
    return is_yes(at.read_line()) ? answer::yes : answer::no;
}

} // namespace kmr::program
