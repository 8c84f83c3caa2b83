#include "kmr/commands.hpp"

namespace kmr::program {
namespace {

constexpr const command_kind* kinds[] = {
    &check_command,   &show_command,   &frames_command, &ls_command,  &query_command,
    &merge_command,   &repair_command, &undo_command,   &tag_command, &copy_command,
    &extract_command, &report_command, &plot_command,
};

} // namespace

std::span<const command_kind* const> commands() {
    return kinds;
}

} // namespace kmr::program
