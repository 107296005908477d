#include "EscapeCommand.h"
#include "FormCommand.h"
#include "LintCommand.h"
#include "PageCommand.h"
#include "SettingsCommand.h"
#include "StepsCommand.h"
#include "UrlCommand.h"

#include "webstep/webstep.h"

#include <CLI/CLI.hpp>

#include <iostream>

int main(int argc, char** argv) {
    CLI::App app{"webstep: check, inspect and convert load-test web scripts on Linux"};
    app.set_version_flag("--version", std::string("webstep ") + webstep::GetVersion());
    app.require_subcommand(1, 1);
    int exitCode = 0;
    webstep::cli::AddEscapeCommands(app, &exitCode);
    webstep::cli::AddUrlCommand(app, &exitCode);
    webstep::cli::AddLintCommand(app, &exitCode);
    webstep::cli::AddStepsCommand(app, &exitCode);
    webstep::cli::AddPageCommand(app, &exitCode);
    webstep::cli::AddFormCommand(app, &exitCode);
    webstep::cli::AddSettingsCommand(app, &exitCode);
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
