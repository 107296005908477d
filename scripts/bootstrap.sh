#!/usr/bin/env bash
# Installs the Debian packages the build needs, only those that are missing.
set -euo pipefail

packages=(cmake g++ make flex libfl-dev libicu-dev libgtest-dev libgmock-dev libbenchmark-dev
          nlohmann-json3-dev libcli11-dev pkg-config media-types help2man)
missing=()
for p in "${packages[@]}"; do
  if ! dpkg -s "$p" >/dev/null 2>&1 || ! dpkg -s "$p" 2>/dev/null | grep -q '^Status: install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
    SUDO=sudo
  else
    echo "webstep: missing Debian packages: ${missing[*]}" >&2
    echo "webstep: install them as root: apt-get install ${missing[*]}" >&2
    exit 1
  fi
else
  SUDO=
fi

echo "webstep: installing ${missing[*]}"
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
