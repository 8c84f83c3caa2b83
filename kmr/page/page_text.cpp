#include "kmr/page/page_text.hpp"

namespace kmr::program {

void begin_block(std::string& to, std::string_view name, std::string_view type) {
    to.append("<script type=\"").append(type).append("\" id=\"").append(name).append("\">");
}

void append_to_block(std::string& to, std::string_view json) {
    for (size_t next = json.find('<'); next != std::string_view::npos; next = json.find('<')) {
        to.append(json.substr(0, next)).append("\\u003c");
        json.remove_prefix(next + 1);
    }
    to += json;
}

void end_block(std::string& to) {
    to += "</script>\n";
}

} // namespace kmr::program
