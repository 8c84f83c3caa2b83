// The video of a page.
#pragma once

#include "kmr/output/messages.hpp"
#include "kmr/report/page_file.hpp"
#include "scan/byte_source.hpp"

#include <cstdint>
#include <string>

namespace kmr::program {

struct page_video {
    std::string why_not = {};  // there is none; empty: there is
    std::string left_out = {}; // what of the recording is not in it, in words; empty: nothing
    bool is_whole = true;      // no frame of the recorder's own is left out
    int error = 0;             // the page cannot be written
};

// Takes the recording's stream as an .mp4 of at most so many MiB, and puts it into the page. Memory grows by a few bytes a
// frame alone. `name` is the page's.
page_video append_video(page_file& to, mend::disk& on, const std::string& name, uint64_t most_mib,
                        scan::byte_source& recording, output::messages& err);

} // namespace kmr::program
