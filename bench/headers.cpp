// The floor under a check: a loop that reads the headers of all frames, the first kilobyte of each payload and the index
// through a window, and does nothing with them. It knows sound recordings alone.
//
//   headers FILE...      writes the number of frames
#include "analyse/format/file_header.h"
#include "analyse/format/frame_header.h"
#include "scan/file_source.hpp"
#include "scan/window.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace {

constexpr size_t looked_at = 1024;

uint64_t frames_of(kmr::scan::byte_source& source, uint64_t& bytes) {
    kmr::scan::window recording(source);
    uint64_t frames = 0;
    uint64_t offset = KMR_FILE_HEADER_SIZE;
    while (offset + sizeof(kmr_frame_header) <= recording.size()) {
        const auto view = recording.view(offset, sizeof(kmr_frame_header) + looked_at);
        kmr_frame_header header;
        std::memcpy(&header, view.data(), sizeof header);
        if (header.FrameSize < sizeof header)
            break;
        bytes += view[std::min<size_t>(view.size(), header.VideoSize) - 1];
        offset += header.FrameSize;
        ++frames;
    }
    return frames;
}

} // namespace

int main(int argc, char** argv) {
    uint64_t frames = 0;
    uint64_t bytes = 0; // so that what is read is looked at
    for (int which = 1; which < argc; ++which) {
        const kmr::scan::opened_file opened = kmr::scan::file_source::open(argv[which]);
        if (opened.source == nullptr)
            return 1;
        frames += frames_of(*opened.source, bytes);
    }
    std::printf("%llu %u\n", static_cast<unsigned long long>(frames), static_cast<unsigned>(bytes & 1));
    return 0;
}
