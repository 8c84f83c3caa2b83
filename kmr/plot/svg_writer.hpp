// Writes SVG into a string. Text may hold anything: it is escaped here.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kmr::plot {

class svg_writer {
public:
    explicit svg_writer(std::string& to) : to_(to) {}
    ~svg_writer() = default;
    svg_writer(const svg_writer&) = delete;
    svg_writer& operator=(const svg_writer&) = delete;

    svg_writer& begin(std::string_view name);
    // Of the element that has just begun.
    svg_writer& with(std::string_view name, std::string_view value);
    svg_writer& with(std::string_view name, const char* value) { return with(name, std::string_view(value)); }
    svg_writer& with(std::string_view name, double value); // with one digit behind the point
    svg_writer& text(std::string_view content);
    svg_writer& end();

    // An element that holds nothing but text.
    svg_writer& leaf(std::string_view name, std::string_view content) {
        return begin(name).text(content).end();
    }

private:
    void close_tag();

    std::string& to_;
    std::vector<std::string> open_ = {};
    bool in_tag_ = false;
};

// "12.5", "12": the point is a point in every country.
void append_coordinate(std::string& to, double value);

} // namespace kmr::plot
