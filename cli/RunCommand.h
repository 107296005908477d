#pragma once
// The "run" subcommand: live load from a script folder, many virtual users
// over worker processes, with a progress line, a summary table and the
// results, report and HAR files asked for.
#include <CLI/CLI.hpp>

namespace webstep::cli {

void AddRunCommand(CLI::App& app, int* exitCode);

}  // namespace webstep::cli
