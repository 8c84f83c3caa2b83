// Whether text is well-formed XML, and of which elements. It knows what pictures are made of: no comments, no sections, no
// declarations.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace kmr_test {

struct xml_look {
    std::string problem = {}; // empty: well-formed
    std::set<std::string> elements = {};
};

xml_look look_at_xml(std::string_view text);

} // namespace kmr_test
