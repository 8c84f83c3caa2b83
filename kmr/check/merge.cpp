// kmr merge: results of many machines in one database.
#include "kmr/commands.hpp"
#include "kmr/option_checks.hpp"
#include "kmr/output/numbers.hpp"
#include "kmr/output/text.hpp"
#include "kmr/store/result_store.hpp"

#include <CLI/CLI.hpp>

namespace kmr::program {
namespace {

class merge final : public command {
public:
    void add_options(CLI::App& to) override {
        to.add_option("DATABASE", into_, "Takes over; made where there is none")
            ->required()
            ->check(not_empty());
        to.add_option("FROM", from_, "Databases of kmr check --db; they stay as they are")
            ->required()
            ->check(not_empty());
    }

    exit_status work(session& with) override {
        auto status = exit_status::sound;
        for (const std::string& each : from_) {
            try {
                const uint64_t taken = store::merge(into_, each);
                std::string& to = with.out.buffer();
                output::append_text(to, each);
                output::append_number(to += ": ", taken);
                to += " taken over\n";
                with.out.keep_small();
            } catch (const store::store_error& error) {
                with.out.flush(); // so that the message stands behind the lines where both go to one place
                with.err.say(error.what());
                status = exit_status::failed;
            }
        }
        return status;
    }

private:
    std::string into_ = {};
    std::vector<std::string> from_ = {};
};

} // namespace

const command_kind merge_command = {
    "merge",
    "Joins the databases of many machines",
    "  kmr merge fleet.db north.db south.db   what they know later than fleet.db does\n",
    make_command<merge>,
};

} // namespace kmr::program
