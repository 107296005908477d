#include "webstep/webstep.h"

#include <CLI/CLI.hpp>

#include <iostream>

int main(int argc, char** argv) {
    CLI::App app{"webstep: check, inspect and convert load-test web scripts"};
    app.set_version_flag("--version", std::string("webstep ") + webstep::GetVersion());
    app.require_subcommand(0, 1);
    CLI11_PARSE(app, argc, argv);
    if (app.get_subcommands().empty()) {
        std::cout << app.help();
    }
    return 0;
}
