#!/usr/bin/env bash
# Runs every fuzz program of a build folder for a given number of seconds,
# one after another, each on its own working corpus in fuzz/corpus-run/
# (seeded from fuzz/seeds/<name>/ and, when present, the shared corpus).
# Exit status 1 when any program found a crash or a broken invariant; the
# input is kept as fuzz/corpus-run/<name>/crash-*.
#
#   fuzz/run.sh <build-dir> [seconds] [name...]
set -uo pipefail

here=$(cd "$(dirname "$0")" && pwd)
build=${1:?usage: fuzz/run.sh <build-dir> [seconds] [name...]}
seconds=${2:-60}
shift $(( $# >= 2 ? 2 : 1 ))
shared=${WEBSTEP_SHARED:-$here/../../shared}

names=("$@")
if [ ${#names[@]} -eq 0 ]; then
  for program in "$build"/fuzz/fuzz_*; do
    [ -x "$program" ] && names+=("$(basename "$program" | sed 's/^fuzz_//')")
  done
fi
[ ${#names[@]} -gt 0 ] || { echo "no fuzz programs in $build/fuzz" >&2; exit 2; }

# Extra seed folders from the shared corpus, by target.
extra_seeds() {
  case "$1" in
    HTMLLexer|HTMLScanner|Form) [ -d "$shared/corpus/html" ] && echo "$shared/corpus/html" ;;
    ScriptReader) [ -d "$shared/corpus/scripts" ] && echo "$shared/corpus/scripts" ;;
  esac
}

# Longest input: whole pages are slow to mutate and run under ASan, and
# small inputs reach the same states sooner.
max_len() {
  case "$1" in
    HTMLLexer|HTMLScanner|Form) echo 8192 ;;
    *) echo 16384 ;;
  esac
}

status=0
for name in "${names[@]}"; do
  program="$build/fuzz/fuzz_$name"
  work="$here/corpus-run/$name"
  mkdir -p "$work/corpus"
  seeds=()
  [ -d "$here/seeds/$name" ] && seeds+=("$here/seeds/$name")
  while read -r dir; do [ -n "$dir" ] && seeds+=("$dir"); done < <(extra_seeds "$name")
  dict=()
  [ -f "$here/seeds/$name.dict" ] && dict=(-dict="$here/seeds/$name.dict")
  echo "== $name: ${seconds}s"
  "$program" -max_total_time="$seconds" -max_len="$(max_len "$name")" -timeout=30 -rss_limit_mb=2048 \
    -print_final_stats=1 -artifact_prefix="$work/" "${dict[@]}" \
    "$work/corpus" "${seeds[@]}" > "$work/log.txt" 2>&1
  rc=$?
  grep -E '^#[0-9]+.*(DONE|pulse)|stat::number_of_executed_units|stat::average_exec_per_sec' \
    "$work/log.txt" | tail -3
  if [ $rc -ne 0 ]; then
    echo "!! $name failed (exit $rc); see $work/log.txt" >&2
    status=1
  fi
done
exit $status
