// What ends the program waits until a change is whole.
#pragma once

#include <csignal>

namespace kmr::program {

class held_signals {
public:
    held_signals() {
        sigset_t held;
        sigemptyset(&held);
        for (const int each : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
            sigaddset(&held, each);
        sigprocmask(SIG_BLOCK, &held, &before_);
    }
    ~held_signals() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    held_signals(const held_signals&) = delete;
    held_signals& operator=(const held_signals&) = delete;

private:
    sigset_t before_ = {};
};

} // namespace kmr::program
