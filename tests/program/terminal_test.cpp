// A report that somebody watches.
#include "tests/program/viewer.hpp"

#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

namespace {

class terminal {
public:
    terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
        if (grantpt(master_) == 0 && unlockpt(master_) == 0)
            slave_ =
                open(ptsname(master_), O_RDWR | O_NOCTTY); // what is written stays there until it is read
    }
    ~terminal() {
        close(slave_);
        close(master_);
    }
    terminal(const terminal&) = delete;
    terminal& operator=(const terminal&) = delete;

    std::string name() const { return ptsname(master_); }

    // What was written so far, up to a page.
    std::string shown() const {
        fcntl(master_, F_SETFL, O_NONBLOCK);
        char text[4096];
        const ssize_t count = read(master_, text, sizeof text);
        return count < 0 ? "" : std::string(text, static_cast<size_t>(count));
    }

private:
    int master_;
    int slave_ = -1;
};

TEST(TerminalTest, HasTheReportThatAFileHas) {
    const viewer::place place;
    const terminal watched;
    const run::options how{.directory = place.path(), .environment = {}, .stdout_path = watched.name()};
    const run::result result = run::program(KMR_VIEWER, {"-h"}, how);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(viewer::normalised(viewer::replaced(watched.shown(), "\r\n", "\n")), place.report({"-h"}));
}

} // namespace
