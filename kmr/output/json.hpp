// Writes JSON into a string: on one line, members in the order in which they are written.
#pragma once

#include "kmr/output/text.hpp"

#include <cstdint>
#include <optional>
#include <rapidjson/writer.h>
#include <string>
#include <string_view>
#include <type_traits>

namespace kmr::output {

class json_writer {
public:
    explicit json_writer(std::string& to) : to_{&to}, writer_(to_) {}

    json_writer& begin_object() { return done(writer_.StartObject()); }
    json_writer& end_object() { return done(writer_.EndObject()); }
    json_writer& begin_array() { return done(writer_.StartArray()); }
    json_writer& end_array() { return done(writer_.EndArray()); }
    json_writer& key(std::string_view name) {
        return done(writer_.Key(name.data(), static_cast<rapidjson::SizeType>(name.size())));
    }

    json_writer& null() { return done(writer_.Null()); }
    json_writer& value(bool what) { return done(writer_.Bool(what)); }
    json_writer& value(double what) { return done(writer_.Double(what)); }
    json_writer& value(const char* what) { return value(std::string_view(what)); }
    json_writer& value(const std::string& what) { return value(std::string_view(what)); }
    json_writer& value(std::string_view what) {
        quoted_.clear();
        append_json(quoted_, what);
        return done(writer_.RawValue(quoted_.data(), quoted_.size(), rapidjson::kStringType));
    }
    template <typename Number>
    requires std::is_integral_v<Number> json_writer& value(Number what) {
        if constexpr (std::is_signed_v<Number>) // uncovered: decided by the compiler
            return done(writer_.Int64(what));
        else
            return done(writer_.Uint64(what));
    }
    template <typename Value>
    json_writer& value(const std::optional<Value>& what) {
        return what ? value(*what) : null();
    }

    template <typename Value>
    json_writer& member(std::string_view name, const Value& what) {
        return key(name).value(what);
    }
    json_writer& null_member(std::string_view name) { return key(name).null(); }

private:
    struct stream {
        using Ch = char; // NOLINT(readability-identifier-naming): the library's name
        std::string* into;
        void Put(char each) { into->push_back(each); } // NOLINT(readability-identifier-naming)
        void Flush() {}                                // NOLINT(readability-identifier-naming)
    };

    json_writer& done(bool /*always*/) { return *this; }

    stream to_;
    rapidjson::Writer<stream> writer_;
    std::string quoted_ = {};
};

} // namespace kmr::output
