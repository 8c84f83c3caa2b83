// What kmr copy prints.
#pragma once

#include "kmr/output/times.hpp"
#include "mend/copy.hpp"

#include <string>
#include <string_view>

namespace kmr::program {

// What the copy is, and what of the recording is not in it.
void append_copied(std::string& to, std::string_view path, const mend::copy_plan& plan, bool colored,
                   output::clock& clock);

} // namespace kmr::program
