#!/usr/bin/env bash
# Lists the classes and structs of the public headers that are defined
# without a documentation comment ("///" or "/** ... */") right above them;
# exits 1 when there is one.
set -euo pipefail
cd "$(dirname "$0")/.."
folders=(foundation platform script steps html context forms url settings resources)
missing=0
for f in "${folders[@]}"; do
  for h in $(ls "$f"/*.h 2>/dev/null | LC_ALL=C sort); do
    out=$(awk -v file="$h" '
      function documented(   p) {
        p = prev
        if (p ~ /^[ \t]*template[ \t]*</) p = prev2
        return p ~ /^[ \t]*\/\/\// || p ~ /\*\/[ \t]*$/
      }
      /^(class|struct)[ \t]+([A-Z_]+[ \t]+)?[A-Za-z_][A-Za-z_0-9]*([ \t]+final)?[ \t]*(:[^;]*)?(\{.*)?$/ {
        if ($0 !~ /;[ \t]*$/ || $0 ~ /\{/) {
          if (!documented()) {
            name = $0; sub(/[ \t]*[:{].*$/, "", name)
            printf "%s:%d: %s has no documentation comment\n", file, NR, name
          }
        }
      }
      /^[ \t]*$/ { next }
      { prev2 = prev; prev = $0 }
    ' "$h")
    if [ -n "$out" ]; then
      echo "$out"
      missing=1
    fi
  done
done
exit $missing
