#!/usr/bin/env bash
# Writes webstep.h, the header that includes every public header, or with
# --check fails when the file on disk is not what it would write.
set -euo pipefail
cd "$(dirname "$0")/.."
folders=(foundation platform script steps html context forms url settings resources recording replay)
generate() {
  echo '#pragma once'
  echo '// Umbrella header: includes every public header of the library.'
  echo '// Written by scripts/umbrella.sh; a test keeps it complete.'
  for f in "${folders[@]}"; do
    for h in $(ls "$f"/*.h 2>/dev/null | LC_ALL=C sort); do
      echo "#include \"$h\""
    done
  done
}
if [ "${1:-}" = "--check" ]; then
  if ! diff <(generate) webstep.h; then
    echo "webstep.h is out of date: run scripts/umbrella.sh" >&2
    exit 1
  fi
else
  generate > webstep.h.tmp && mv webstep.h.tmp webstep.h
fi
