// kmr show: one screen about a recording.
#include "kmr/commands.hpp"
#include "kmr/scan_follower.hpp"
#include "kmr/show_output.hpp"

#include <CLI/CLI.hpp>

namespace kmr::program {
namespace {

class show final : public command {
public:
    void add_options(CLI::App& to) override {
        to.add_option("FILE", files_, "Recordings")->required();
        to.add_flag("--json", json_, "One JSON object a file and line (kmr.show/1)");
    }

    exit_status work(session& with) override {
        output::clock clock = with.clock();
        auto status = exit_status::sound;
        for (const std::string& path : files_) {
            const judged_file file = judge(path, with);
            if (json_)
                append_shown_json(with.out.buffer(), file, clock);
            else
                append_shown(with.out.buffer(), file, with.colored, clock);
            with.out.flush();
            if (!file.problem.empty())
                with.err.say(path, file.problem);
            status = worse(status, status_of(file.judged));
        }
        return status;
    }

private:
    static judged_file judge(const std::string& path, session& with) {
        const found_file file = {.path = path};
        file_progress watching(with.err, with.err.on_terminal() ? bytes_of({file}) : 0);
        return judge_file(file, {.most_per_code = 0}, &watching);
    }

    std::vector<std::string> files_ = {};
    bool json_ = false;
};

} // namespace

const command_kind show_command = {
    "show",
    "Shows what a recording is, on one screen",
    "  kmr show recording.kmr\n"
    "  kmr show --json *.kmr | jq '.bit_rate'\n",
    make_command<show>,
};

} // namespace kmr::program
