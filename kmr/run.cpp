#include "kmr/run.hpp"

#include "kmr/arguments.hpp"
#include "kmr/commands.hpp"
#include "kmr/option_checks.hpp"
#include "kmr/usage_words.hpp"

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace kmr::program {
namespace {

struct common_options {
    std::string color = "auto";
    bool utc = false;
};

// A descriptor of these three that is closed would be given to the next file that is opened, and what is meant for the
// user would be written there. So it is opened in a way that lets no use of it succeed.
void occupy_standard_descriptors() {
    for (int each = STDIN_FILENO; each <= STDERR_FILENO; ++each)
        if (fcntl(each, F_GETFD) < 0)
            open("/dev/null", each == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

// A limit on the size of files is an error of the write that meets it, as a full disk is, and no end in its middle.
void take_size_limits_as_errors() {
    std::signal(SIGXFSZ, SIG_IGN);
}

// Where the caller's own caller had it ignored, a reader that is gone would go unnoticed. An interrupt that is ignored
// stays so: a shell asks for that on behalf of what runs behind its back.
void end_with_the_reader() {
    std::signal(SIGPIPE, SIG_DFL);
}

bool is_colored(const std::string& choice) {
    if (choice != "auto")
        return choice == "always";
    const char* const refused = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    return (refused == nullptr || *refused == '\0') && isatty(STDOUT_FILENO) == 1 &&
           (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
}

void add_common_options(CLI::App& to, common_options& common) {
    to.add_option("--color", common.color,
                  "auto: where standard output is a terminal and NO_COLOR is not set; always; never")
        ->option_text("auto|always|never")
        ->check(one_of({"auto", "always", "never"}))
        ->group("Output");
    to.add_flag("--utc", common.utc, "Times in UTC (else in the zone of this machine)")->group("Output");
}

struct prepared_command {
    CLI::App* arguments;
    std::unique_ptr<command> what;
};

std::vector<prepared_command> prepare(CLI::App& app, common_options& common) {
    std::vector<prepared_command> all;
    for (const command_kind* kind : commands()) {
        CLI::App& arguments =
            *app.add_subcommand(std::string(kind->name), std::string(kind->purpose))->prefix_command(false);
        all.push_back({&arguments, kind->make()});
        all.back().what->add_options(arguments);
        add_common_options(arguments, common);
        understand_values(arguments);
        arguments.footer("Examples:\n" + std::string(kind->examples) + "\n" + std::string(kind->statuses));
    }
    return all;
}

// Help and version are data that were asked for; anything else is a message.
exit_status explain(const CLI::App& app, const CLI::ParseError& why, output::standard_output& out,
                    output::messages& err) {
    std::ostringstream asked_for;
    std::ostringstream message;
    if (app.exit(why, asked_for, message) == 0) {
        out.write(asked_for.str());
        return exit_status::sound;
    }
    err.say(words_of_usage(app, why));
    err.say("see kmr --help, or kmr COMMAND --help");
    return exit_status::failed;
}

// Says first what comes first on the command line.
class help_text final : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App* app, std::string name) const override {
        if (app->get_parent() == nullptr)
            return "Usage: " + name + " COMMAND [OPTION...] ...\n";
        return CLI::Formatter::make_usage(app, std::move(name));
    }
    // A value that may be left out: the text of the option says so, and the name as the parser has it says what it is.
    std::string make_option_name(const CLI::Option* option, bool is_positional) const override {
        std::string name = CLI::Formatter::make_option_name(option, is_positional);
        const size_t value = name.find('{');
        return value == std::string::npos ? name : name.substr(0, value) + option->get_option_text();
    }
    std::string make_option_opts(const CLI::Option* option) const override {
        const bool is_told = option->get_option_text().starts_with(command::maybe_value);
        return is_told ? "" : CLI::Formatter::make_option_opts(option);
    }
};

exit_status run_command(int argc, const char* const* argv, output::standard_output& out,
                        output::messages& err) {
    CLI::App app("Judges, lists, tabulates and mends recordings of a digital video recorder", "kmr");
    common_options common;
    app.formatter(std::make_shared<help_text>());
    app.set_version_flag("--version", "kmr " KMR_VERSION);
    app.set_help_flag("-h,--help", "Print this text");
    app.require_subcommand(1); // so that a file may have the name of a command
    app.footer("kmr COMMAND --help tells more.");
    understand_values(app);
    const std::vector<prepared_command> all = prepare(app, common);
    try {
        app.parse(arguments_of(argc, argv));
    } catch (const CLI::ParseError& why) {
        return explain(app, why, out, err);
    }
    session with{.out = out,
                 .err = err,
                 .zone = common.utc ? output::time_zone::utc : output::time_zone::local,
                 .colored = is_colored(common.color)};
    for (const prepared_command& each : all)
        if (each.arguments->parsed())
            return each.what->work(with);
    return exit_status::failed; // uncovered: a command is there, or the parser has told that none is
}

// What was found before something failed is data too, and comes in front of the message.
exit_status run_or_tell(int argc, const char* const* argv, output::standard_output& out,
                        output::messages& err) {
    std::string why;
    try {
        return run_command(argc, argv, out, err);
    } catch (const std::bad_alloc&) {
        why = "no memory";
    } catch (const std::exception& failure) {
        why = failure.what();
    }
    out.flush();
    err.say(why);
    return exit_status::failed;
}

} // namespace

int run(int argc, const char* const* argv) {
    occupy_standard_descriptors();
    end_with_the_reader();
    take_size_limits_as_errors();
    output::messages err;
    auto status = exit_status::failed;
    try {
        output::standard_output out(err);
        status = run_or_tell(argc, argv, out, err);
        out.finish();
    } catch (const output::not_written& why) {
        err.say("standard output: " + std::string(std::strerror(why.error)));
        status = exit_status::failed;
    } catch (const std::exception& why) {
        err.say(why.what());
        status = exit_status::failed;
    }
    return static_cast<int>(status);
}

} // namespace kmr::program
