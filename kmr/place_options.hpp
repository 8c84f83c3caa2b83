// --from and --to: a part of a recording.
#pragma once

#include "kmr/command.hpp"
#include "kmr/frame_selection.hpp"

#include <optional>
#include <string>

namespace kmr::program {

class place_options {
public:
    void add(CLI::App& to);

    // False: a place is none, and that is told.
    bool read(session& with, std::optional<frame_place>& from, std::optional<frame_place>& to) const;

private:
    std::optional<std::string> from_ = {};
    std::optional<std::string> to_ = {};
};

} // namespace kmr::program
