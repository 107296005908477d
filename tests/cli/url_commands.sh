#!/usr/bin/env bash
# The url subcommand splits, combines and canonicalises as the services do.
source "$(dirname "$0")/common.bash" "$@"

out=$("$tool" url crack 'http://user:pw@example.com:8080/a/b?q=1#top')
grep -qx 'host: example.com' <<<"$out" || fail "host: $out"
grep -qx 'port: 8080' <<<"$out" || fail "port"
grep -qx 'user: user' <<<"$out" || fail "user"
grep -qx 'password: pw' <<<"$out" || fail "password"
grep -qx 'path: /a/b' <<<"$out" || fail "path"
grep -qx 'extra: ?q=1#top' <<<"$out" || fail "extra"
grep -qx 'scheme_number: 3' <<<"$out" || fail "scheme number"

json=$("$tool" url crack --json 'https://example.org')
grep -q '"port": 443' <<<"$json" || fail "default https port in JSON: $json"
grep -q '"scheme_name": "https"' <<<"$json" || fail "scheme name in JSON"

[ "$("$tool" url combine http://example.com/a/b/c ../d?x=1)" = 'http://example.com/a/d?x=1' ] || fail combine
[ "$("$tool" url canon 'http://example.com/a/./b/../c')" = 'http://example.com/a/c' ] || fail canon
"$tool" url canon --json 'http://example.com/x' | grep -q '"canonical": "http://example.com/x"' || fail "canon JSON"

# A long result goes through the second, larger buffer.
long="http://example.com/$(head -c 3000 /dev/zero | tr '\0' a)"
[ "$("$tool" url canon "$long")" = "$long" ] || fail "long URL"

if "$tool" url crack 'no scheme here' 2> /tmp/webstep-url-err.$$; then fail "bad URL accepted"; fi
grep -q 'cannot split' /tmp/webstep-url-err.$$ || fail "no message for a bad URL"
rm -f /tmp/webstep-url-err.$$
if "$tool" url > /dev/null 2>&1; then fail "url without a subcommand accepted"; fi
echo "url commands: all checks passed"
