// What ends the program waits until an unfinished file is gone.
#pragma once

#include <csignal>
#include <cstddef>
#include <iterator>

namespace kmr::program {

// Notes what would end the program; behind it the program ends by that. What was ignored stays so.
class noted_signals {
public:
    noted_signals();
    ~noted_signals();
    noted_signals(const noted_signals&) = delete;
    noted_signals& operator=(const noted_signals&) = delete;

    static bool any(); // the program is to end

private:
    static constexpr int numbers[] = {SIGINT, SIGTERM, SIGHUP};
    struct sigaction before_[std::size(numbers)] = {};
};

} // namespace kmr::program
