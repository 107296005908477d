#!/usr/bin/env bash
# Installs the Debian packages of fuzz/packages.txt that are missing (the
# fuzz build only; the main build's packages come from scripts/bootstrap.sh).
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
mapfile -t packages < <(grep -v -e '^#' -e '^[[:space:]]*$' "$here/packages.txt")
exec bash "$here/../scripts/install-packages.sh" --for "for fuzzing" "${packages[@]}"
