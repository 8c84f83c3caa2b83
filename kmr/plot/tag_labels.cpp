#include "kmr/plot/tag_labels.hpp"

#include "kmr/plot/text_width.hpp"
#include "kmr/plot/time_units.hpp"

#include <algorithm>
#include <array>

namespace kmr::plot {
namespace {

constexpr double between_texts = 10;
constexpr double longest_text = 170;

class rows_in_use {
public:
    explicit rows_in_use(double left) { taken_to_.fill(left - between_texts); }

    // Finds a row that is free there, the uppermost one.
    bool take(double from, double to, size_t& row) {
        for (row = 0; row < taken_to_.size(); ++row)
            if (from >= taken_to_[row] + between_texts) {
                taken_to_[row] = to;
                used_ = std::max(used_, row + 1);
                return true;
            }
        return false;
    }

    size_t used() const { return used_; }

private:
    std::array<double, most_tag_rows> taken_to_ = {};
    size_t used_ = 0;
};

} // namespace

tag_labels place_tags(const std::vector<scan::tag>& tags, const time_scale& scale, int64_t start_ms,
                      double text_size) {
    tag_labels placed;
    for (const scan::tag& each : tags) {
        const int64_t at_ms = std::clamp(int64_t{each.time} * second - start_ms, scale.from_ms, scale.to_ms);
        placed.labels.push_back(
            {.x = scale.x(at_ms), .text = shortened(each.text, text_size, longest_text), .whole = each.text});
    }
    std::stable_sort(placed.labels.begin(), placed.labels.end(),
                     [](const tag_label& left, const tag_label& right) { return left.x < right.x; });
    rows_in_use rows(scale.left);
    for (tag_label& each : placed.labels) {
        const double width = text_width(each.text, text_size);
        each.in_front = each.x + tag_beside_line + width > scale.right;
        const double from = each.in_front ? each.x - tag_beside_line - width : each.x;
        const double to = each.in_front ? each.x : each.x + tag_beside_line + width;
        each.is_shown = rows.take(from, to, each.row);
        placed.without_text += each.is_shown ? 0 : 1;
    }
    placed.rows = rows.used();
    return placed;
}

} // namespace kmr::plot
