#!/usr/bin/env bash
# Writes the webstep man page from the tool's help texts: help2man reads the
# main --help and --version, and each command's --help becomes a subsection.
# Usage: manpage.sh <path of the webstep tool> <output file>
set -euo pipefail
tool=$1
out=$2
include=$(mktemp)
trap 'rm -f "$include"' EXIT
commands=$("$tool" --help | awk '/^Subcommands:/{on=1; next} /^[^ ]/{on=0} on && /^  [a-z]/{print $1}')
{
  echo '[COMMANDS]'
  section() {
    echo ".SS $*"
    echo '.nf'
    "$tool" "$@" --help | sed -e 's|Usage: [^ ]*webstep|Usage: webstep|' -e 's/\\/\\e/g' -e 's/^\./\\\&./' -e "s/^'/\\\\\&'/"
    echo '.fi'
  }
  for c in $commands; do
    section "$c"
    # Commands with commands of their own (url crack, ...) get one section each.
    for s in $("$tool" "$c" --help | awk '/^Subcommands:/{on=1; next} /^[^ ]/{on=0} on && /^  [a-z]/{print $1}'); do
      section "$c" "$s"
    done
  done
  echo '[EXIT STATUS]'
  echo '0 when all went well, 1 when the input has errors (lint, steps) or needs escapes (escape --check), 2 for usage and I/O errors.'
  echo '[SEE ALSO]'
  echo 'The library documentation installed under share/doc/webstep.'
} > "$include"
help2man --no-info --no-discard-stderr --section=1 \
  --name='check, inspect and convert load-test web scripts on Linux' \
  --include="$include" --output="$out.tmp" "$tool"
mv "$out.tmp" "$out"
