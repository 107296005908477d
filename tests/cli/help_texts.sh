#!/usr/bin/env bash
# Every command's --help shows an example for each of its options, and a
# wrong command line says what was wrong and where the right form is.
source "$(dirname "$0")/common.bash" "$@"

commands=$("$tool" --help | awk '/^Subcommands:/{on=1; next} /^[^ ]/{on=0} on && /^  [a-z]/{print $1}')
[ -n "$commands" ] || fail "the main help lists no commands"
checked=0
check_help() {
  local help
  help=$("$tool" "$@" --help) || fail "webstep $* --help fails"
  local examples
  examples=$(printf '%s\n' "$help" | grep -E '^ +(example: )?webstep ' || true)
  [ -n "$examples" ] || fail "webstep $* --help shows no example"
  # Every long option of the Options section, --help excepted.
  local options
  options=$(printf '%s\n' "$help" | awk '/^Options:/{on=1; next} /^[A-Z][a-z]*:/{on=0} on' |
            grep -oE -- '--[a-z][a-z-]*' | grep -v -- '^--help$' | sort -u || true)
  for option in $options; do
    printf '%s\n' "$examples" | grep -q -- "$option" ||
      fail "webstep $* --help has no example with $option"
    checked=$((checked + 1))
  done
}
check_help
for c in $commands; do
  check_help "$c"
  for s in $("$tool" "$c" --help | awk '/^Subcommands:/{on=1; next} /^[^ ]/{on=0} on && /^  [a-z]/{print $1}'); do
    check_help "$c" "$s"
  done
done
[ "$checked" -ge 10 ] || fail "only $checked options were found in the help texts"

# A missing argument: named, with the command's help to turn to; exit 2.
set +e
out=$("$tool" form 2>&1); rc=$?
set -e
[ "$rc" -eq 2 ] || fail "a missing page exits with $rc, not 2"
grep -q 'webstep form: PAGE is required' <<<"$out" || fail "a missing page is not named: $out"
grep -q 'webstep form --help' <<<"$out" || fail "no pointer to the form help: $out"

# An unknown command: named, with the commands that exist.
set +e
out=$("$tool" frobnicate 2>&1); rc=$?
set -e
[ "$rc" -eq 2 ] || fail "an unknown command exits with $rc, not 2"
grep -q '"frobnicate" is not a command' <<<"$out" || fail "the unknown command is not named: $out"
grep -q '^commands:.* lint .*' <<<"$out" || fail "the commands are not listed: $out"

# A value outside its set: the set is shown.
set +e
out=$("$tool" lint --lang fr examples 2>&1); rc=$?
set -e
[ "$rc" -eq 2 ] || fail "a wrong --lang exits with $rc, not 2"
grep -q 'fr not in {zh,en}' <<<"$out" || fail "the allowed languages are not shown: $out"
# A refused value is shown with what the key takes; a text that is no URL
# with what a URL looks like.
printf '[WEB]\r\nHttpVer=1.1\r\n' > "$work/default.cfg"
set +e
out=$("$tool" settings "$work/default.cfg" --set HttpVer=3 2>&1); rc=$?
set -e
[ "$rc" -eq 2 ] || fail "a wrong HTTP version exits with $rc, not 2"
grep -q '"3" is not a valid value for HttpVer; it takes 1.0 or 1.1' <<<"$out" ||
  fail "the HTTP versions are not shown: $out"
set +e
out=$("$tool" settings "$work/default.cfg" --set KeepAlive=perhaps 2>&1)
set -e
grep -q 'it takes Yes/No, True/False or 1/0' <<<"$out" || fail "the switch values are not shown: $out"
set +e
out=$("$tool" url crack no-scheme 2>&1); rc=$?
set -e
[ "$rc" -eq 1 ] || fail "a text without scheme exits with $rc, not 1"
grep -q 'give an absolute URL such as http://host/path' <<<"$out" ||
  fail "the form of a URL is not shown: $out"
echo "help texts: $checked options with examples"
