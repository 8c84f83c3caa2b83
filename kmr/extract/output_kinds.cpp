#include "kmr/extract/output_kinds.hpp"

#include "convert/container.hpp"
#include "kmr/new_file/new_file.hpp"

#include <algorithm>
#include <iterator>

namespace kmr::program {
namespace {

using enum scan::video_codec;

constexpr output_kind kinds[] = {
    {".h264", output_form::video, h264},       {".h265", output_form::video, h265},
    {".mjpeg", output_form::video, mjpeg},     {".raw", output_form::sound, unknown},
    {".mp4", output_form::container, unknown}, {".mkv", output_form::container, unknown},
};

struct coding_words {
    scan::video_codec coding;
    std::string_view words;
};

constexpr coding_words codings[] = {
    {h264, "H.264"}, {h265, "H.265"}, {mjpeg, "MJPEG"}, {unknown, "coded in a way that nothing tells"}};

} // namespace

const output_kind* output_kind_of(const std::string& path) {
    const std::string suffix = small_suffix_of(path);
    const auto* const found = std::find_if(std::begin(kinds), std::end(kinds),
                                           [&](const output_kind& each) { return each.suffix == suffix; });
    return found == std::end(kinds) ? nullptr : found;
}

std::string output_suffixes() {
    std::string all;
    for (const output_kind& each : kinds)
        if (each.form != output_form::container || convert::has_containers())
            all.append(all.empty() ? "" : ", ").append(each.suffix);
    return all;
}

std::string_view words_for(scan::video_codec coding) {
    return std::find_if(codings, std::end(codings) - 1,
                        [&](const coding_words& each) { return each.coding == coding; })
        ->words;
}

std::string_view suffix_for(scan::video_codec coding) {
    const auto* const found = std::find_if(std::begin(kinds), std::end(kinds), [&](const output_kind& each) {
        return each.form == output_form::video && each.coding == coding;
    });
    return found == std::end(kinds) ? std::string_view() : found->suffix;
}

} // namespace kmr::program
