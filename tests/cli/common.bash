# Sourced by every command-line test with the test's arguments: the tool
# under test as $tool, a scratch folder as $work (removed on exit), fail,
# and the shared script corpus.
set -euo pipefail
tool=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

# Sets $corpus to the shared script corpus, failing with a clear message when
# the given file of it is missing.
need_script_corpus() {
  corpus=${WEBSTEP_SHARED:-../shared}/corpus/scripts
  [ -f "$corpus/$1" ] ||
    fail "shared corpus missing: $corpus/$1 (expected beside the project root, or set WEBSTEP_SHARED)"
}
