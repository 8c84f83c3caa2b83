#include "tests/kmr/plot/xml_check.hpp"

#include "base/utf8.hpp"

#include <algorithm>
#include <array>
#include <vector>

namespace kmr_test {
namespace {

bool is_name(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char each) {
        return (each >= 'a' && each <= 'z') || (each >= 'A' && each <= 'Z') || (each >= '0' && each <= '9') ||
               each == '-';
    });
}

class xml_reader {
public:
    explicit xml_reader(std::string_view text) : left_(text) {}

    xml_look read() {
        if (!kmr::is_utf8(left_))
            return {"not UTF-8"};
        while (!left_.empty() && found_.problem.empty())
            left_.front() == '<' ? read_tag() : read_text();
        if (found_.problem.empty() && (!open_.empty() || roots_ != 1))
            found_.problem = "not one element around everything";
        return found_;
    }

private:
    void complain(std::string_view of) { found_.problem = "at: " + std::string(of.substr(0, 60)); }

    void check_characters(std::string_view text) {
        constexpr std::array<std::string_view, 5> known = {"amp;", "lt;", "gt;", "quot;", "#39;"};
        for (size_t at = 0; at < text.size(); ++at) {
            const bool entity =
                text[at] == '&' && std::any_of(known.begin(), known.end(), [&](std::string_view each) {
                    return text.substr(at + 1).starts_with(each);
                });
            const bool control = static_cast<unsigned char>(text[at]) < 0x20 && text[at] != '\n';
            if (control || text[at] == '<' || text[at] == '>' || (text[at] == '&' && !entity))
                return complain(text.substr(at));
        }
    }

    void read_text() {
        const std::string_view text = left_.substr(0, left_.find('<'));
        if (open_.empty() && text != "\n")
            return complain(text);
        check_characters(text);
        left_.remove_prefix(text.size());
    }

    void read_tag() {
        const size_t end = left_.find('>');
        if (end == std::string_view::npos)
            return complain(left_);
        std::string_view tag = left_.substr(1, end - 1);
        left_.remove_prefix(end + 1);
        if (tag.starts_with('/')) {
            if (open_.empty() || open_.back() != tag.substr(1))
                return complain(tag);
            open_.pop_back();
            return;
        }
        const bool is_empty = tag.ends_with('/');
        if (is_empty)
            tag.remove_suffix(1);
        const std::string_view name = tag.substr(0, tag.find(' '));
        if (!is_name(name))
            return complain(tag);
        roots_ += open_.empty() ? 1 : 0;
        found_.elements.emplace(name);
        if (!is_empty)
            open_.emplace_back(name);
        read_attributes(tag.substr(name.size()));
    }

    void read_attributes(std::string_view rest) {
        std::set<std::string_view> names;
        while (!rest.empty()) {
            const size_t equals = rest.find("=\"");
            const size_t end = equals == std::string_view::npos ? equals : rest.find('"', equals + 2);
            if (end == std::string_view::npos || rest.front() != ' ')
                return complain(rest);
            const std::string_view name = rest.substr(1, equals - 1);
            if (!is_name(name) || !names.insert(name).second)
                return complain(rest);
            check_characters(rest.substr(equals + 2, end - equals - 2));
            rest.remove_prefix(end + 1);
        }
    }

    std::string_view left_;
    std::vector<std::string_view> open_ = {};
    int roots_ = 0;
    xml_look found_ = {};
};

} // namespace

xml_look look_at_xml(std::string_view text) {
    return xml_reader(text).read();
}

} // namespace kmr_test
