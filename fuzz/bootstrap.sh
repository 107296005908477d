#!/usr/bin/env bash
# Installs the Debian packages of fuzz/packages.txt that are missing (the
# fuzz build only; the main build's packages come from scripts/bootstrap.sh).
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
missing=()
while read -r p; do
  [ -z "$p" ] && continue
  case "$p" in \#*) continue ;; esac
  if ! dpkg -s "$p" 2>/dev/null | grep -q '^Status: install ok installed'; then
    missing+=("$p")
  fi
done < "$here/packages.txt"

[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
    SUDO=sudo
  else
    echo "webstep: missing Debian packages for fuzzing: ${missing[*]}" >&2
    echo "webstep: install them as root: apt-get install ${missing[*]}" >&2
    exit 1
  fi
else
  SUDO=
fi
echo "webstep: installing ${missing[*]}"
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
