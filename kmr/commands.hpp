// The commands, each in a source of its own name. A new one gets a line here and one in the table.
#pragma once

#include "kmr/command.hpp"

#include <span>

namespace kmr::program {

extern const command_kind check_command;
extern const command_kind show_command;
extern const command_kind frames_command;
extern const command_kind ls_command;
extern const command_kind query_command;
extern const command_kind merge_command;
extern const command_kind repair_command;
extern const command_kind undo_command;
extern const command_kind tag_command;
extern const command_kind copy_command;
extern const command_kind extract_command;
extern const command_kind report_command;
extern const command_kind plot_command;

std::span<const command_kind* const> commands(); // in the order of the help

} // namespace kmr::program
