#pragma once
// The "settings" subcommand: read, and change, the WEB section of a script's
// settings file.
#include <CLI/CLI.hpp>

namespace webstep::cli {

void AddSettingsCommand(CLI::App& app, int* exitCode);

}  // namespace webstep::cli
