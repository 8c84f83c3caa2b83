#include "kmr/plot/svg_writer.hpp"

#include "kmr/output/numbers.hpp"
#include "kmr/output/text.hpp"

#include <cmath>

namespace kmr::plot {

void append_coordinate(std::string& to, double value) {
    const long long tenths = std::llround(value * 10);
    if (tenths < 0)
        to += '-';
    const long long length = std::llabs(tenths);
    output::append_number(to, length / 10);
    if (length % 10 != 0)
        output::append_number(to += '.', length % 10);
}

svg_writer& svg_writer::begin(std::string_view name) {
    close_tag();
    to_.append("<").append(name);
    open_.emplace_back(name);
    in_tag_ = true;
    return *this;
}

svg_writer& svg_writer::with(std::string_view name, std::string_view value) {
    to_.append(" ").append(name).append("=\"");
    output::append_xml(to_, value);
    to_ += '"';
    return *this;
}

svg_writer& svg_writer::with(std::string_view name, double value) {
    to_.append(" ").append(name).append("=\"");
    append_coordinate(to_, value);
    to_ += '"';
    return *this;
}

svg_writer& svg_writer::text(std::string_view content) {
    if (in_tag_)
        to_ += '>';
    in_tag_ = false;
    output::append_xml(to_, content);
    return *this;
}

svg_writer& svg_writer::end() {
    if (in_tag_)
        to_ += "/>\n";
    else
        to_.append("</").append(open_.back()).append(">\n");
    in_tag_ = false;
    open_.pop_back();
    return *this;
}

void svg_writer::close_tag() {
    if (in_tag_)
        to_ += ">\n";
    in_tag_ = false;
}

} // namespace kmr::plot
