#include "analyse/header_report.h"

#include "analyse/analyse.h"
#include "analyse/format/file_header.h"
#include "analyse/options.h"
#include "analyse/recording.hpp"
#include "analyse/rules.hpp"

#include <cstdint>
#include <cstdio>

namespace kmr {
namespace {

constexpr std::uint32_t header_options = KMR_OPTION_SAMPLE | KMR_OPTION_ALL | KMR_OPTION_MISSING_FRAMES;

const char* mode_text(std::uint16_t mode) {
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

void print_number(const char* label, std::uint32_t value, const char* unit = "") {
    std::printf("%20s :\t%4d%s\n", label, static_cast<std::int32_t>(value), unit);
}

// A text without its NUL runs on into the fields behind it, at most to the end of the header.
void print_cover_word(const kmr_file_header& header) {
    constexpr int longest = sizeof header - offsetof(kmr_file_header, cCovWord);
    const char* text = reinterpret_cast<const char*>(&header) + offsetof(kmr_file_header, cCovWord);
    std::printf("%20s :\t%.*s\n", "cCovWord", longest, text);
}

void print_header(const kmr_file_header& header) {
    std::puts(rule<140>.after_blank_line());
    std::puts("File Header infomation");
    std::puts(rule<140>.line());
    print_number("FrameRate", header.FrameRate);
    print_number("Width", header.Width);
    print_number("Height", header.Height);
    std::printf("%20s :\t%s\n", "Mode", mode_text(header.Mode));
    print_number("bAudio", header.bAudio);
    print_number("Year", header.Year);
    print_number("Month", header.Month);
    print_number("Day", header.Day);
    print_number("Hour", header.Hour);
    print_number("Minute", header.Minute);
    print_number("Second", header.Second);
    print_number("CoverMask", header.CoverMask);
    print_cover_word(header);
    print_number("m_uiFrameNoDiff", header.m_uiFrameNoDiff);
    print_number("TriggerHigh", header.TriggerHigh);
    print_number("TriggerLow", header.TriggerLow);
    print_number("reserved", header.reserved);
    print_number("AChannels", header.AChannels);
    print_number("BitsPerSample", header.BitsPerSample);
    print_number("AudioSample", header.AudioSample);
    print_number("TotalSize", header.TotalSize, " B");
    print_number("FrameCount", header.FrameCount);
}

} // namespace
} // namespace kmr

std::int32_t rec_GetFileFrameNo(const char* name) {
    if (name == nullptr)
        return -1;
    const kmr::recording file(name);
    if (!file)
        return -1;
    kmr_file_header header{};
    const std::int32_t status = rec_ReadFileHeader(file.stream(), nullptr, &header);
    if (status != REC_OK)
        return status;
    if ((g_Opt & kmr::header_options) != 0)
        kmr::print_header(header);
    return static_cast<std::int32_t>(header.FrameCount);
}
