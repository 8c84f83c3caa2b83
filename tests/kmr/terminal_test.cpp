// What somebody at a terminal sees.
#include "tests/kmr/program.hpp"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using kmr_test::words;
using kmr_test::workplace;

// A program whose standard output and error are a terminal.
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

TEST(TerminalTest, HasColorsUnlessTheyAreNotWanted) {
    const workplace place;
    place.compose("a.kmr");
    const auto out = [&](const words& arguments, const words& environment) {
        on_terminal run(place, arguments, environment);
        std::string text = run.read_until();
        run.wait_status();
        return text.substr(0, text.find(' '));
    };
    EXPECT_EQ(out({"check", "a.kmr"}, {}), "\x1b[32msound\x1b[0m");
    EXPECT_EQ(out({"check", "a.kmr"}, {"NO_COLOR=1"}), "sound");
    EXPECT_EQ(out({"check", "a.kmr"}, {"NO_COLOR="}), "\x1b[32msound\x1b[0m");
    EXPECT_EQ(out({"check", "--color", "never", "a.kmr"}, {}), "sound");
}

TEST(TerminalTest, HasNoProgressOfShortWork) {
    const workplace place;
    place.compose("a.kmr");
    on_terminal run(place, {"check", "--color", "never", "a.kmr"});
    EXPECT_EQ(run.read_until(),
              "sound            2015-01-02T03:04:05.000+00:00  0:00:00.360       10 frames  -  a.kmr\r\n");
    EXPECT_EQ(run.wait_status(), 0);
}

// Hours of work in a file that takes no room.
TEST(TerminalTest, HasProgressOfLongWorkAndEndsByAnInterrupt) {
    const workplace place;
    place.compose("a.kmr");
    place.folder().write_text("zeros", "");
    std::filesystem::resize_file(place.folder().path() / "zeros", uint64_t{1} << 40);
    for (const words& arguments : {words{"check", "a.kmr", "zeros"}, words{"frames", "zeros"}}) {
        on_terminal run(place, arguments);
        const std::string text = run.read_until(" left");
        EXPECT_NE(text.find(arguments[0] == "check" ? "\r\x1b[Kfiles 1 of 2, " : "\r\x1b[Kfiles 0 of 1, "),
                  std::string::npos)
            << text;
        EXPECT_NE(text.find(" of 1099.5 GB, "), std::string::npos) << text;
        kill(run.child(), SIGINT);
        EXPECT_EQ(run.wait_status(), -SIGINT);
    }
}

} // namespace
