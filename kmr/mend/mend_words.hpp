// What mending gave, in words for the user.
#pragma once

#include "mend/plan.hpp"
#include "mend/recording.hpp"

#include <string>

namespace kmr::program {

// Why nothing was done, or what was done only in part; `done` has no words.
std::string words_of(const mend::outcome& result);

// Of a change that stopped in the middle where no undo file was wanted.
std::string words_without_way_back(int error);

// Why a recording cannot be mended; empty where it can, or need not be.
std::string words_of(mend::plan_status status, const scan::report& judged);

} // namespace kmr::program
