#pragma once
// The "page" subcommand: the page model of a recorded HTML page.
#include <CLI/CLI.hpp>

namespace webstep::cli {

void AddPageCommand(CLI::App& app, int* exitCode);

}  // namespace webstep::cli
