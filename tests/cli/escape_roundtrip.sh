#!/usr/bin/env bash
# The escape and unescape subcommands on whole programs' input and output.
source "$(dirname "$0")/common.bash" "$@"

# Every byte value survives a round trip.
for i in $(seq 0 255); do printf "\\x$(printf %02x "$i")"; done > "$work/all.bin"
"$tool" escape < "$work/all.bin" > "$work/all.txt"
"$tool" unescape < "$work/all.txt" > "$work/back.bin"
cmp "$work/all.bin" "$work/back.bin" || fail "all byte values do not round-trip"

# In a single-byte code page the escaped text is printable ASCII with
# upper-case hex digits.
WEBSTEP_CODEPAGE=1252 "$tool" escape < "$work/all.bin" > "$work/all1252.txt"
grep -q '\\x00' "$work/all1252.txt" || fail "NUL not written as \\x00"
grep -q '\\xFF' "$work/all1252.txt" || fail "0xFF not written with upper-case digits"
unprintable=$(LC_ALL=C tr -d '\11\12\15\40-\176' < "$work/all1252.txt" | wc -c)
[ "$unprintable" -eq 0 ] || fail "escaped text holds $unprintable unprintable bytes"
WEBSTEP_CODEPAGE=1252 "$tool" unescape < "$work/all1252.txt" | cmp - "$work/all.bin" || fail "1252 round trip"

# In a multi-byte code page whole characters stay as they are.
[ "$(printf 'J\xc3\xa9r\xc3\xb4me' | WEBSTEP_CODEPAGE=65001 "$tool" escape)" = "$(printf 'J\xc3\xa9r\xc3\xb4me')" ] \
  || fail "UTF-8 letters escaped under code page 65001"
[ "$(printf 'J\xc3\xa9' | WEBSTEP_CODEPAGE=1252 "$tool" escape)" = 'J\xC3\xA9' ] \
  || fail "high bytes not escaped under code page 1252"

# A backslash is doubled and comes back single.
[ "$(printf 'a\\b' | "$tool" escape)" = 'a\\b' ] || fail "backslash not doubled"
[ "$(printf 'a\\\\b' | "$tool" unescape)" = 'a\b' ] || fail "doubled backslash not undone"
[ "$(printf 'a\\\\b' | "$tool" unescape --keep-double-backslash)" = 'a\\b' ] || fail "--keep-double-backslash"

# Without kept text every byte is escaped.
[ "$(printf 'AB' | "$tool" escape --no-keep-text)" = '\x41\x42' ] || fail "--no-keep-text"

# Check mode: exit 0 for plain text, 1 when escapes are needed, nothing else printed.
out=$(printf 'plain text' | "$tool" escape --check) || fail "plain text reported as needing escapes"
[ "$out" = "no escaping needed" ] || fail "check message: $out"
if printf 'a\001b' | "$tool" escape --check > /dev/null; then fail "control byte not detected"; fi
printf '' | "$tool" escape --check > /dev/null || fail "empty input needs no escapes"

# An escape cut short at the end of the text is copied as it stands.
[ "$(printf 'a\\x4' | "$tool" unescape)" = 'a\x4' ] || fail "short escape not kept literally"

# A NUL in the text to unescape is refused with a message.
if printf 'a\000b' | "$tool" unescape > /dev/null 2> "$work/err"; then fail "NUL accepted"; fi
grep -q 'NUL' "$work/err" || fail "no message for NUL input"

# Usage errors say so and exit non-zero.
if "$tool" escape --bogus > /dev/null 2>&1; then fail "unknown option accepted"; fi
# (The help is read whole first: grep -q stops reading at its match, and the
# tool's later writes would end it with SIGPIPE, failing the pipeline.)
help=$("$tool" --help) || fail "--help: exit $?"
grep -q escape <<<"$help" || fail "help does not list escape"
"$tool" --version | grep -q '^webstep ' || fail "version"
echo "escape round trip: all checks passed"
