#pragma once
// The "escape" and "unescape" subcommands: bytes on standard input to script
// text on standard output, and back.
#include <CLI/CLI.hpp>

namespace webstep::cli {

// Adds both subcommands to the application; the returned exit code is
// stored in *exitCode when one of them runs.
void AddEscapeCommands(CLI::App& app, int* exitCode);

}  // namespace webstep::cli
