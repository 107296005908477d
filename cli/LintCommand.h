#pragma once
// The "lint" subcommand: parses every step call of action files and reports
// each problem in the compiler's file:line:column form.
#include <CLI/CLI.hpp>

namespace webstep::cli {

void AddLintCommand(CLI::App& app, int* exitCode);

}  // namespace webstep::cli
