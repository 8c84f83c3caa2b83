#include "kmr/new_file/noted_signals.hpp"

namespace kmr::program {
namespace {

volatile std::sig_atomic_t ended_by = 0;

extern "C" void note_signal(int number) {
    ended_by = number;
}

} // namespace

noted_signals::noted_signals() {
    for (size_t i = 0; i < std::size(numbers); ++i) {
        sigaction(numbers[i], nullptr, &before_[i]);
        if (before_[i].sa_handler == SIG_IGN)
            continue;
        struct sigaction noting = {};
        noting.sa_handler = note_signal;
        sigaction(numbers[i], &noting, nullptr);
    }
}

noted_signals::~noted_signals() {
    for (size_t i = 0; i < std::size(numbers); ++i)
        sigaction(numbers[i], &before_[i], nullptr);
    if (ended_by != 0)
        std::raise(ended_by);
}

bool noted_signals::any() {
    return ended_by != 0;
}

} // namespace kmr::program
