#include "tests/kmr/mend/failing_calls.hpp"

#include "kmr/run.hpp"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kmr_test {
namespace {

// Of the program's process, and seen by the test.
call_plan& calls() {
    static void* const shared =
        mmap(nullptr, sizeof(call_plan), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return *static_cast<call_plan*>(shared);
}

bool interrupts() {
    static bool now = false;
    now = calls().is_interrupted && !now;
    return now;
}

} // namespace

extern "C" ssize_t __real_pread64(int file, void* into, size_t length, off_t at);
extern "C" ssize_t __wrap_pread64(int file, void* into, size_t length, off_t at) {
    if (!calls().is_bad(++calls().reads, calls().bad_read))
        return __real_pread64(file, into, length, at);
    errno = calls().error;
    return errno == 0 ? 0 : -1;
}
extern "C" ssize_t __real_pwrite64(int file, const void* bytes, size_t length, off_t at);
extern "C" ssize_t __wrap_pwrite64(int file, const void* bytes, size_t length, off_t at) {
    if (!calls().is_bad(++calls().writes, calls().bad_write))
        return __real_pwrite64(file, bytes, length, at);
    errno = calls().error;
    return -1;
}
extern "C" int __real_fstat64(int file, struct stat* into);
extern "C" int __wrap_fstat64(int file, struct stat* into) {
    static time_t later = 0;
    const int result = __real_fstat64(file, into);
    if (calls().is_rewritten)
        into->st_mtim.tv_sec += ++later;
    return result;
}
extern "C" ssize_t __real_read(int file, void* into, size_t length);
extern "C" ssize_t __wrap_read(int file, void* into, size_t length) {
    if (!interrupts())
        return __real_read(file, into, length);
    errno = EINTR;
    return -1;
}
extern "C" ssize_t __real_write(int file, const void* bytes, size_t length);
extern "C" ssize_t __wrap_write(int file, const void* bytes, size_t length) {
    if (!interrupts())
        return __real_write(file, bytes, length);
    errno = EINTR;
    return -1;
}

FailingCallsTest::~FailingCallsTest() {
    calls() = {};
}

bool FailingCallsTest::has_failed() {
    return calls().has_failed();
}

// In a process of its own, as it ends with closing its standard output; without a terminal that it was started from.
told FailingCallsTest::kmr(words arguments, const call_plan& plan) const {
    arguments.insert(arguments.begin(), "kmr");
    calls() = plan;
    const pid_t child = fork();
    if (child == 0) {
        setenv("TZ", "UTC0", 1);
        setsid();
        const int flags = O_WRONLY | O_CREAT | O_TRUNC;
        const std::string err = plan.err != nullptr ? plan.err : told_.file("err");
        dup2(plan.terminal >= 0 ? plan.terminal : open("/dev/null", O_RDONLY), STDIN_FILENO);
        dup2(open(told_.file("out").c_str(), flags, 0600), STDOUT_FILENO);
        dup2(open(err.c_str(), flags, 0600), STDERR_FILENO);
        std::vector<const char*> pointers;
        for (const std::string& each : arguments)
            pointers.push_back(each.c_str());
        if (chdir(place_.path().c_str()) != 0)
            _exit(127);
        _exit(kmr::program::run(static_cast<int>(pointers.size()), pointers.data()));
    }
    int status = -1;
    waitpid(child, &status, 0);
    return {.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            .out = scratch::read_text(told_.file("out")),
            .err = plan.err != nullptr ? "" : scratch::read_text(told_.file("err"))};
}

words FailingCallsTest::names() const {
    words found;
    for (const auto& each : std::filesystem::directory_iterator(place_.path()))
        found.push_back(each.path().filename().string());
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace kmr_test
