#pragma once
// The "steps" subcommand: every step call of action files parsed into its
// step object, shown with its class and fields in script order.
#include <CLI/CLI.hpp>

namespace webstep::cli {

void AddStepsCommand(CLI::App& app, int* exitCode);

}  // namespace webstep::cli
