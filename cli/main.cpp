#include "CompileCommand.h"
#include "EscapeCommand.h"
#include "FormCommand.h"
#include "InspectCommand.h"
#include "LintCommand.h"
#include "PageCommand.h"
#include "ReplayCommand.h"
#include "RunCommand.h"
#include "SettingsCommand.h"
#include "StepsCommand.h"
#include "UrlCommand.h"

#include "webstep/webstep.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <string>
#include <vector>

namespace {

// A command-line error names what was wrong and where the right form is: the
// commands that exist, or the help of the command given, which lists every
// option with an example.
std::string DescribeUsageError(const CLI::App* top, const CLI::Error& error) {
    const CLI::App* where = top;
    std::string command = "webstep";
    for (;;) {
        auto parsed = where->get_subcommands();
        if (parsed.empty())
            break;
        where = parsed.front();
        command += " " + where->get_name();
    }
    std::string text = command + ": " + error.what() + "\n";
    std::vector<std::string> unknown = where->remaining();
    if (where == top && !unknown.empty())
        text = command + ": \"" + unknown.front() + "\" is not a command\n";
    if (where == top) {
        text += "commands:";
        for (const CLI::App* sub : top->get_subcommands([](const CLI::App*) { return true; }))
            text += " " + sub->get_name();
        text += "\n";
    }
    text += "Run \"" + command + " --help\" for every option with an example.\n";
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"webstep: check, inspect and convert load-test web scripts on Linux"};
    app.set_version_flag("--version", std::string("webstep ") + webstep::GetVersion());
    app.require_subcommand(1, 1);
    app.failure_message(DescribeUsageError);
    app.footer(
        "Examples:\n"
        "  webstep lint examples/library-loans\n"
        "  webstep steps --json examples/library-loans\n"
        "  webstep page data/t3.html\n"
        "  webstep form data/t1.html --item card=12345\n"
        "  webstep url crack http://example.com:8080/a?q=1\n"
        "  webstep settings default.cfg --set HttpVer=1.1\n"
        "  webstep escape < body.bin > body.txt\n"
        "  webstep --version\n"
        "Each command's --help lists its options with examples; \"man webstep\" has them all.");
    int exitCode = 0;
    webstep::cli::AddEscapeCommands(app, &exitCode);
    webstep::cli::AddUrlCommand(app, &exitCode);
    webstep::cli::AddLintCommand(app, &exitCode);
    webstep::cli::AddStepsCommand(app, &exitCode);
    webstep::cli::AddPageCommand(app, &exitCode);
    webstep::cli::AddFormCommand(app, &exitCode);
    webstep::cli::AddSettingsCommand(app, &exitCode);
    webstep::cli::AddInspectCommand(app, &exitCode);
    webstep::cli::AddReplayCommand(app, &exitCode);
    webstep::cli::AddCompileCommand(app, &exitCode);
    webstep::cli::AddRunCommand(app, &exitCode);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        // Usage errors exit with 2, as the script commands promise.
        app.exit(e);
        return 2;
    }
    return exitCode;
}
