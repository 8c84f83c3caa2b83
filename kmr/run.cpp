#include "kmr/run.hpp"

#include "kmr/commands.hpp"

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace kmr::program {
namespace {

enum class color_choice : uint8_t { automatic, always, never };

struct common_options {
    color_choice color = color_choice::automatic;
    bool utc = false;
};

// A descriptor of these three that is closed would be given to the next file that is opened, and what is meant for the
// user would be written there. So it is opened in a way that lets no use of it succeed.
void occupy_standard_descriptors() {
    for (int each = STDIN_FILENO; each <= STDERR_FILENO; ++each)
        if (fcntl(each, F_GETFD) < 0 && errno == EBADF)
            open("/dev/null", each == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

// Where the caller's own caller had them ignored, a reader that is gone and Ctrl-C would go unnoticed.
void take_signals_as_usual() {
    std::signal(SIGPIPE, SIG_DFL);
}

bool is_colored(color_choice choice) {
    if (choice != color_choice::automatic)
        return choice == color_choice::always;
    const char* const refused = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    return (refused == nullptr || *refused == '\0') && isatty(STDOUT_FILENO) == 1 &&
           (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
}

void add_common_options(CLI::App& to, common_options& common) {
    static const std::map<std::string, color_choice> choices = {
        {"auto", color_choice::automatic}, {"always", color_choice::always}, {"never", color_choice::never}};
    to.add_option("--color", common.color,
                  "auto: where standard output is a terminal and NO_COLOR is not set; always; never")
        ->option_text("auto|always|never")
        ->transform(CLI::CheckedTransformer(choices))
        ->group("Output");
    to.add_flag("--utc", common.utc, "Times in UTC (else in the zone of this machine)")->group("Output");
}

struct prepared_command {
    CLI::App* arguments;
    std::unique_ptr<command> what;
};

// As the parser takes them: last one first. Names that it would misread get the folder in front that they lie in: behind
// "--" those that look like options (it would not take several there), anywhere "[a,b]" (it would take that for a list).
std::vector<std::string> arguments_of(int argc, const char* const* argv) {
    std::vector<std::string> arguments;
    bool names_only = false;
    for (const std::string argument : std::span(argv + 1, argv + argc)) {
        const bool bracketed = argument.starts_with('[') && argument.ends_with(']');
        if (argument == "--" && !names_only)
            names_only = true;
        else
            arguments.push_back((bracketed || (names_only && argument.starts_with('-')) ? "./" : "") +
                                argument);
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

std::vector<prepared_command> prepare(CLI::App& app, common_options& common) {
    std::vector<prepared_command> all;
    for (const command_kind* kind : commands()) {
        CLI::App& arguments =
            *app.add_subcommand(std::string(kind->name), std::string(kind->purpose))->prefix_command(false);
        all.push_back({&arguments, kind->make()});
        all.back().what->add_options(arguments);
        add_common_options(arguments, common);
        arguments.footer(
            "Examples:\n" + std::string(kind->examples) + "\n" +
            "Exit status: 0 sound, 1 something was found, 2 wrong usage, not readable or not written;\n"
            "of several files the highest.");
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
    const bool no_command = why.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError) &&
                            app.get_subcommands().empty();
    err.say(no_command ? "no command is given" : why.what());
    err.say("see kmr --help, or kmr COMMAND --help");
    return exit_status::failed;
}

exit_status run_command(int argc, const char* const* argv, output::standard_output& out,
                        output::messages& err) {
    CLI::App app("Judges, lists and tabulates recordings of a digital video recorder", "kmr");
    common_options common;
    app.set_version_flag("--version", "kmr " KMR_VERSION);
    app.set_help_flag("-h,--help", "Print this text");
    app.require_subcommand(1); // so that a file may have the name of a command
    app.footer("kmr COMMAND --help tells more.");
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
    return exit_status::failed;
}

} // namespace

int run(int argc, const char* const* argv) {
    occupy_standard_descriptors();
    take_signals_as_usual();
    output::messages err;
    auto status = exit_status::failed;
    try {
        output::standard_output out(err);
        status = run_command(argc, argv, out, err);
        out.finish();
    } catch (const output::not_written& why) {
        err.say("standard output: " + std::string(std::strerror(why.error)));
        status = exit_status::failed;
    } catch (const std::bad_alloc&) {
        err.say("no memory");
        status = exit_status::failed;
    } catch (const std::exception& why) {
        err.say(why.what());
        status = exit_status::failed;
    }
    return static_cast<int>(status);
}

} // namespace kmr::program
