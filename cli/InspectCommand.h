#pragma once
// The "inspect" subcommand: reads a whole script folder (settings, action
// files, recorded snapshots) and shows, step by step, the request a replay
// would send as far as the recorded pages tell.
#include <CLI/CLI.hpp>

namespace webstep::cli {

void AddInspectCommand(CLI::App& app, int* exitCode);

}  // namespace webstep::cli
