#!/usr/bin/env bash
# A clean script and the shipped example folder lint without findings.
source "$(dirname "$0")/common.bash" "$@"

# Written as recorders write scripts: CR LF, concatenated literals over
# several lines, markers bare and quoted, ITEMDATA and EXTRARES sections.
printf '%s\r\n' \
  'Action()' \
  '{' \
  '    // a comment with web_url("not", "a", "call", LAST);' \
  '    web_url("home",' \
  '        "URL=https://shop.example.net/"' \
  '        "index.html",' \
  '        "Snapshot=t1.inf",' \
  '        EXTRARES,' \
  '        "Url=/a.css", ENDITEM,' \
  '        "LAST");' \
  '    web_submit_data("go", "Action=https://shop.example.net/go", "Method=POST",' \
  '        ITEMDATA, "Name=q", "Value={Query}", ENDITEM, LAST);' \
  '    qz_think_time(3);' \
  '    return 0;' \
  '}' > "$work/clean.c"

out=$("$tool" lint "$work/clean.c") || fail "clean script: exit $? ($out)"
[ "$out" = "1 file, 2 calls: 0 errors, 0 warnings, 0 notes" ] || fail "clean summary: $out"

# A folder takes every .c file below it and nothing else.
mkdir -p "$work/folder/sub"
cp "$work/clean.c" "$work/folder/a.c"
cp "$work/clean.c" "$work/folder/sub/b.c"
echo 'web_url();' > "$work/folder/notes.txt"
out=$("$tool" lint "$work/folder") || fail "folder: exit $?"
[ "$out" = "2 files, 4 calls: 0 errors, 0 warnings, 0 notes" ] || fail "folder summary: $out"

# The example script folder is clean.
out=$("$tool" lint examples/library-loans) || fail "examples: exit $? ($out)"
grep -qx '3 files, 19 calls: 0 errors, 0 warnings, 0 notes' <<<"$out" || fail "examples: $out"
echo "lint on clean scripts: all checks passed"
