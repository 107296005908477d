#pragma once
// The "form" subcommand: the request body that submitting a form of a
// recorded page would send.
#include <CLI/CLI.hpp>

namespace webstep::cli {

void AddFormCommand(CLI::App& app, int* exitCode);

}  // namespace webstep::cli
