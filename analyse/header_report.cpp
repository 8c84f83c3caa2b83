#include "analyse/header_report.h"

#include "analyse/format/file_header.h"
#include "analyse/options.h"
#include "analyse/recording.hpp"
#include "analyse/report_state.h"
#include "analyse/rules.hpp"

#include <cstdint>
#include <cstdio>

namespace kmr {
namespace {

constexpr uint32_t header_options = KMR_OPTION_SAMPLE | KMR_OPTION_ALL | KMR_OPTION_MISSING_FRAMES;

const char* mode_text(uint16_t mode) {
    switch (mode) {
    case 21:
    case 22:
    case 23:
        return "H.264";
    case 41:
        return "MJPEG";
    default:
        return "DEFAULT H.264";
    }
}

template <auto Member>
void number(const char* label, const kmr_file_header& header) {
    std::printf("%20s :\t%4d\n", label, static_cast<int32_t>(header.*Member));
}

template <auto Member>
void number_of_bytes(const char* label, const kmr_file_header& header) {
    std::printf("%20s :\t%4d B\n", label, static_cast<int32_t>(header.*Member));
}

void mode(const char* label, const kmr_file_header& header) {
    std::printf("%20s :\t%s\n", label, mode_text(header.Mode));
}

// A text without its NUL runs on into the fields behind it, at most to the end of the header.
void cover_word(const char* label, const kmr_file_header& header) {
    constexpr size_t start = offsetof(kmr_file_header, cCovWord);
    const char* text = reinterpret_cast<const char*>(&header) + start;
    std::printf("%20s :\t%.*s\n", label, static_cast<int>(sizeof header - start), text);
}

struct header_line {
    const char* label;
    void (*print)(const char* label, const kmr_file_header& header);
};

using fields = kmr_file_header;

constexpr header_line header_lines[] = {
    {"FrameRate", number<&fields::FrameRate>},
    {"Width", number<&fields::Width>},
    {"Height", number<&fields::Height>},
    {"Mode", mode},
    {"bAudio", number<&fields::bAudio>},
    {"Year", number<&fields::Year>},
    {"Month", number<&fields::Month>},
    {"Day", number<&fields::Day>},
    {"Hour", number<&fields::Hour>},
    {"Minute", number<&fields::Minute>},
    {"Second", number<&fields::Second>},
    {"CoverMask", number<&fields::CoverMask>},
    {"cCovWord", cover_word},
    {"m_uiFrameNoDiff", number<&fields::m_uiFrameNoDiff>},
    {"TriggerHigh", number<&fields::TriggerHigh>},
    {"TriggerLow", number<&fields::TriggerLow>},
    {"reserved", number<&fields::reserved>},
    {"AChannels", number<&fields::AChannels>},
    {"BitsPerSample", number<&fields::BitsPerSample>},
    {"AudioSample", number<&fields::AudioSample>},
    {"TotalSize", number_of_bytes<&fields::TotalSize>},
    {"FrameCount", number<&fields::FrameCount>},
};

void print_header(const kmr_file_header& header) {
    std::puts(rule<140>.after_blank_line());
    std::puts("File Header infomation");
    std::puts(rule<140>.line());
    for (const header_line& line : header_lines)
        line.print(line.label, header);
}

} // namespace
} // namespace kmr

int32_t rec_GetFileFrameNo(const char* name) {
    if (name == nullptr)
        return -1;
    const kmr::recording file(name);
    if (!file)
        return -1;
    kmr_file_header header{};
    const int32_t status = rec_ReadFileHeader(file.stream(), nullptr, &header);
    if (status != REC_OK)
        return status;
    if ((g_Opt & kmr::header_options) != 0)
        kmr::print_header(header);
    return static_cast<int32_t>(header.FrameCount);
}
