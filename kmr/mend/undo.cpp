// kmr undo: takes the last change of a recording back.
#include "kmr/commands.hpp"
#include "kmr/mend/held_signals.hpp"
#include "kmr/mend/mend_words.hpp"
#include "kmr/output/text.hpp"
#include "mend/plain_disk.hpp"

#include <CLI/CLI.hpp>

namespace kmr::program {
namespace {

mend::outcome undo_of(mend::disk& on, const std::string& path) {
    auto opening = mend::recording::open(on, path, true);
    if (!opening.result.is_done())
        return opening.result;
    const held_signals until_whole;
    return opening.opened->undo();
}

class undo final : public command {
public:
    void add_options(CLI::App& to) override { to.add_option("FILE", paths_, "Recordings")->required(); }

    exit_status work(session& with) override {
        mend::plain_disk disk;
        auto status = exit_status::sound;
        for (const std::string& path : paths_) {
            const mend::outcome result = undo_of(disk, path);
            if (result.is_done()) {
                output::append_text(with.out.buffer(), path);
                with.out.write(": as it was before\n");
                continue;
            }
            with.out.flush();
            with.err.say(path, words_of(result));
            status = exit_status::failed;
        }
        return status;
    }

private:
    std::vector<std::string> paths_ = {};
};

} // namespace

const command_kind undo_command = {
    "undo",
    "Takes the last change of a recording back, bit for bit",
    "  kmr undo recording.kmr      as it was before kmr repair, dates included\n",
    make_command<undo>,
    "Exit status: 0 as it was before, 2 anything else; of several files the highest.",
};

} // namespace kmr::program
