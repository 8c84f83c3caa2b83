#include "kmr/option_checks.hpp"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

namespace kmr::program {
namespace {

// `check` gives words for what is wrong with a value, or none; it may change the value.
template <typename Check>
CLI::Validator refusing_empty(Check check) {
    return {[check](std::string& value) {
                return value.empty() ? std::string("the value is empty") : check(value);
            },
            ""};
}

std::optional<uint64_t> number_in(const std::string& digits) {
    uint64_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto read = std::from_chars(digits.data(), end, number);
    return read.ec == std::errc() && read.ptr == end ? std::optional(number) : std::nullopt;
}

std::string range(uint64_t least, uint64_t most) {
    return " from " + std::to_string(least) + " to " + std::to_string(most);
}

} // namespace

CLI::Validator not_empty() {
    return refusing_empty([](const std::string&) { return std::string(); });
}

CLI::Validator one_of(std::vector<std::string> words) {
    return refusing_empty([words = std::move(words)](const std::string& value) {
        if (std::find(words.begin(), words.end(), value) != words.end())
            return std::string();
        return value + " is none of " + CLI::detail::join(words, ", ");
    });
}

CLI::Validator whole_number(uint64_t least, uint64_t most, const std::string& what) {
    return refusing_empty([=](std::string& value) {
        const auto number = number_in(value);
        if (!number || *number < least || *number > most)
            return value + " is no " + what + range(least, most);
        value = std::to_string(*number);
        return std::string();
    });
}

CLI::Validator seconds_up_to(uint32_t most) {
    return refusing_empty([most](const std::string& value) {
        double seconds = 0;
        // "nan" is read as a number, and lies neither below a range nor above it.
        const bool is_within = CLI::detail::lexical_cast(value, seconds) && seconds >= 0 && seconds <= most;
        return is_within ? std::string() : value + " is no number of seconds" + range(0, most);
    });
}

} // namespace kmr::program
