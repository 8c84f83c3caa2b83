// What can be made of a recording, by the suffix of the file.
#pragma once

#include "scan/video.hpp"

#include <string>
#include <string_view>

namespace kmr::program {

enum class output_form : uint8_t { video, sound, container };

struct output_kind {
    std::string_view suffix; // with its dot, in small letters
    output_form form;
    scan::video_codec coding; // unknown: any
};

// Null: no file of such a name can be made.
const output_kind* output_kind_of(const std::string& path);

// ".h264, .h265, ...": what this program can make.
std::string output_suffixes();

std::string_view words_for(scan::video_codec coding); // "H.264" and so on
std::string_view suffix_for(scan::video_codec coding);

} // namespace kmr::program
