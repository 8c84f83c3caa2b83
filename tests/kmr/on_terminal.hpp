// kmr as somebody at a terminal runs it.
#pragma once

#include "tests/kmr/program.hpp"

#include <csignal>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace kmr_test {

// A program whose standard input, output and error are a terminal, the one that it was started from.
class on_terminal {
public:
    on_terminal(const workplace& place, words arguments, words environment = {}) {
        const std::string folder = place.folder().path().string();
        arguments.insert(arguments.begin(), KMR);
        environment.insert(environment.end(), {"TZ=UTC0", "TERM=xterm"});
        child_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
        if (child_ == 0) {
            const auto pointers = [](words& from) {
                std::vector<char*> all;
                for (std::string& each : from)
                    all.push_back(each.data());
                all.push_back(nullptr);
                return all;
            };
            if (chdir(folder.c_str()) == 0)
                execve(KMR, pointers(arguments).data(), pointers(environment).data());
            _exit(127);
        }
    }
    ~on_terminal() { close(terminal_); }
    on_terminal(const on_terminal&) = delete;
    on_terminal& operator=(const on_terminal&) = delete;

    pid_t child() const { return child_; }

    void type(const std::string& text) const {
        if (write(terminal_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            throw std::runtime_error("the terminal takes nothing");
    }

    // Everything up to the end, or until it contains this text.
    std::string read_until(const std::string& wanted = {}) {
        std::string text;
        char part[4096];
        while (wanted.empty() || text.find(wanted) == std::string::npos) {
            pollfd waiting = {terminal_, POLLIN, 0};
            if (poll(&waiting, 1, 20'000) <= 0)
                break;
            const ssize_t count = read(terminal_, part, sizeof part);
            if (count <= 0)
                break;
            text.append(part, static_cast<size_t>(count));
        }
        return text;
    }

    int wait_status() const {
        int status = 0;
        waitpid(child_, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    int terminal_ = -1;
    pid_t child_ = -1;
};

} // namespace kmr_test
