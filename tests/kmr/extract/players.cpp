#include "tests/kmr/extract/players.hpp"

#include <cmath>
#include <sstream>

namespace kmr_test {
namespace {

std::vector<int64_t> milliseconds_of(const std::string& lines) {
    std::vector<int64_t> all;
    std::istringstream from(lines);
    for (std::string line; std::getline(from, line);)
        if (!line.empty())
            all.push_back(std::llround(std::stod(line) * 1000));
    return all;
}

// The player says on which side it hears sound of one channel.
std::string without_guesses(const std::string& complaints) {
    std::string left;
    std::istringstream from(complaints);
    for (std::string line; std::getline(from, line);)
        if (!line.starts_with("Guessed Channel Layout"))
            left += line + "\n";
    return left;
}

} // namespace

std::string PlayersTest::probe(const std::string& name, const words& how) const {
    words arguments = {"-v", "error", "-of", "csv=p=0"};
    arguments.insert(arguments.end(), how.begin(), how.end());
    arguments.push_back(place_.folder().file(name));
    const auto run = run::program(KMR_FFPROBE, arguments);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.status, 0);
    return run.out;
}

std::vector<int64_t> PlayersTest::stamps(const std::string& name, const std::string& stream) const {
    return milliseconds_of(probe(name, {"-select_streams", stream, "-show_entries", "packet=pts_time"}));
}

std::vector<int64_t> PlayersTest::durations(const std::string& name) const {
    return milliseconds_of(probe(name, {"-select_streams", "v", "-show_entries", "packet=duration_time"}));
}

run::result PlayersTest::ffmpeg(const words& arguments) const {
    words all = {"-nostdin", "-v", "warning", "-xerror"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return run::program(KMR_FFMPEG, all, {.directory = place_.folder().path()});
}

std::vector<std::string> PlayersTest::pictures(const std::string& name) const {
    const auto run = ffmpeg(
        {"-i", name, "-map", "0:v", "-fps_mode", "passthrough", "-f", "framehash", "-hash", "crc32", "-"});
    EXPECT_EQ(without_guesses(run.err), "");
    EXPECT_EQ(run.status, 0);
    std::vector<std::string> all;
    std::istringstream from(run.out);
    for (std::string line; std::getline(from, line);)
        if (!line.starts_with('#'))
            all.push_back(line.substr(line.rfind(' ') + 1));
    return all;
}

std::vector<std::string> PlayersTest::pictures_of_clip(const std::string& clip) const {
    return pictures(KMR_CLIPS + clip);
}

recording::bytes PlayersTest::sound(const std::string& name) const {
    const auto run = ffmpeg({"-v", "error", "-i", name, "-map", "0:a", "-f", "s16le", "-"});
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.status, 0);
    return {run.out.begin(), run.out.end()};
}

} // namespace kmr_test
