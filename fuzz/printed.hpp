// What the product prints, kept in memory instead.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

// From its making to its end standard output, or another of the platform's streams, goes to text().
class printed {
public:
    explicit printed(std::FILE*& stream = stdout);
    ~printed();
    printed(const printed&) = delete;
    printed& operator=(const printed&) = delete;

    // All that was printed so far.
    std::string_view text();

private:
    std::FILE*& stream_;
    std::FILE* before_;
    std::string text_;
};

std::vector<std::string_view> split(std::string_view text, char separator);

} // namespace fuzz
