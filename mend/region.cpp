#include "mend/region.hpp"

#include <cstddef>

namespace kmr::mend {

std::string_view name_of(region_action action) {
    constexpr std::string_view names[] = {"cover",      "cut",         "set-lengths", "grow-frame",
                                          "move-frame", "cover-frame", "set-stamp",   "rebuild-header"};
    return names[static_cast<size_t>(action)];
}

} // namespace kmr::mend
