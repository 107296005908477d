#!/usr/bin/env bash
# The settings subcommand reads and changes the WEB section of a settings file.
source "$(dirname "$0")/common.bash" "$@"

printf '[General]\r\nXlBridgeTimeout=120\r\n\r\n[WEB]\r\nHttpVer=1.1\r\nKeepAlive=No\r\nWebRecorderVersion=12\r\n\r\n[Log]\r\nLogOptions=LogBrief\r\n' > "$work/default.cfg"
cp "$work/default.cfg" "$work/original.cfg"

out=$("$tool" settings "$work/default.cfg")
grep -qx 'HttpVer: 1.1' <<<"$out" || fail "HttpVer: $out"
grep -qx 'KeepAlive: false' <<<"$out" || fail "KeepAlive"
grep -qx 'BrowserType: Microsoft Internet Explorer 4.0' <<<"$out" || fail "default browser"
grep -qx 'RecorderVersion: 12' <<<"$out" || fail "recorder version from the file"
cmp -s "$work/default.cfg" "$work/original.cfg" || fail "reading changed the file"

"$tool" settings --json "$work/default.cfg" | python3 -c 'import json,sys; d=json.load(sys.stdin); assert d["HttpVer"]=="1.1" and d["KeepAlive"] is False' \
  || fail "JSON output"

"$tool" settings "$work/default.cfg" --set KeepAlive=Yes --set proxyhttphost=proxy.example.net --set ProxyHTTPPort=3128 > /dev/null
out=$("$tool" settings "$work/default.cfg")
grep -qx 'KeepAlive: true' <<<"$out" || fail "KeepAlive not changed"
grep -qx 'ProxyHTTPHost: proxy.example.net' <<<"$out" || fail "proxy host not changed"
grep -qx 'RecorderVersion: 12' <<<"$out" || fail "recorder version lost by a change"
grep -q $'^XlBridgeTimeout=120\r$' "$work/default.cfg" || fail "other section changed"
grep -q $'^LogOptions=LogBrief\r$' "$work/default.cfg" || fail "section after WEB changed"

if "$tool" settings "$work/default.cfg" --set HttpVer=2.0 2> "$work/err"; then fail "bad version accepted"; fi
grep -q 'not a valid value for HttpVer' "$work/err" || fail "no message for a bad value"
if "$tool" settings "$work/default.cfg" --set Colour=red 2> "$work/err"; then fail "unknown key accepted"; fi
grep -q 'unknown key "Colour"' "$work/err" || fail "no message for an unknown key"
if "$tool" settings "$work/default.cfg" --set KeepAlive 2> "$work/err"; then fail "missing = accepted"; fi
grep -q 'Key=Value' "$work/err" || fail "no message for a missing ="
grep -qx 'HttpVer: 1.1' <<<"$("$tool" settings "$work/default.cfg")" || fail "a refused change was written"
if "$tool" settings "$work/absent.cfg" 2> /dev/null; then fail "missing file accepted"; fi

# A change that cannot be written (no file may grow: a full disk) is reported,
# and the file keeps its old settings byte for byte.
cp "$work/default.cfg" "$work/before.cfg"
# (the message goes through a pipe: the limit would stop a file from taking it)
set +e
( trap '' XFSZ; ulimit -f 0; "$tool" settings "$work/default.cfg" --set KeepAlive=No 2>&1 > /dev/null ) | cat > "$work/err"
status=${PIPESTATUS[0]}
set -e
[ "$status" -eq 2 ] || fail "a failed write gave exit status $status, not 2"
grep -q 'could not write' "$work/err" || fail "no message for a failed write: $(cat "$work/err")"
cmp -s "$work/default.cfg" "$work/before.cfg" || fail "a failed write changed the file"
echo "settings command: all checks passed"
