#include "tests/support/run_program.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace run {
namespace {

using clock = std::chrono::steady_clock;

class descriptor {
public:
    explicit descriptor(int number = -1) : number_(number) {}
    ~descriptor() { reset(); }
    descriptor(descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    descriptor(const descriptor&) = delete;
    descriptor& operator=(const descriptor&) = delete;
    descriptor& operator=(descriptor&&) = delete;

    int number() const { return number_; }
    bool open() const { return number_ >= 0; }
    void reset() {
        if (open())
            close(std::exchange(number_, -1));
    }

private:
    int number_;
};

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

struct channel {
    descriptor read_end;
    descriptor write_end;
};

channel make_pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        fail("pipe");
    return {descriptor(ends[0]), descriptor(ends[1])};
}

descriptor open_file(const std::string& path, int flags) {
    descriptor file(open(path.c_str(), flags | O_CLOEXEC, 0666));
    if (!file.open())
        fail(path);
    return file;
}

std::vector<std::string> emulator_command() {
    std::vector<std::string> words;
#ifdef KMR_EMULATOR
    std::istringstream list(KMR_EMULATOR);
    for (std::string word; std::getline(list, word, ';');)
        words.push_back(word);
#endif
    return words;
}

std::vector<std::string> merged_environment(const std::vector<std::string>& added) {
    std::vector<std::string> merged;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        const std::string name = text.substr(0, text.find('=') + 1);
        bool replaced = false;
        for (const std::string& each : added)
            replaced = replaced || each.compare(0, name.size(), name) == 0;
        if (!replaced)
            merged.push_back(text);
    }
    merged.insert(merged.end(), added.begin(), added.end());
    return merged;
}

std::vector<char*> as_c_array(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return pointers;
}

// Everything is prepared before the fork; behind it only calls that are safe in the child of a
// threaded process.
pid_t start(std::vector<std::string> command, const options& how, int in, int out, int err) {
    std::vector<std::string> variables = merged_environment(how.environment);
    const std::vector<char*> arguments = as_c_array(command);
    const std::vector<char*> environment = as_c_array(variables);
    const std::string directory = how.directory.string();

    channel report = make_pipe(); // carries errno when the program cannot be started, else closes by itself
    const pid_t child = fork();
    if (child < 0)
        fail("fork");
    if (child == 0) {
        signal(SIGINT, SIG_DFL); // who runs the tests in the background may have it ignored
        const bool ready = dup2(in, STDIN_FILENO) >= 0 && dup2(out, STDOUT_FILENO) >= 0 &&
                           dup2(err, STDERR_FILENO) >= 0 &&
                           (directory.empty() || chdir(directory.c_str()) == 0);
        if (ready)
            execve(arguments[0], arguments.data(), environment.data());
        const int reason = errno;
        [[maybe_unused]] const ssize_t told = write(report.write_end.number(), &reason, sizeof reason);
        _exit(127);
    }
    report.write_end.reset();
    int reason = 0;
    if (read(report.read_end.number(), &reason, sizeof reason) == sizeof reason) {
        waitpid(child, nullptr, 0);
        errno = reason;
        fail("cannot run " + command[0]);
    }
    return child;
}

// An emulator is found by PATH; a program is taken as it is.
std::string find_in_path(const std::string& name) {
    if (name.find('/') != std::string::npos)
        return name;
    const char* path = std::getenv("PATH");
    std::istringstream folders(path == nullptr ? "/usr/bin:/bin" : path);
    for (std::string folder; std::getline(folders, folder, ':');)
        if (access((folder + "/" + name).c_str(), X_OK) == 0)
            return folder + "/" + name;
    return name;
}

// Appends what is there; closes the descriptor at the end of the stream.
void take(descriptor& from, std::string& to) {
    std::array<char, 65536> block;
    const ssize_t got = read(from.number(), block.data(), block.size());
    if (got > 0)
        to.append(block.data(), static_cast<size_t>(got));
    else if (got == 0 || errno != EINTR)
        from.reset();
}

int milliseconds_until(clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

// False when the deadline came first.
bool collect(descriptor& out, descriptor& err, result& into, clock::time_point deadline) {
    while (out.open() || err.open()) {
        pollfd waiting[2] = {{out.number(), POLLIN, 0}, {err.number(), POLLIN, 0}};
        const int ready = poll(waiting, 2, milliseconds_until(deadline));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return false;
        if (waiting[0].revents != 0)
            take(out, into.out);
        if (waiting[1].revents != 0)
            take(err, into.err);
    }
    return true;
}

int as_status(int wait_status) {
    return WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : -WTERMSIG(wait_status);
}

// False when the deadline came first; a program may close its output long before it ends.
bool await_end(pid_t child, int& status, clock::time_point deadline) {
    while (true) {
        int wait_status = 0;
        const pid_t ended = waitpid(child, &wait_status, WNOHANG);
        if (ended == child) {
            status = as_status(wait_status);
            return true;
        }
        if (ended < 0 && errno != EINTR)
            fail("waitpid");
        if (clock::now() >= deadline)
            return false;
        usleep(500);
    }
}

} // namespace

result program(const std::string& path, const std::vector<std::string>& arguments, const options& how) {
    std::vector<std::string> command = emulator_command();
    command.push_back(std::filesystem::absolute(path).string());
    command.insert(command.end(), arguments.begin(), arguments.end());
    command[0] = find_in_path(command[0]);

    const bool captured = how.stdout_path.empty();
    channel out = make_pipe();
    channel err = make_pipe();
    const descriptor nothing = open_file("/dev/null", O_RDONLY);
    descriptor file = captured ? descriptor() : open_file(how.stdout_path, O_WRONLY | O_CREAT | O_TRUNC);

    const auto deadline = clock::now() + how.timeout;
    const pid_t child = start(command, how, nothing.number(),
                              captured ? out.write_end.number() : file.number(), err.write_end.number());
    out.write_end.reset();
    err.write_end.reset();

    result all{};
    if (collect(out.read_end, err.read_end, all, deadline) && await_end(child, all.status, deadline))
        return all;
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    throw std::runtime_error(path + " did not end in time");
}

} // namespace run
