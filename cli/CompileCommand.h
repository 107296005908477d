#pragma once
// The "compile" subcommand: compile a script folder's C into the shared
// object a replay runs, and report.
#include <CLI/CLI.hpp>

namespace webstep::cli {

void AddCompileCommand(CLI::App& app, int* exitCode);

}  // namespace webstep::cli
