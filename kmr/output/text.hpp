// Text from outside - names, tags, messages of the system - on its way to the user. What is written is valid UTF-8 and
// holds no control character: a byte that is not UTF-8 becomes \xhh, and so does every byte of a control character, of
// a separator of lines and of a mark that turns the direction of writing. One function for each kind of output.
#pragma once

#include <string>
#include <string_view>

namespace kmr::output {

void append_text(std::string& to, std::string_view from);

// A field of CSV: in quotation marks where it needs them.
void append_csv(std::string& to, std::string_view from);

// A string of JSON with its quotation marks. Control characters are escaped in JSON's own way, so that a reader gets
// them back; bytes that are not UTF-8 become \xhh here too.
void append_json(std::string& to, std::string_view from);

// For the text and the values of attributes in XML. What stands for no character there becomes \xhh as well.
void append_xml(std::string& to, std::string_view from);

std::string text(std::string_view from);

} // namespace kmr::output
