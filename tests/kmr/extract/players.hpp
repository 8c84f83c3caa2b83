// What players of this system make of a file.
#pragma once

#include "tests/kmr/extract/extracting.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace kmr_test {

class PlayersTest : public ExtractingTest { // NOLINT(readability-identifier-naming): a suite of tests
protected:
    std::string probe(const std::string& name,
                      const words& how) const; // ffprobe's answer; it must not complain

    // Milliseconds of every packet of a stream: "v" or "a".
    std::vector<int64_t> stamps(const std::string& name, const std::string& stream = "v") const;
    std::vector<int64_t> durations(const std::string& name) const;

    // Sums of the pictures that a player shows, one line each; it must not complain.
    std::vector<std::string> pictures(const std::string& name) const;
    // Those of the clip that went in.
    std::vector<std::string> pictures_of_clip(const std::string& clip) const;

    // The sound as it comes out, decoded to 16 bits.
    recording::bytes sound(const std::string& name) const;

    run::result ffmpeg(const words& arguments) const;
};

} // namespace kmr_test
