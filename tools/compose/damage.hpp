// Harm done to a composed file: cut off, zeroed, overwritten, filled with noise.
#pragma once

#include "tools/compose/output_file.hpp"
#include "tools/compose/text_values.hpp"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace compose {

constexpr uint64_t nowhere = std::numeric_limits<uint64_t>::max();

// Where things stand in the composed file.
struct file_map {
    std::vector<uint64_t> frames = {}; // header of each frame; `nowhere` for one that was left out
    uint64_t index = nowhere;          // the index head
};

// A place in the file, named in one of these ways, with +BYTES or -BYTES behind it if wanted:
//   a number        bytes from the beginning
//   frameN          header of frame N, counted from 0
//   index           the index head
//   end             the end of the file
struct file_place {
    enum class base { beginning, frame, index, end };
    base from = base::beginning;
    uint32_t frame = 0;
    int64_t distance = 0;
};

struct damage {
    enum class kind { truncate, zero, overwrite, noise };
    kind what = kind::zero;
    file_place at = {};
    uint64_t length = 0; // of zero and noise
    bytes content = {};  // of overwrite
    uint64_t seed = 0;   // of noise
};

file_place parse_file_place(const std::string& text);

damage parse_truncate(const std::string& text);  // PLACE
damage parse_zero(const std::string& text);      // PLACE:LENGTH
damage parse_overwrite(const std::string& text); // PLACE:HEX
damage parse_noise(const std::string& text);     // PLACE:LENGTH:SEED

// Throws usage_error when the place, or its end, is not within the file.
void apply_damage(output_file& to, const damage& harm, const file_map& map);

} // namespace compose
