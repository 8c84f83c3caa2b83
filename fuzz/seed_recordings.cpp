#include "fuzz/seed_recordings.hpp"

#include "fuzz/golden_recordings.hpp"
#include "tests/campaign/recordings.hpp"

namespace fuzz {

std::vector<seed> seed_recordings() {
    constexpr size_t largest = 20'000;
    std::vector<seed> all;
    add_golden_recordings(all);
    for (const recordings::composed& each : recordings::all())
        all.push_back({each.name, each.content});
    std::erase_if(all, [](const seed& each) { return each.content.size() > largest; });
    return all;
}

bytes seed_index_file() {
    return recordings::index_file();
}

} // namespace fuzz
