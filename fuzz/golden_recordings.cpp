#include "fuzz/golden_recordings.hpp"

#include "tests/program/recordings.hpp"

namespace fuzz {

void add_golden_recordings(std::vector<seed>& to) {
    for (const auto& [name, compose] : recordings::all())
        to.push_back({name, compose()});
}

} // namespace fuzz
