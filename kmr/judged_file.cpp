#include "kmr/judged_file.hpp"

#include "kmr/scan_follower.hpp"

#include <cerrno>
#include <memory>
#include <span>
#include <system_error>

namespace kmr::program {

std::string words_of(int error) {
    return std::generic_category().message(error);
}

std::string problem_of(const scan::opened_file& opened) {
    return opened.status == scan::open_status::failed ? words_of(opened.error) : "not a regular file";
}

std::string problem_of(const scan::report& judged) {
    if (judged.ended == scan::end_state::read_failed)
        return words_of(judged.error);
    if (judged.ended == scan::end_state::shrunk)
        return "became shorter while it was read";
    return judged.changed ? "changed while it was read" : "";
}

namespace {

// Of what could not be read to its end nothing is told but what it looked like from outside and in its header: the rest
// was not seen.
scan::report without_contents(const scan::report& judged) {
    scan::report left;
    left.size = judged.size;
    left.changed = judged.changed;
    left.ended = judged.ended;
    left.error = judged.error;
    left.header = judged.header;
    return left;
}

// A small file, read as a whole by the first read: looking here and there costs more than reading does.
class small_source final : public scan::byte_source {
public:
    static constexpr uint64_t largest = 64 << 10;

    explicit small_source(scan::byte_source& source) : source_(source) {}

    uint64_t size() const override { return source_.size(); }
    scan::source_change change() const override { return source_.change(); }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        if (!bytes_) {
            const auto size = static_cast<size_t>(source_.size());
            bytes_ = std::make_unique_for_overwrite<uint8_t[]>(size);
            all_ = source_.read_at(0, {bytes_.get(), size});
        }
        if (all_.failed())
            return {.count = 0, .error = all_.error};
        return scan::memory_source(std::span(bytes_.get(), all_.count)).read_at(offset, into);
    }

private:
    scan::byte_source& source_;
    std::unique_ptr<uint8_t[]> bytes_ = {};
    scan::read_result all_ = {};
};

scan::report judge_source(scan::byte_source& source, const scan::judge_options& options,
                          scan::observer* watching) {
    if (source.size() <= small_source::largest) {
        small_source small(source);
        return scan::judge(small, options, watching);
    }
    auto* const follower = dynamic_cast<scan_follower*>(watching);
    if (follower == nullptr)
        return scan::judge(source, options, watching);
    followed_source followed(source, *follower);
    return scan::judge(followed, options, watching);
}

} // namespace

judged_file judge_file(const found_file& file, const scan::judge_options& options, scan::observer* watching) {
    judged_file result{.path = file.path, .in_folder = file.in_folder};
    if (file.error != 0) {
        result.judged = scan::unreadable(file.error);
        result.problem = words_of(file.error);
        return result;
    }
    const scan::opened_file opened = scan::file_source::open(file.path.c_str());
    if (opened.status != scan::open_status::opened) {
        result.judged = scan::unreadable(opened.error);
        result.problem = problem_of(opened);
        return result;
    }
    result.modified = opened.source->modified();
    result.judged = judge_source(*opened.source, options, watching);
    result.problem = problem_of(result.judged);
    if (result.judged.judged == scan::verdict::unreadable)
        result.judged = without_contents(result.judged);
    return result;
}

exit_status status_of(const scan::report& judged) {
    if (judged.judged == scan::verdict::unreadable || judged.changed)
        return exit_status::failed;
    return judged.judged == scan::verdict::sound ? exit_status::sound : exit_status::found;
}

} // namespace kmr::program
