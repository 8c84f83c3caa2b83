#include "kmr/place_options.hpp"

#include "kmr/option_checks.hpp"

#include <CLI/CLI.hpp>

namespace kmr::program {
namespace {

bool take_place(const std::optional<std::string>& text, std::optional<frame_place>& into, session& with) {
    if (!text)
        return true;
    into = frame_place::parse(*text, with.zone);
    if (!into)
        with.err.say(*text, "neither a frame number nor a stream time (M:SS.mmm) nor a time (ISO 8601)");
    return into.has_value();
}

} // namespace

void place_options::add(CLI::App& to) {
    to.add_option("--from", from_,
                  "From this frame number (digits alone), stream time (M:SS.mmm, H:MM:SS.mmm) or time "
                  "(ISO 8601) on")
        ->option_text("PLACE")
        ->check(not_empty());
    to.add_option("--to", to_, "Before this place")->option_text("PLACE")->check(not_empty());
}

bool place_options::read(session& with, std::optional<frame_place>& from,
                         std::optional<frame_place>& to) const {
    return take_place(from_, from, with) && take_place(to_, to, with);
}

} // namespace kmr::program
