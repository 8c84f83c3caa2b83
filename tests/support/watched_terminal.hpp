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

    // What was written since it was asked last, a page at most. The system hands it over in its own time; the mark, written
    // behind it, tells that all has come.
    std::string shown() const {
        constexpr char mark = '\x1c';
        if (write(slave_, &mark, 1) != 1)
            return "no terminal";
        std::string text;
        char part[4096];
        while (!text.ends_with(mark)) {
            const ssize_t count = read(master_, part, sizeof part);
            if (count <= 0)
                return text;
            text.append(part, static_cast<size_t>(count));
        }
        text.pop_back();
        return text;
    }

private:
    int master_;
    int slave_ = -1;
};
