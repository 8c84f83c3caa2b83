// A terminal that a test holds the other end of.
#pragma once

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

class watched_terminal {
public:
    watched_terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
        if (grantpt(master_) == 0 && unlockpt(master_) == 0)
            slave_ = open(name().c_str(), O_RDWR | O_NOCTTY); // what is written stays there until it is read
    }
    ~watched_terminal() {
        close(slave_);
        close(master_);
    }
    watched_terminal(const watched_terminal&) = delete;
    watched_terminal& operator=(const watched_terminal&) = delete;

    std::string name() const { return ptsname(master_); }

    // What was written since it was asked last, up to a page.
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
