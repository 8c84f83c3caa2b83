#include "tests/program/recordings.hpp"

#include <algorithm>

namespace recordings {

std::vector<frame> five_frames() {
    const bytes small(60, 0xAA);
    return {
        {.number = 1, .time_stamp = 1000, .kind = 0},
        {.number = 2, .time_stamp = 2000, .kind = 1, .video = small},
        {.number = 3, .time_stamp = 3000, .kind = 1, .video = small},
        {.number = 4, .time_stamp = 4000, .kind = 0, .audio_count = 2, .audio_size = 160},
        {.number = 5, .time_stamp = 5000, .kind = 1, .video = small},
    };
}

bytes eight_frames() {
    std::vector<frame> frames;
    for (uint32_t number = 1; number <= 8; ++number)
        frames.push_back({.number = number, .time_stamp = number * 1000, .kind = number % 3 == 1 ? 0U : 1U});
    return recording::sound(frames);
}

void cut(bytes& file, size_t size) {
    file.resize(size);
}

void fill(bytes& file, size_t offset, size_t size, uint8_t value) {
    std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(offset), size, value);
}

const table& all() {
    static const table joined = [] {
        table each;
        for (const table* part : {&of_headers, &of_frames, &of_indexes, &of_user_data})
            each.insert(part->begin(), part->end());
        return each;
    }();
    return joined;
}

} // namespace recordings
