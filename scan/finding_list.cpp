#include "scan/finding_list.hpp"

#include <algorithm>
#include <tuple>
#include <utility>

namespace kmr::scan {

std::vector<finding> finding_list::take_sorted() {
    std::stable_sort(listed_.begin(), listed_.end(), [](const finding& left, const finding& right) {
        return std::tie(left.offset, left.code) < std::tie(right.offset, right.code);
    });
    return std::exchange(listed_, {});
}

} // namespace kmr::scan
