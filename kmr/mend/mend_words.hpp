// What mending gave, in words for the user.
#pragma once

#include "mend/plan.hpp"
#include "mend/recording.hpp"

#include <string>

namespace kmr::program {

// Why nothing was done, or what was done only in part; `done` has no words.
std::string words_of(const mend::outcome& result);

// Why a recording cannot be mended; empty where it can, or need not be.
std::string words_of(mend::plan_status status, const scan::report& judged);

} // namespace kmr::program
