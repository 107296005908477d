#include "EscapeCommand.h"
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
    CLI11_PARSE(app, argc, argv);
    return exitCode;
}
