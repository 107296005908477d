#!/usr/bin/env bash
# Installs the Debian packages of the parsers that the benchmark compares
# webstep with, only those that are missing. Used by `make bench` alone; when
# they cannot be installed the comparison is built without them.
set -uo pipefail

packages=(libgumbo-dev libxml2-dev libcurl4-openssl-dev liburiparser-dev libboost-url1.81-dev)
missing=()
for p in "${packages[@]}"; do
  if ! dpkg -s "$p" 2>/dev/null | grep -q '^Status: install ok installed'; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

SUDO=
if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
    SUDO=sudo
  else
    echo "webstep bench: peers not installed (${missing[*]}); the table leaves them out" >&2
    exit 0
  fi
fi
echo "webstep bench: installing ${missing[*]}"
if ! { $SUDO apt-get update -qq &&
       DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends \
         "${missing[@]}"; }; then
  echo "webstep bench: could not install ${missing[*]}; the table leaves them out" >&2
fi
exit 0
