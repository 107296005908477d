#pragma once
// The "url" subcommand: split, combine and canonicalise URLs as the replay
// does.
#include <CLI/CLI.hpp>

namespace webstep::cli {

void AddUrlCommand(CLI::App& app, int* exitCode);

}  // namespace webstep::cli
