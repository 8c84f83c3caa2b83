#include "kmr/new_file/new_file.hpp"

#include "kmr/judged_file.hpp"
#include "kmr/new_file/noted_signals.hpp"

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace kmr::program {
namespace {

constexpr char words_of_link[] = "a symbolic link: nothing is written through it";
constexpr char words_of_no_file[] = "not a regular file";
constexpr char words_of_taken[] = "is there already (--force replaces it)";

// Stops where the program is to end, and behind the last byte where the original is no longer what was planned for.
class watched_content final : public scan::byte_source {
public:
    watched_content(scan::byte_source& content, scan::byte_source& original)
        : content_(content), original_(original) {}

    uint64_t size() const override { return content_.size(); }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        if (noted_signals::any())
            return {.count = 0, .error = EINTR};
        const scan::read_result read = content_.read_at(offset, into);
        if (!read.failed() && offset + read.count >= size() &&
            original_.change() != scan::source_change::none)
            return {.count = 0, .error = ESTALE};
        return read;
    }

private:
    scan::byte_source& content_;
    scan::byte_source& original_;
};

// Of names of files, whatever the locale says.
char small_letter(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

} // namespace

std::string follow_link(const std::string& recording, new_file_names& names) {
    std::error_code error;
    names.from = std::filesystem::canonical(recording, error).string();
    return error ? words_of(error.value()) : "";
}

std::string why_not_written(mend::disk& on, const new_file_names& names) {
    mend::file_facts original;
    mend::file_facts there;
    if (const int error = on.look(names.from, original))
        return words_of(error);
    const std::string unfinished = mend::draft_path_of(names.to);
    if (on.look(unfinished, there) == 0 && there.is_same_file(original))
        return "is called " + unfinished + " while it is written, and so is the recording";
    const int looked = on.look(names.to, there);
    if (looked != 0)
        return looked == ENOENT ? "" : words_of(looked);
    if (there.is_same_file(original))
        return "is the recording itself";
    if (there.kind == mend::file_kind::link)
        return words_of_link;
    if (there.kind != mend::file_kind::regular)
        return words_of_no_file;
    return names.replace ? "" : words_of_taken;
}

std::string write_whole_file(mend::disk& on, const new_file_names& names, scan::byte_source& original,
                             scan::byte_source& content) {
    mend::file_facts from;
    if (const int error = on.look(names.from, from))
        return words_of(error);
    mend::outcome result;
    {
        const noted_signals until_whole;
        watched_content watched(content, original);
        result = mend::write_new_file(on, names.to, watched, names.replace, &from);
    }
    return why_not_there(result);
}

std::string why_not_there(const mend::outcome& result) {
    using enum mend::mend_status;
    if (result.status == is_a_link)
        return words_of_link;
    if (result.status == not_a_file)
        return words_of_no_file;
    if (result.status == locked)
        return "another program is changing it";
    if (result.error == EEXIST)
        return words_of_taken;
    if (result.error == ESTALE)
        return "the recording was changed meanwhile; nothing was written";
    return result.is_done() ? "" : words_of(result.error);
}

std::string small_suffix_of(const std::string& path) {
    std::string suffix = std::filesystem::path(path).extension().string();
    std::transform(suffix.begin(), suffix.end(), suffix.begin(), small_letter);
    return suffix;
}

} // namespace kmr::program
