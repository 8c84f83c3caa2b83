#include "kmr/new_recording.hpp"

#include "kmr/changed_recording.hpp"
#include "kmr/output/progress.hpp"
#include "mend/recording.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <iterator>

namespace kmr::program {
namespace {

volatile std::sig_atomic_t interrupted_by = 0;

void note_interrupt(int number) {
    interrupted_by = number;
}

// Notes what would end the program, until it is passed on. What was ignored stays so.
class noted_interrupts {
public:
    noted_interrupts() {
        interrupted_by = 0;
        struct sigaction noting = {};
        noting.sa_handler = note_interrupt;
        for (size_t i = 0; i < numbers.size(); ++i) {
            sigaction(numbers[i], nullptr, &before_[i]);
            if (before_[i].sa_handler != SIG_IGN)
                sigaction(numbers[i], &noting, nullptr);
        }
    }
    ~noted_interrupts() { restore(); }
    noted_interrupts(const noted_interrupts&) = delete;
    noted_interrupts& operator=(const noted_interrupts&) = delete;

    void pass_on() {
        restore();
        if (interrupted_by != 0)
            std::raise(interrupted_by);
    }

private:
    void restore() {
        for (size_t i = 0; i < numbers.size(); ++i)
            sigaction(numbers[i], &before_[i], nullptr);
    }

    static constexpr std::array<int, 4> numbers = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
    std::array<struct sigaction, numbers.size()> before_ = {};
};

// Gives way to an interrupt, and gives no last byte where the recording is not what it was.
class watched_content final : public scan::byte_source {
public:
    watched_content(scan::byte_source& content, scan::byte_source& source, output::messages& err)
        : content_(content), source_(source), shown_(err.on_terminal()), progress_(err, {1, content.size()}) {
    }

    uint64_t size() const override { return content_.size(); }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        if (interrupted_by != 0)
            return {.count = 0, .error = EINTR};
        if (shown_)
            progress_.show({0, offset});
        const scan::read_result read = content_.read_at(offset, into);
        const bool is_last = !read.failed() && offset + read.count >= size();
        return is_last && is_rewritten() ? scan::read_result{.count = 0, .error = ESTALE} : read;
    }

private:
    // A recorder that writes on behind what was there changes no frame of it.
    bool is_rewritten() const {
        const scan::source_change what = source_.change();
        return what != scan::source_change::none && what != scan::source_change::grown;
    }

    scan::byte_source& content_;
    scan::byte_source& source_;
    bool shown_;
    output::progress progress_;
};

std::string words_for(const mend::outcome& what) {
    if (what.status == mend::mend_status::is_a_link)
        return "a symbolic link; nothing is written through it";
    if (what.status == mend::mend_status::locked)
        return "another program is writing it";
    if (what.error == EEXIST)
        return "is there already; --force replaces it";
    if (what.error == ESTALE)
        return "the recording was changed meanwhile, so nothing was written";
    return problem_of(what);
}

} // namespace

std::string problem_of(mend::disk& on, const new_recording& what) {
    mend::file_facts there;
    for (const std::string& name : {what.path, what.path + ".kmr-new"})
        if (on.look(name, there) == 0 && there.is_same_file(what.original))
            return name == what.path ? "is the recording itself"
                                     : "is called " + name + " while it is written, and so is the recording";
    const int looked = on.look(what.path, there);
    if (looked != 0)
        return looked == ENOENT ? "" : words_for({mend::mend_status::failed, looked});
    if (there.kind == mend::file_kind::link)
        return words_for({mend::mend_status::is_a_link, 0});
    if (there.kind != mend::file_kind::regular)
        return words_for({mend::mend_status::not_a_file, 0});
    return what.replace ? "" : words_for({mend::mend_status::failed, EEXIST});
}

std::string write_recording(mend::disk& on, const new_recording& what, scan::byte_source& source,
                            scan::byte_source& content, output::messages& err) {
    noted_interrupts until_whole;
    mend::outcome result;
    {
        watched_content watched(content, source, err);
        result = mend::write_new_file(on, what.path, watched, what.replace, &what.original);
    }
    if (!result.is_done())
        until_whole.pass_on();
    return words_for(result);
}

} // namespace kmr::program
