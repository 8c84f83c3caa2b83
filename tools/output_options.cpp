#include "tools/option_table.hpp"

#include <filesystem>

namespace {

using namespace compose;

// An installed program has the clip below its own prefix, any other takes the one of the sources. Both are told from where
// the program lies, so that the folder that it was built in is no part of it.
std::string demo_clip() {
    std::error_code none;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", none).parent_path();
    const auto installed = folder / KMR_INSTALLED_CLIP;
    const auto clip = std::filesystem::exists(installed, none) ? installed : folder / KMR_BUILT_CLIP;
    return clip.lexically_normal().string();
}

constexpr option_row output_rows[] = {
    {"output", "FILE", "compose a recording", [](request& to, const std::string& v) { to.output = v; }},
    {"index-dat", "FILE", "compose an index file",
     [](request& to, const std::string& v) { to.index_file = v; }},
    {"demo", nullptr, "a recording to look at: real video with sound, user data and tags", nullptr},
    {"list", nullptr,
     "print what was written, one line each: offset, type, number, stamp, size;\n"
     "as it was before any damage, and for the index the number of its records",
     [](request& to, const std::string&) { to.list = true; }},
    {"help", nullptr, "print this text", [](request& to, const std::string&) { to.help = true; }},
};

constexpr const char* demo[] = {
    "--size",       "320x240",
    "--audio",      "2x160",
    "--cover-word", "DEMO",
    "--tag",        "0=Start",
    "--tag",        "2=Door open",
    "--user-data",  "every:5",
    "--segment",    "frametime=2015-01-02 03:04:05",
    "--segment",    "vca_target=12,7",
    "--user-data",  "i-frames",
    "--segment",    "osd=DEMO CAMERA 1",
    "--segment",    "gps=52.5200N 013.4050E",
    "--segment",    "plate=B-KM 2015",
    "--segment",    "vca_size=352,288",
};

} // namespace

const option_group output_options = {"What to write", output_rows};

std::vector<std::string> demo_arguments() {
    std::vector<std::string> all = {"--video", demo_clip()};
    all.insert(all.end(), std::begin(demo), std::end(demo));
    return all;
}
