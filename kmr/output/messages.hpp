// Messages for the user, on standard error, one line each.
#pragma once

#include <string>
#include <string_view>

namespace kmr::output {

class messages {
public:
    messages() = default;
    messages(const messages&) = delete;
    messages& operator=(const messages&) = delete;

    // "kmr: text". The text may hold anything; control characters are taken out.
    void say(std::string_view text);

    // "kmr: path: text", with quotation marks for an empty path
    void say(std::string_view path, std::string_view text);

    // A line that the next one, or a message, takes the place of; empty: none.
    void show_progress(std::string_view line);

    // Whether there is anybody to see progress.
    bool on_terminal() const;

private:
    bool progress_shown_ = false;
};

} // namespace kmr::output
