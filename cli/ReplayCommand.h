#pragma once
// The "replay" subcommand: one virtual user through a script folder (init,
// the run group, end), answered offline from the folder's recording, with
// each request compared with the one that was recorded.
#include <CLI/CLI.hpp>

namespace webstep::cli {

void AddReplayCommand(CLI::App& app, int* exitCode);

}  // namespace webstep::cli
