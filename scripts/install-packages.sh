#!/usr/bin/env bash
# Installs those of the given Debian packages that are missing.
#   install-packages.sh [--optional] [--for TEXT] PACKAGE...
# --for names what needs them in the messages ("for fuzzing"). Without
# --optional a package that cannot be installed (no root, no sudo, apt
# failing) ends the script with status 1; with it the script says so and
# ends with 0, for extras the build can do without.
set -uo pipefail

optional=0
purpose=
while [ $# -gt 0 ]; do
  case "$1" in
    --optional) optional=1; shift ;;
    --for) purpose=" $2"; shift 2 ;;
    *) break ;;
  esac
done

missing=()
for p in "$@"; do
  if ! dpkg -s "$p" 2>/dev/null | grep -q '^Status: install ok installed'; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

give_up() {
  echo "webstep: $1" >&2
  if [ "$optional" -eq 1 ]; then
    echo "webstep: going on without them" >&2
    exit 0
  fi
  exit 1
}

SUDO=
if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
    SUDO=sudo
  else
    give_up "missing Debian packages$purpose: ${missing[*]}; install them as root: apt-get install ${missing[*]}"
  fi
fi

echo "webstep: installing ${missing[*]}$purpose"
if ! { $SUDO apt-get update -qq &&
       DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends \
         "${missing[@]}"; }; then
  give_up "could not install ${missing[*]}$purpose"
fi
exit 0
